#include "platform/config/records/DictionaryRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kDictionaryPatternKinds[] = {
    {"regex", 1},
    {"literal", 2},
    {"wildcard", 3},
};

namespace of_vexa_dictionary {
using Record = ::__vexa_dictionary;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name of the dictionary."),
    ownId("id", AT(id)),
};
}  // namespace of_vexa_dictionary
constexpr RecordType kDictionaryType{"__vexa_dictionary", sizeof(::__vexa_dictionary),
                                     of_vexa_dictionary::kFields};
static_assert(coversEveryByte(kDictionaryType) && isWellFormed(kDictionaryType));

namespace of_vexa_dictionary_item {
using Record = ::__vexa_dictionary_item;
constexpr Field kFields[] = {
    text("pattern", AT(text))
        .syntax("text")
        .required()
        .help("Word, phrase or pattern to look for."),
    words("kind", AT(kind), kDictionaryPatternKinds)
        .defaultsTo(2)
        .help("How the pattern is written."),
    number("score", AT(score)).defaultsTo(1).range(0, 65535).help("Score of each match."),
    bit("body-text", AT(scope), Record::kBodyText)
        .defaultsTo(1)
        .help("Look for it in plain text bodies."),
    bit("subject", AT(scope), Record::kSubject).defaultsTo(1).help("Look for it in the subject."),
    bit("body-html", AT(scope), Record::kBodyHtml)
        .defaultsTo(1)
        .help("Look for it in HTML bodies."),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The item takes part in scans."),
    boolean("case-sensitive", AT(case_sensitive)).help("Upper and lower case differ."),
    boolean("whole-words", AT(whole_words))
        .defaultsTo(1)
        .help("A match may not be part of a longer word."),
    number("max-count", AT(max_count))
        .range(0, 255)
        .help("Matches that count towards the score; 0: all."),
    ownId("id", AT(id)),
    reference("dictionary", AT(dictionary_id), GID_DICTIONARY)
        .required()
        .help("Dictionary that holds the item."),
};
}  // namespace of_vexa_dictionary_item
constexpr RecordType kDictionaryItemType{"__vexa_dictionary_item", sizeof(::__vexa_dictionary_item),
                                         of_vexa_dictionary_item::kFields};
static_assert(coversEveryByte(kDictionaryItemType) && isWellFormed(kDictionaryItemType));

namespace of_vexa_dictionary_group {
using Record = ::__vexa_dictionary_group;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name of the dictionary group."),
    ownId("id", AT(id)),
};
}  // namespace of_vexa_dictionary_group
constexpr RecordType kDictionaryGroupType{"__vexa_dictionary_group",
                                          sizeof(::__vexa_dictionary_group),
                                          of_vexa_dictionary_group::kFields};
static_assert(coversEveryByte(kDictionaryGroupType) && isWellFormed(kDictionaryGroupType));

namespace of_vexa_dictionary_group_item {
using Record = ::__vexa_dictionary_group_item;
constexpr Field kFields[] = {
    ownId("id", AT(id)),
    reference("group", AT(group_id), GID_DICTIONARY_GROUP).required().help("The group."),
    reference("dictionary", AT(dictionary_id), GID_DICTIONARY).required().help("The dictionary."),
};
}  // namespace of_vexa_dictionary_group_item
constexpr RecordType kDictionaryGroupItemType{"__vexa_dictionary_group_item",
                                              sizeof(::__vexa_dictionary_group_item),
                                              of_vexa_dictionary_group_item::kFields};
static_assert(coversEveryByte(kDictionaryGroupItemType) && isWellFormed(kDictionaryGroupItemType));

}  // namespace Kestrav::Config

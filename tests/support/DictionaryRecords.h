// Builders of dictionaries and groups of dictionaries.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/config/records/DictionaryRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

class DictionaryRecord : public RecordBuilder<DictionaryRecord, __vexa_dictionary, GID_DICTIONARY> {
 public:
  DictionaryRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kDictionaryType) {
    record().id = id;
    text(record().name, name);
  }
};

class DictionaryItemRecord
    : public RecordBuilder<DictionaryItemRecord, __vexa_dictionary_item, GID_DICTIONARY_ITEM> {
 public:
  DictionaryItemRecord(std::uint32_t id, std::uint32_t dictionary, std::string_view word)
      : RecordBuilder(Config::kDictionaryItemType) {
    record().id = id;
    record().dictionary_id = dictionary;
    record().kind = static_cast<std::uint16_t>(DictionaryPatternKind::kLiteral);
    text(record().text, word);
  }
  DictionaryItemRecord& score(std::uint16_t value) { return set(record().score, value); }
};

class DictionaryGroupRecord
    : public RecordBuilder<DictionaryGroupRecord, __vexa_dictionary_group, GID_DICTIONARY_GROUP> {
 public:
  DictionaryGroupRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kDictionaryGroupType) {
    record().id = id;
    text(record().name, name);
  }
};

class DictionaryGroupItemRecord
    : public RecordBuilder<DictionaryGroupItemRecord, __vexa_dictionary_group_item,
                           GID_DICTIONARY_GROUP_ITEM> {
 public:
  DictionaryGroupItemRecord(std::uint32_t id, std::uint32_t group, std::uint32_t dictionary)
      : RecordBuilder(Config::kDictionaryGroupItemType) {
    record().id = id;
    record().group_id = group;
    record().dictionary_id = dictionary;
  }
};

}  // namespace Kestrav::Testing

// Dictionaries of words and patterns, and groups of dictionaries.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// The syntax of a dictionary item's pattern: __vexa_dictionary_item::kind.
enum class DictionaryPatternKind : unsigned short { kRegex = 1, kLiteral = 2, kWildcard = 3 };

// A named set of words and patterns.
struct __vexa_dictionary {
  char name[256];    // 0
  std::uint32_t id;  // 256
};
typedef struct __vexa_dictionary vexa_dictionary;
static_assert(sizeof(__vexa_dictionary) == 260);
static_assert(offsetof(__vexa_dictionary, name) == 0);
static_assert(offsetof(__vexa_dictionary, id) == 256);

// One word or pattern of a dictionary.
struct __vexa_dictionary_item {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kBodyText = 260 * 8 + 0,
    kSubject = 260 * 8 + 1,
    kBodyHtml = 260 * 8 + 2,
  };

  char text[256];                // 0
  std::uint16_t kind;            // 256
  std::uint16_t score;           // 258
  std::uint32_t scope;           // 260
  unsigned char enabled;         // 264
  unsigned char case_sensitive;  // 265
  unsigned char whole_words;     // 266
  unsigned char max_count;       // 267
  std::uint32_t id;              // 268
  std::uint32_t dictionary_id;   // 272
};
typedef struct __vexa_dictionary_item vexa_dictionary_item;
static_assert(sizeof(__vexa_dictionary_item) == 276);
static_assert(offsetof(__vexa_dictionary_item, text) == 0);
static_assert(offsetof(__vexa_dictionary_item, kind) == 256);
static_assert(offsetof(__vexa_dictionary_item, score) == 258);
static_assert(offsetof(__vexa_dictionary_item, scope) == 260);
static_assert(offsetof(__vexa_dictionary_item, enabled) == 264);
static_assert(offsetof(__vexa_dictionary_item, case_sensitive) == 265);
static_assert(offsetof(__vexa_dictionary_item, whole_words) == 266);
static_assert(offsetof(__vexa_dictionary_item, max_count) == 267);
static_assert(offsetof(__vexa_dictionary_item, id) == 268);
static_assert(offsetof(__vexa_dictionary_item, dictionary_id) == 272);

// Where a dictionary item is looked for: masks of __vexa_dictionary_item::scope.
inline constexpr unsigned kDictionaryScopeBodyText = 1u << __vexa_dictionary_item::kBodyText % 32;
inline constexpr unsigned kDictionaryScopeSubject = 1u << __vexa_dictionary_item::kSubject % 32;
inline constexpr unsigned kDictionaryScopeBodyHtml = 1u << __vexa_dictionary_item::kBodyHtml % 32;

// A named set of dictionaries.
struct __vexa_dictionary_group {
  char name[256];    // 0
  std::uint32_t id;  // 256
};
typedef struct __vexa_dictionary_group vexa_dictionary_group;
static_assert(sizeof(__vexa_dictionary_group) == 260);
static_assert(offsetof(__vexa_dictionary_group, name) == 0);
static_assert(offsetof(__vexa_dictionary_group, id) == 256);

// Membership of a dictionary in a dictionary group.
struct __vexa_dictionary_group_item {
  std::uint32_t id;             // 0
  std::uint32_t group_id;       // 4
  std::uint32_t dictionary_id;  // 8
};
typedef struct __vexa_dictionary_group_item vexa_dictionary_group_item;
static_assert(sizeof(__vexa_dictionary_group_item) == 12);
static_assert(offsetof(__vexa_dictionary_group_item, id) == 0);
static_assert(offsetof(__vexa_dictionary_group_item, group_id) == 4);
static_assert(offsetof(__vexa_dictionary_group_item, dictionary_id) == 8);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kDictionaryType;           // __vexa_dictionary
KESTRAV_API extern const RecordType kDictionaryItemType;       // __vexa_dictionary_item
KESTRAV_API extern const RecordType kDictionaryGroupType;      // __vexa_dictionary_group
KESTRAV_API extern const RecordType kDictionaryGroupItemType;  // __vexa_dictionary_group_item

}  // namespace Kestrav::Config

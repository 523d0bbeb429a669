// The meaning of a record's bytes, described once.
//
// Every record type has one constexpr table of fields. The text reader and writer, the schema, the
// generated documentation, `vexactl` and the secrets mask all read that table and nothing else. A
// compile-time check proves that it covers every byte of the struct.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include "platform/config/records/Forward.h"

namespace Kestrav::Config {

enum class Kind : std::uint8_t {
  kReserved,  // no meaning; always zero
  kText,      // char[size], NUL-terminated: at most size - 1 bytes of UTF-8
  kUnsigned,  // little-endian, `size` bytes: 1, 2, 4 or 8
  kSigned,
  kFloat,          // IEEE 754, 4 bytes
  kBool,           // `size` bytes, zero or one
  kBit,            // bit `bit` of the `size` bytes at `offset`; with choices: words for 0 and 1
  kEnum,           // unsigned with words (`choices`) for its values
  kReference,      // 32-bit id of a record of table `target`, 0 for none; written by name
  kTextReference,  // char[size]: the name of a record of table `target`, empty for none
  kId,             // the record's own 32-bit id
  kDomain,         // 32-bit configuration domain id of the record; loading fills it in
  kConfigurationDomain,  // 32-bit configuration domain that a protected domain owns, 0 for none
  kAddressMask,          // ip_mask_t, 24 bytes; written as text
  kStruct,               // an embedded record of type `element`
  kList,   // 64-bit count at `offset`, pointer to `element`s at `offset + 8`; size is 16
  kArray,  // 64-bit count at `offset`, up to `capacity` inline `element`s from `offset + 8`
};

// A word of the text form for a stored value.
struct Choice {
  std::string_view word;
  std::uint32_t value;
};

struct Field {
  std::string_view name;  // in the text form: lower case, words joined by '-'; unique in its record
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
  Kind kind = Kind::kReserved;
  std::uint8_t bit = 0;               // kBit
  std::int64_t defaultValue = 0;      // numbers, booleans, bits, enumerations; in stored form
  double defaultFloat = 0;            // kFloat
  std::string_view defaultText = {};  // kText
  std::int64_t minimum = 0;           // kUnsigned, kSigned
  std::int64_t maximum = std::numeric_limits<std::int64_t>::max();
  std::span<const Choice> choices = {};
  G_CLI_GID target = {};                         // kReference, kTextReference
  std::span<const G_CLI_GID> alternatives = {};  // further tables a kTextReference may name
  const RecordType* element = nullptr;           // kStruct, kList, kArray
  // kArray; of a kList the most entries that are accepted, 0: any number
  std::uint32_t capacity = 0;
  std::string_view unit = {};    // for people: "KiB", "days", "minutes"
  std::string_view help = {};    // one line: what it does
  std::string_view syntax = {};  // what a text must be, see text/Syntax.h
  bool secret = false;           // masked by default
  bool required = false;         // the text form must give it
  bool wordsOnly = false;        // kEnum: a number that has no word is refused
  // Name of the criterion that writes this field; empty for a field written by itself.
  std::string_view part = {};
};

// One value of the text form ("any", "@example.com", "group:partners") that is stored in several
// fields: the form, the text or mask, the group.
struct Criterion {
  enum FormOf : std::uint8_t {
    kAny,                   // any
    kMask,                  // 192.0.2.0/24
    kGroup,                 // group:NAME
    kAddress,               // user@example.com
    kDomain,                // @example.com or example.com
    kDomainWithSubdomains,  // .example.com
    kWildcard,              // *@*.example.com
    kRegex,                 // /text/
    kExternal,              // external:NAME
  };
  struct Form {
    FormOf form;
    std::uint32_t value;  // of the field `kind`
  };
  std::string_view name;
  // Names of the fields; empty for none.
  std::string_view kind = {};
  std::string_view text = {};
  std::string_view group = {};
  std::string_view external = {};
  std::span<const Form> forms = {};
  std::string_view help = {};
};

struct RecordType {
  std::string_view name;   // the struct's name
  std::uint32_t size = 0;  // bytes of the fixed part
  std::span<const Field> fields = {};
  std::span<const Criterion> criteria = {};
};

// How many records a table holds, and in which domains.
enum class Scope : std::uint8_t {
  kSystemSingle,  // one record, in domain 0, always present (defaults when never written)
  kSystemList,    // ordered records in domain 0
  kDomainList,    // ordered records in domain 0 and in every configuration domain
};

struct Table {
  G_CLI_GID gid;
  std::string_view key;       // in the text form: "antispam-profiles"
  std::string_view singular;  // for people: "antispam profile"
  const RecordType* type;
  Scope scope;
  std::uint32_t idOffset;    // of the record's 32-bit id; unused for kSystemSingle
  std::uint32_t nameOffset;  // of the record's name or other unique text; kNoName when it has none
  std::string_view help;
  // For a table whose records the text form writes inside those of another table:
  G_CLI_GID owner = {};              // the other table; 0 for none
  std::string_view ownerField = {};  // this record's reference to its owner
  std::string_view keyInOwner = {};  // in the text form of the owner
};
inline constexpr std::uint32_t kNoName = 0xffffffff;

// True when the fields cover every byte of the record once, except for bits, which share bytes.
constexpr bool coversEveryByte(const RecordType& type) {
  std::uint32_t next = 0;
  std::uint32_t bitsFrom = 0;  // start of the current run of bits
  bool inBits = false;
  for (const Field& field : type.fields) {
    const std::uint32_t size =
        field.kind == Kind::kArray ? field.size : (field.kind == Kind::kList ? 16u : field.size);
    if (size == 0 || field.offset + size > type.size) return false;
    if (field.kind == Kind::kBit) {
      if (inBits && field.offset == bitsFrom) continue;  // another bit of the same word
      if (field.offset != next) return false;
      bitsFrom = field.offset;
      inBits = true;
    } else {
      if (field.offset != next) return false;
      inBits = false;
    }
    next = field.offset + size;
  }
  return next == type.size;
}

}  // namespace Kestrav::Config

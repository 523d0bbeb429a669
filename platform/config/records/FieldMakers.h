// Writes the records' field tables: a function for each kind of field, refined by further calls.
//
//   text("name", AT(name)).required().help("Name by which policies refer to the profile."),
//
// Only for the sources that hold the tables. AT expects an alias Record of the record's type.
#pragma once

#include <cstddef>

#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"

#define AT(member) offsetof(Record, member), sizeof(Record::member)

namespace Kestrav::Config::FieldMakers {

inline constexpr std::int64_t kAnyMaximum = -1;  // the greatest value that the field can hold

// Each call sets the member of Field that has its name.
struct FieldMaker {
  Field field;

  constexpr operator Field() const { return field; }

  constexpr FieldMaker& help(std::string_view line) {
    field.help = line;
    return *this;
  }
  constexpr FieldMaker& required() {
    field.required = true;
    return *this;
  }
  constexpr FieldMaker& secret() {
    field.secret = true;
    return *this;
  }
  constexpr FieldMaker& wordsOnly() {
    field.wordsOnly = true;
    return *this;
  }
  constexpr FieldMaker& defaultsTo(int value) {
    field.defaultValue = value;
    return *this;
  }
  constexpr FieldMaker& defaultsTo(double value) {
    field.defaultFloat = value;
    return *this;
  }
  constexpr FieldMaker& defaultsTo(const char* value) {
    field.defaultText = value;
    return *this;
  }
  constexpr FieldMaker& range(std::int64_t low, std::int64_t high) {
    field.minimum = low;
    if (high != kAnyMaximum) field.maximum = high;
    return *this;
  }
  constexpr FieldMaker& unit(std::string_view word) {
    field.unit = word;
    return *this;
  }
  constexpr FieldMaker& syntax(std::string_view form) {
    field.syntax = form;
    return *this;
  }
  constexpr FieldMaker& part(std::string_view criterion) {
    field.part = criterion;
    return *this;
  }
};

constexpr FieldMaker make(Kind kind, std::string_view name, std::size_t offset, std::size_t size) {
  FieldMaker made;
  made.field.kind = kind;
  made.field.name = name;
  made.field.offset = static_cast<std::uint32_t>(offset);
  made.field.size = static_cast<std::uint32_t>(size);
  return made;
}

constexpr FieldMaker reserved(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kReserved, name, offset, size);
}
// One line, unless another syntax is given; "text" is any text.
constexpr FieldMaker text(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kText, name, offset, size).syntax("line");
}
constexpr FieldMaker number(std::string_view name, std::size_t offset, std::size_t size) {
  FieldMaker made = make(Kind::kUnsigned, name, offset, size);
  if (size < 8) made.field.maximum = (std::int64_t{1} << (8 * size)) - 1;
  return made;
}
constexpr FieldMaker signedNumber(std::string_view name, std::size_t offset, std::size_t size) {
  FieldMaker made = make(Kind::kSigned, name, offset, size);
  if (size < 8) made.field.maximum = (std::int64_t{1} << (8 * size - 1)) - 1;
  made.field.minimum = -made.field.maximum - 1;
  return made;
}
constexpr FieldMaker real(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kFloat, name, offset, size);
}
constexpr FieldMaker boolean(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kBool, name, offset, size);
}
// `position` is one of the record's enumeration Bit, within the `size` bytes at `offset`.
constexpr FieldMaker bit(std::string_view name, std::size_t offset, std::size_t size,
                         std::size_t position) {
  if (position / 8 < offset || position / 8 >= offset + size) throw "a bit of other bytes";
  FieldMaker made = make(Kind::kBit, name, offset, size);
  made.field.bit = static_cast<std::uint8_t>(position - 8 * offset);
  return made;
}
constexpr FieldMaker words(std::string_view name, std::size_t offset, std::size_t size,
                           std::span<const Choice> choices) {
  FieldMaker made = make(Kind::kEnum, name, offset, size);
  made.field.choices = choices;
  made.field.maximum = (std::int64_t{1} << (8 * size)) - 1;
  return made;
}
constexpr FieldMaker reference(std::string_view name, std::size_t offset, std::size_t size,
                               G_CLI_GID target) {
  FieldMaker made = make(Kind::kReference, name, offset, size);
  made.field.target = target;
  return made;
}
constexpr FieldMaker textReference(std::string_view name, std::size_t offset, std::size_t size,
                                   G_CLI_GID target, std::span<const G_CLI_GID> alternatives = {}) {
  FieldMaker made = make(Kind::kTextReference, name, offset, size);
  made.field.target = target;
  made.field.alternatives = alternatives;
  return made;
}
constexpr FieldMaker ownId(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kId, name, offset, size);
}
constexpr FieldMaker ownDomain(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kDomain, name, offset, size);
}
constexpr FieldMaker configurationDomain(std::string_view name, std::size_t offset,
                                         std::size_t size) {
  return make(Kind::kConfigurationDomain, name, offset, size);
}
constexpr FieldMaker addressMask(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kAddressMask, name, offset, size);
}
constexpr FieldMaker embedded(std::string_view name, std::size_t offset, std::size_t size,
                              const RecordType* element) {
  FieldMaker made = make(Kind::kStruct, name, offset, size);
  made.field.element = element;
  return made;
}
// `offset` is that of the count, which the pointer follows.
constexpr FieldMaker list(std::string_view name, std::size_t offset, const RecordType* element) {
  FieldMaker made = make(Kind::kList, name, offset, 16);
  made.field.element = element;
  return made;
}
// `size` is that of the count and all elements.
constexpr FieldMaker array(std::string_view name, std::size_t offset, std::size_t size,
                           const RecordType* element, int capacity) {
  FieldMaker made = make(Kind::kArray, name, offset, size);
  made.field.element = element;
  made.field.capacity = static_cast<std::uint32_t>(capacity);
  return made;
}

constexpr const Field* fieldNamed(const RecordType& type, std::string_view name) {
  for (const Field& field : type.fields) {
    if (field.name == name) return &field;
  }
  return nullptr;
}

// True when names are unique, numbers fit their fields and criteria name existing fields.
constexpr bool isWellFormed(const RecordType& type) {
  for (const Field& field : type.fields) {
    if (field.name.empty() || fieldNamed(type, field.name) != &field) return false;
    if (field.kind != Kind::kReserved && field.kind != Kind::kId && field.kind != Kind::kDomain &&
        field.help.empty()) {
      return false;
    }
    if (field.kind == Kind::kText && field.defaultText.size() >= field.size) return false;
    const bool numeric =
        field.kind == Kind::kUnsigned || field.kind == Kind::kSigned || field.kind == Kind::kEnum;
    if (numeric && (field.minimum > field.maximum || field.defaultValue > field.maximum)) {
      return false;
    }
  }
  for (const Criterion& criterion : type.criteria) {
    if (fieldNamed(type, criterion.kind) == nullptr) return false;
    if (fieldNamed(type, criterion.text) == nullptr) return false;
    if (!criterion.group.empty() && fieldNamed(type, criterion.group) == nullptr) return false;
    if (!criterion.external.empty() && fieldNamed(type, criterion.external) == nullptr)
      return false;
    if (fieldNamed(type, criterion.name) != nullptr) return false;
  }
  return true;
}

}  // namespace Kestrav::Config::FieldMakers

// How the records' field tables are written: one maker per kind of field, refined by what is said
// after it.
//
//   text("name", AT(name)).needed().says("Name by which policies refer to the profile."),
//
// Only for the sources that hold the tables. AT expects the record's type under the name Record.
#pragma once

#include <cstddef>

#include "platform/config/records/Field.h"

#define AT(member) offsetof(Record, member), sizeof(Record::member)

namespace Kestrav::Config::FieldMakers {

inline constexpr std::int64_t kAnyMaximum = -1;  // the greatest that the field holds

struct FieldMaker : Field {
  constexpr FieldMaker says(std::string_view line) const {
    FieldMaker made = *this;
    made.help = line;
    return made;
  }
  constexpr FieldMaker needed() const {
    FieldMaker made = *this;
    made.required = true;
    return made;
  }
  constexpr FieldMaker keptSecret() const {
    FieldMaker made = *this;
    made.secret = true;
    return made;
  }
  constexpr FieldMaker onlyByWord() const {
    FieldMaker made = *this;
    made.wordsOnly = true;
    return made;
  }
  constexpr FieldMaker byDefault(int value) const {
    FieldMaker made = *this;
    made.defaultValue = value;
    return made;
  }
  constexpr FieldMaker byDefault(double value) const {
    FieldMaker made = *this;
    made.defaultFloat = value;
    return made;
  }
  constexpr FieldMaker byDefault(const char* value) const {
    FieldMaker made = *this;
    made.defaultText = value;
    return made;
  }
  constexpr FieldMaker within(std::int64_t low, std::int64_t high) const {
    FieldMaker made = *this;
    made.minimum = low;
    if (high != kAnyMaximum) made.maximum = high;
    return made;
  }
  constexpr FieldMaker measuredIn(std::string_view word) const {
    FieldMaker made = *this;
    made.unit = word;
    return made;
  }
  constexpr FieldMaker writtenAs(std::string_view form) const {
    FieldMaker made = *this;
    made.syntax = form;
    return made;
  }
  constexpr FieldMaker partOf(std::string_view criterion) const {
    FieldMaker made = *this;
    made.part = criterion;
    return made;
  }
};

constexpr FieldMaker make(Kind kind, std::string_view name, std::size_t offset, std::size_t size) {
  FieldMaker made;
  made.kind = kind;
  made.name = name;
  made.offset = static_cast<std::uint32_t>(offset);
  made.size = static_cast<std::uint32_t>(size);
  return made;
}

constexpr FieldMaker reserved(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kReserved, name, offset, size);
}
constexpr FieldMaker text(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kText, name, offset, size);
}
constexpr FieldMaker number(std::string_view name, std::size_t offset, std::size_t size) {
  FieldMaker made = make(Kind::kUnsigned, name, offset, size);
  if (size < 8) made.maximum = (std::int64_t{1} << (8 * size)) - 1;
  return made;
}
constexpr FieldMaker signedNumber(std::string_view name, std::size_t offset, std::size_t size) {
  FieldMaker made = make(Kind::kSigned, name, offset, size);
  if (size < 8) made.maximum = (std::int64_t{1} << (8 * size - 1)) - 1;
  made.minimum = -made.maximum - 1;
  return made;
}
constexpr FieldMaker real(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kFloat, name, offset, size);
}
constexpr FieldMaker boolean(std::string_view name, std::size_t offset, std::size_t size) {
  return make(Kind::kBool, name, offset, size);
}
constexpr FieldMaker bit(std::string_view name, std::size_t offset, std::size_t size, int number) {
  FieldMaker made = make(Kind::kBit, name, offset, size);
  made.bit = static_cast<std::uint8_t>(number);
  return made;
}
constexpr FieldMaker words(std::string_view name, std::size_t offset, std::size_t size,
                           std::span<const Choice> choices) {
  FieldMaker made = make(Kind::kEnum, name, offset, size);
  made.choices = choices;
  made.maximum = (std::int64_t{1} << (8 * size)) - 1;
  return made;
}
constexpr FieldMaker reference(std::string_view name, std::size_t offset, std::size_t size,
                               G_CLI_GID target) {
  FieldMaker made = make(Kind::kReference, name, offset, size);
  made.target = target;
  return made;
}
constexpr FieldMaker textReference(std::string_view name, std::size_t offset, std::size_t size,
                                   G_CLI_GID target, std::span<const G_CLI_GID> alternatives = {}) {
  FieldMaker made = make(Kind::kTextReference, name, offset, size);
  made.target = target;
  made.alternatives = alternatives;
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
  made.element = element;
  return made;
}
// `offset` is that of the count; the pointer follows it.
constexpr FieldMaker list(std::string_view name, std::size_t offset, const RecordType* element) {
  FieldMaker made = make(Kind::kList, name, offset, 16);
  made.element = element;
  return made;
}
// `size` is that of the count and all elements.
constexpr FieldMaker array(std::string_view name, std::size_t offset, std::size_t size,
                           const RecordType* element, int capacity) {
  FieldMaker made = make(Kind::kArray, name, offset, size);
  made.element = element;
  made.capacity = static_cast<std::uint32_t>(capacity);
  return made;
}

constexpr const Field* fieldNamed(const RecordType& type, std::string_view name) {
  for (const Field& field : type.fields) {
    if (field.name == name) return &field;
  }
  return nullptr;
}

// True when names are unique, numbers lie within their fields and every criterion names fields that
// exist.
constexpr bool isWellFormed(const RecordType& type) {
  for (const Field& field : type.fields) {
    if (field.name.empty() || fieldNamed(type, field.name) != &field) return false;
    if (field.kind != Kind::kReserved && field.kind != Kind::kId && field.kind != Kind::kDomain &&
        field.help.empty()) {
      return false;
    }
    if (field.kind == Kind::kBit && field.bit >= 8 * field.size) return false;
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

// Reads and writes the fields of records by their description.
//
// Records are plain memory; nothing here keeps a pointer into one. Any bytes can be read: texts
// without an end, counts beyond a list's capacity.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/common/Export.h"
#include "platform/config/records/Field.h"

namespace Kestrav::Config {

// Null when the record has no field of that name.
KESTRAV_API const Field* findField(const RecordType& type, std::string_view name);
KESTRAV_API const Criterion* findCriterion(const RecordType& type, std::string_view name);

// For every kind except texts, floats, masks, structures and lists; a bit is 0 or 1.
KESTRAV_API std::int64_t readNumber(const Field& field, const void* record);
// False, with nothing written, when the field cannot hold the value. Does not check the range.
KESTRAV_API bool writeNumber(const Field& field, void* record, std::int64_t value);

KESTRAV_API double readReal(const Field& field, const void* record);
KESTRAV_API void writeReal(const Field& field, void* record, double value);

// Texts and references by text. The view lives as long as the record.
KESTRAV_API std::string_view readText(const Field& field, const void* record);
// False, with nothing written, when the text is too long or holds a NUL. Bytes after the text
// become zero.
KESTRAV_API bool writeText(const Field& field, void* record, std::string_view value);

// A mask as text: "any", an address, a prefix or a range; empty for a null or invalid one.
KESTRAV_API std::string readMask(const Field& field, const void* record);
// False, with nothing written, when the text is no mask or does not fit.
KESTRAV_API bool writeMask(const Field& field, void* record, std::string_view value);

// The entries of a list or an array.
struct Entries {
  const std::byte* first = nullptr;
  std::uint64_t count = 0;
  std::uint32_t size = 0;  // of one entry
  const void* at(std::uint64_t index) const { return first + index * size; }
};
KESTRAV_API Entries readEntries(const Field& field, const void* record);

// The embedded record.
inline const void* readStruct(const Field& field, const void* record) {
  return static_cast<const std::byte*>(record) + field.offset;
}
inline void* readStruct(const Field& field, void* record) {
  return static_cast<std::byte*>(record) + field.offset;
}

// Sets every field to its default and every reserved byte to zero; lists become empty.
KESTRAV_API void fillDefaults(const RecordType& type, void* record);

// True when both records hold the same value in the field; lists are compared by their entries.
KESTRAV_API bool sameField(const Field& field, const void* a, const void* b);
KESTRAV_API bool sameRecord(const RecordType& type, const void* a, const void* b);
// True when the field holds its default.
KESTRAV_API bool holdsDefault(const RecordType& type, const Field& field, const void* record);

// The offset of the data of a private key in PEM form; npos when the text holds none. A header
// without data, as in a search pattern, is no key.
KESTRAV_API std::size_t findPrivateKey(std::string_view text);
// True when the text must not be printed: the field is a secret, or the text holds a private key.
KESTRAV_API bool isSecret(const Field& field, std::string_view text);

// One value for people, on one line: texts quoted, numbers as words if they have one, references as
// "#7", lists by the number of their entries. Secrets are masked.
KESTRAV_API std::string describeField(const Field& field, const void* record);

}  // namespace Kestrav::Config

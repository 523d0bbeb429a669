// A record that owns its memory and lists. The text form and tests build records with it.
//
// A value; copies are independent. The record's list pointers are always set. A move keeps them
// valid, append() does not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

namespace Kestrav::Config {

class KESTRAV_API OwnedRecord {
 public:
  // All fields at their defaults.
  explicit OwnedRecord(const RecordType& type);
  // Copies `record` and its lists. REQUIRES: it is of that type.
  OwnedRecord(const RecordType& type, const void* record);
  OwnedRecord(const OwnedRecord& other);
  OwnedRecord& operator=(const OwnedRecord& other);
  OwnedRecord(OwnedRecord&&) noexcept = default;
  OwnedRecord& operator=(OwnedRecord&&) noexcept = default;

  const RecordType& type() const { return *type_; }
  void* data() { return bytes_.data(); }
  const void* data() const { return bytes_.data(); }
  template <class Rec>
  Rec* as() {
    return static_cast<Rec*>(data());
  }
  template <class Rec>
  const Rec* as() const {
    return static_cast<const Rec*>(data());
  }

  // Adds an entry with default values to a list or an array of this record and returns it; null
  // when the list is full. The pointer is valid until the next append to the same list.
  void* append(const Field& list);
  // The same for the list or array whose count is at `offset`; null also when there is none.
  void* appendAt(std::size_t offset);
  // Removes all entries.
  void clear(const Field& list);

 private:
  struct Word {
    alignas(8) std::byte bytes[8];
  };
  void point(const Field& list);

  const RecordType* type_;
  std::vector<Word> bytes_;
  std::map<std::uint32_t, std::vector<Word>> lists_;  // by offset of the list
};

}  // namespace Kestrav::Config

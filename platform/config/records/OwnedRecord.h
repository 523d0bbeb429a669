// A record in memory of its own, lists included: what readers of configuration texts and tests
// build before they hand it to the store.
//
// A value; copies are independent. The record's list pointers are always set, and stay valid while
// the object is moved but not when its lists grow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/records/Field.h"

namespace Kestrav::Config {

class KESTRAV_API OwnedRecord {
 public:
  // All fields at their defaults.
  explicit OwnedRecord(const RecordType& type);
  // A copy of `record`, which is of that type, and of its lists.
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

  // Adds an entry, at its defaults, to a list or an array of this record and returns it; null when
  // the list is full. The entry stays where it is until the next one is added to the same list.
  void* append(const Field& list);
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

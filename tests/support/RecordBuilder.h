// The base of the builders of configuration records. A builder gives a record that is valid by
// default; a test names only what it changes:
//
//   AntispamRecord(1).name("strict").rbl({"bl.example"}).action(CLASSIFIER_RBL, 7)
//
// Each family has a header of its own here, named as the header of its records. A builder is a
// value that owns its record, lists included. record() and data() give the record as long as the
// builder lives; put() adds it to a change set. Texts that do not fit are cut. Numbers are stored
// unchecked, so that a test can build a record with a bad one. with() changes anything else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/common/Strings.h"
#include "platform/config/records/Bits.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

template <class Self, class Rec, G_CLI_GID GID>
class RecordBuilder {
 public:
  using Record = Rec;
  static constexpr G_CLI_GID kTable = GID;

  Rec* operator->() { return owned_.as<Rec>(); }
  const Rec* operator->() const { return owned_.as<Rec>(); }
  Rec& record() { return *owned_.as<Rec>(); }
  const Rec& record() const { return *owned_.as<Rec>(); }
  const void* data() const { return owned_.data(); }

  // AntispamRecord(1).with([](auto& record) { record.scanners = 0xFF; })
  template <class Change>
  Self& with(Change change) {
    change(record());
    return self();
  }

  void put(Config::ChangeSet& changes, ngid_t domain = 0) const {
    changes.put(GID, domain, owned_.data());
  }

 protected:
  explicit RecordBuilder(const Config::RecordType& type) : owned_(type) {}

  Self& self() { return static_cast<Self&>(*this); }

  template <std::size_t N>
  Self& text(char (&field)[N], std::string_view value) {
    boundedCopy(field, value);
    return self();
  }
  template <class Field, class Value>
  Self& set(Field& field, Value value) {
    field = static_cast<Field>(value);
    return self();
  }
  // `position` is one of Rec::Bit.
  template <class Bit>
  Self& bit(Bit position, bool on = true) {
    Config::setBit(record(), position, on);
    return self();
  }

  // Adds an entry to the list whose count is at `offset`.
  template <class Entry>
  Entry& append(std::size_t offset) {
    void* entry = owned_.appendAt(offset);
    if (entry == nullptr) throw std::logic_error("no such list, or no room in it");
    return *static_cast<Entry*>(entry);
  }

 private:
  Config::OwnedRecord owned_;
};

}  // namespace Kestrav::Testing

// A configuration as read from texts: complete and free of mistakes, but without the numbers that
// only a store can give.
//
// A value. The records it holds refer to each other by their position in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/OwnedRecord.h"

namespace Kestrav::Config::Text {

class KESTRAV_API Configuration {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  // The way to a field inside lists, arrays and embedded records.
  struct Step {
    const Field* field;
    std::uint64_t index;  // of the entry; 0 for an embedded record
  };

  // A reference that is filled in once the target has its number.
  struct Link {
    std::vector<Step> path;
    const Field* field;
    std::size_t target;  // position among records()
  };

  struct Record {
    const Table* table;
    std::size_t space;  // position among spaces()
    std::string name;   // empty when the table has no names
    OwnedRecord record;
    std::uint32_t id = 0;  // as given; 0 when it was not
    std::vector<Link> links;
    std::size_t ownSpace = kNone;  // of a protected domain: its own configuration
  };

  // The system, or what one configuration domain holds.
  struct Space {
    std::string domain;   // name of the protected domain it was given with
    ngid_t number = 0;    // as given; 0 when it was not, and for the system
    bool filled = false;  // some domain gave its contents
  };

  Configuration() : spaces_(1) {}

  const std::vector<Space>& spaces() const { return spaces_; }     // the system first
  const std::vector<Record>& records() const { return records_; }  // in the order of the text

  // The memory in which the field at the end of `path` lies.
  static void* locate(OwnedRecord& record, const std::vector<Step>& path);

 private:
  friend class Reader;
  friend class RecordReader;
  std::vector<Space> spaces_;
  std::vector<Record> records_;
};

}  // namespace Kestrav::Config::Text

// A configuration read from texts: complete and without mistakes, but without the numbers that
// only a store can assign.
//
// A value. Its records refer to each other by position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"
#include "platform/config/records/OwnedRecord.h"

namespace Kestrav::Config::Text {

class KESTRAV_API Configuration {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  // A step on the path to a field inside lists, arrays and embedded records.
  struct Step {
    const Field* field;
    std::uint64_t index;  // of the entry; 0 for an embedded record
  };

  // A reference that is set when its target has a number.
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
    std::uint32_t id = 0;  // as given in the text, 0 when it was not
    std::vector<Link> links;
    std::size_t ownSpace = kNone;  // of a protected domain: its own configuration
  };

  // The system or one configuration domain.
  struct Space {
    std::string domain;   // name of the protected domain that it belongs to
    ngid_t number = 0;    // as given in the text, 0 when it was not; 0 for the system
    bool filled = false;  // a domain gave its contents
  };

  Configuration() : spaces_(1) {}

  const std::vector<Space>& spaces() const { return spaces_; }     // the system first
  const std::vector<Record>& records() const { return records_; }  // in the order of the text

  // The memory that holds the field at the end of `path`.
  static void* locate(OwnedRecord& record, const std::vector<Step>& path);

 private:
  friend class Reader;
  friend class RecordReader;
  std::vector<Space> spaces_;
  std::vector<Record> records_;
};

}  // namespace Kestrav::Config::Text

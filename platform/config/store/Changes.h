// The changes of a ChangeSet, in the order of its calls.
#pragma once

#include <string>
#include <vector>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

struct ChangeSet::Changes {
  enum class Operation { kPut, kPutBefore, kErase, kOrder };
  struct Change {
    Operation operation;
    const Table* table;
    ngid_t domain = 0;
    std::uint32_t id = 0;
    std::uint32_t beforeId = 0;
    std::string row;                 // kPut, kPutBefore
    std::vector<std::uint32_t> ids;  // kOrder
  };
  std::vector<Change> list;
};

}  // namespace Kestrav::Config

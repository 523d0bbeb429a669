// What a dictionary, or a group of dictionaries, costs and what a scanner would leave out.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/records/DictionaryRecords.h"

namespace Kestrav {

struct DictionaryCheck {
  struct LeftOut {
    std::size_t item;  // index among the items that were checked
    std::string reason;
  };
  struct Costly {
    std::size_t item;
    std::chrono::microseconds cost;
  };

  // Estimates are a function of the items only; they were measured on one core.
  std::chrono::microseconds cost{};      // of compiling all items, estimated
  std::chrono::microseconds most{};      // what a set may cost
  std::chrono::microseconds measured{};  // of compiling, in processor time
  std::vector<Costly> costliest;         // at most kMostCostly items; the first costs most
  std::vector<LeftOut> broken;           // can never be searched for
  std::vector<LeftOut> crowdedOut;       // by the others of the set

  bool overBudget() const { return cost > most; }

  static constexpr std::size_t kMostCostly = 3;
};

// Compiles the items. The pointers are used until it returns.
KESTRAV_API DictionaryCheck
checkDictionary(const std::vector<const __vexa_dictionary_item*>& items);

}  // namespace Kestrav

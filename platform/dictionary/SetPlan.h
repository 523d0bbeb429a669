// Decides how the items of a set are searched for, within a budget of compile time.
//
// A word costs little. An expression has two gates to choose from: its expression is compiled for
// the multi-pattern engine, which costs a lot and selects texts well; or its literals are, which
// costs as little as words. Expressions get the first kind, the cheapest ones first, until they
// have used up their share of the budget. Those without literals may use up the whole budget.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/dictionary/DictionaryItem.h"
#include "platform/dictionary/Gate.h"

namespace Kestrav::Dictionary {

// What one set may cost: two seconds on one core.
inline constexpr Cost kMostSetCost = 2'000'000;
// The share of gates' expressions, except of those that have no literals.
inline constexpr Cost kMostEngineCost = 500'000;

struct SetPlan {
  enum class Search : std::uint8_t {
    kByExpression,  // for literals: by the literal
    kByLiterals,    // in every text, when the gate has none
    kNone,          // over the budget
  };
  std::vector<Search> searches;  // by item
  Cost cost = 0;                 // also of items over the budget
};

// Without items over the budget unless all together exceed it; those are the costliest then.
SetPlan planSet(const std::vector<std::shared_ptr<const Item>>& items, Cost most);

}  // namespace Kestrav::Dictionary

// The cheap searches that select the texts in which an expression is searched for.
//
// A gate may let other texts pass, but never holds back one in which the expression matches.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Kestrav::Dictionary {

// An estimate of compile time: 1,000 units are about a millisecond. Deterministic.
using Cost = std::uint64_t;

struct Gate {
  // For the multi-pattern engine. Empty when there is none or when it costs too much.
  std::string expression;
  Cost cost = 0;       // of `expression`
  bool exact = false;  // `expression` is the original
  // Every text that matches contains one of them, in either case. Empty when there are none.
  std::vector<std::string> literals;
};

// The most that one expression may cost.
inline constexpr Cost kMostGateCost = 3'000;

// The fewest bytes of a literal that selects texts.
inline constexpr std::size_t kShortestLiteral = 3;

Gate makeGate(const std::string& expression);

}  // namespace Kestrav::Dictionary

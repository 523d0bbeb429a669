// The cheap searches that select the texts in which an expression is searched for.
//
// A gate may let other texts pass, but never holds back one in which the expression matches.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kestrav::Dictionary {

// An estimate of compile time: 1,000 units are about a millisecond. Deterministic.
using Cost = std::uint64_t;

struct Gate {
  // For the multi-pattern engine. Empty when there is none or when it costs too much.
  std::string expression;
  Cost cost = 0;       // of `expression`
  bool exact = false;  // `expression` is the original
  // The engine would combine it with others at a cost that grows much faster than their number.
  bool separate = false;
  // foldedForGates() of every text that matches contains one of them. Empty when there are none.
  std::vector<std::string> literals;
};

// The most that one gate's expression may cost when there are literals, and when there are none.
inline constexpr Cost kMostGateCost = 3'000;
inline constexpr Cost kMostSeparateCost = 50'000;

// The fewest bytes of a literal that selects texts.
inline constexpr std::size_t kShortestLiteral = 3;

// All cases of a character in one form. REQUIRES: valid UTF-8. ASCII texts need no folding when
// the search ignores the case of ASCII letters.
std::string foldedForGates(std::string_view text);

Gate makeGate(const std::string& expression);

}  // namespace Kestrav::Dictionary

// An item of a dictionary, prepared for scanners.
//
// Kinds of text:
//   literal   the text itself; a run of white space matches any run of white space, so a phrase
//             matches across line ends
//   wildcard  see WildcardTranslation.h
//   regex     a PCRE2 expression, read as UTF-8
// Unless the item is case-sensitive, letters match in either case, also outside of ASCII. With
// whole-words a match neither begins nor ends within a word (see Words.h). Matches of one item do
// not overlap and are counted from left to right.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "platform/config/records/DictionaryRecords.h"
#include "platform/dictionary/CountedExpression.h"

namespace Kestrav::Dictionary {

inline constexpr std::uint32_t kAnyNumber = std::numeric_limits<std::uint32_t>::max();

// An estimate of compile time, in microseconds on one core. A function of the item only.
using Cost = std::uint64_t;

struct Item {
  std::string text;     // as configured
  std::string literal;  // white space normalised, case folded unless caseSensitive
  std::unique_ptr<const CountedExpression> expression;  // null for literals
  std::vector<std::string> required;                    // requiredLiterals() of the expression
  bool caseSensitive = false;
  bool wholeWords = false;
  Cost cost = 0;            // of compiling it
  std::uint32_t score = 0;  // of each match
  std::uint32_t mostMatches = kAnyNumber;
  std::uint32_t scope = 0;  // kDictionaryScope...; 0: everywhere
};

// Null for an item that is disabled or empty. Throws Exception, code kBadText, for an unknown kind
// or a text that does not compile.
std::shared_ptr<const Item> makeItem(const __vexa_dictionary_item& record);

}  // namespace Kestrav::Dictionary

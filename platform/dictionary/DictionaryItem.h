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

#include "platform/config/records/DictionaryRecords.h"
#include "platform/dictionary/CountedExpression.h"
#include "platform/dictionary/Gate.h"

namespace Kestrav::Dictionary {

inline constexpr std::uint32_t kAnyNumber = std::numeric_limits<std::uint32_t>::max();

struct Item {
  std::string text;     // as configured
  std::string literal;  // white space normalised, case folded unless caseSensitive
  Gate gate;            // of expressions: only texts that pass it are searched
  std::unique_ptr<const CountedExpression> expression;  // null for literals
  bool caseSensitive = false;
  bool wholeWords = false;
  bool gateIsExpression = false;  // the gate was made from the whole of `expression`
  Cost cost = 0;                  // of compiling it, without the gate's expression
  std::uint32_t score = 0;        // of each match
  std::uint32_t mostMatches = kAnyNumber;
  std::uint32_t scope = 0;  // kDictionaryScope...; 0: everywhere
};

// Null for an item that is disabled or empty. Throws Exception, code kBadText, for an unknown kind
// or a text that does not compile.
std::shared_ptr<const Item> makeItem(const __vexa_dictionary_item& record);

}  // namespace Kestrav::Dictionary

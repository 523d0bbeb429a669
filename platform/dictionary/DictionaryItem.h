// An item of a dictionary as scanners use it.
//
// Kinds of text:
//   literal   the text itself; a run of white space in it stands for any run of white space, so
//             that a phrase is found across line ends
//   wildcard  see WildcardTranslation.h
//   regex     a PCRE2 expression, read as UTF-8
// Unless the item is case-sensitive, letters match in either case, beyond ASCII too. With
// whole-words a match neither begins nor ends within a word (see Words.h). Matches of one item
// never overlap: they are counted from left to right.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "platform/config/records/DictionaryRecords.h"
#include "platform/dictionary/CountedExpression.h"

namespace Kestrav::Dictionary {

inline constexpr std::uint32_t kAnyNumber = std::numeric_limits<std::uint32_t>::max();

struct Item {
  std::string text;     // as configured
  std::string literal;  // of literals: white space normalised and, unless it matters, case folded
  std::string gate;     // of the others: what to search for at first
  std::unique_ptr<const CountedExpression> expression;  // of the others; null for literals
  bool caseSensitive = false;
  bool wholeWords = false;
  bool gateIsExpression = false;  // the gate's matches are the item's
  std::uint32_t score = 0;        // of each match
  std::uint32_t mostMatches = kAnyNumber;
  std::uint32_t scope = 0;  // kDictionaryScope...; 0: everywhere
};

// Null for an item that is disabled or empty. Throws Exception, code kBadText, for one that cannot
// be looked for.
std::shared_ptr<const Item> makeItem(const __vexa_dictionary_item& record);

}  // namespace Kestrav::Dictionary

// Which of many regular expressions may have a match in a text, found in one pass.
//
// It never misses one that has, and may name some that have not: their matches are confirmed and
// counted one by one (see CountedExpression). Built once, then read by any number of threads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dictionary/Hyperscan.h"

namespace Kestrav::Dictionary {

class ExpressionSet {
 public:
  struct Expression {
    std::string text;
    std::uint32_t item;
    bool ignoreCase;
  };

  ExpressionSet() = default;
  explicit ExpressionSet(const std::vector<Expression>& expressions);

  // Items whose expression cannot be looked for this way; ascending.
  const std::vector<std::uint32_t>& unsupported() const { return unsupported_; }

  // The items that may have a match, ascending. REQUIRES: the text is valid UTF-8.
  std::vector<std::uint32_t> candidates(std::string_view text) const;

  // True when the item's expression has a match wherever it is a candidate.
  bool isProof(std::uint32_t item) const;

  bool empty() const { return databases_.empty(); }

 private:
  struct Entry {
    std::string text;
    std::uint32_t item;
    unsigned int flags;
  };
  void build(std::vector<Entry> expressions);

  std::vector<std::uint32_t> unsupported_;
  std::vector<std::uint32_t> exact_;
  std::vector<Database> databases_;
};

// A cheaper expression with at least the matches of `text`: Unicode properties, which cost the
// engine seconds, become "any character". Empty when there is none, or when the repeats in it add
// up to too much.
std::string cheapExpression(const std::string& text);

}  // namespace Kestrav::Dictionary

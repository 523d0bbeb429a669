// Finds the regular expressions that may match in a text, in one pass. The result contains every
// expression that matches and possibly others; CountedExpression confirms and counts. Immutable;
// any number of threads may search.
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

  // Items whose expression the engine does not support; ascending.
  const std::vector<std::uint32_t>& unsupported() const { return unsupported_; }

  // The items that may match, ascending. REQUIRES: the text is valid UTF-8.
  std::vector<std::uint32_t> candidates(std::string_view text) const;

  // True when the item matches whenever it is a candidate.
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

// A cheaper expression that matches wherever `text` does: "any character" replaces Unicode
// properties, which take the engine seconds to compile. Empty when there is none or its repeats
// cost too much.
std::string cheapExpression(const std::string& text);

}  // namespace Kestrav::Dictionary

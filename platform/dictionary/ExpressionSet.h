// Finds the regular expressions that may match in a text. The result contains every expression that
// matches and possibly others; CountedExpression confirms and counts. Immutable; any number of
// threads may search.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dictionary/Gate.h"
#include "platform/dictionary/Hyperscan.h"
#include "platform/dictionary/LiteralSet.h"

namespace Kestrav::Dictionary {

class ExpressionSet {
 public:
  struct Expression {
    const Gate* gate;
    std::uint32_t item;
    bool ignoreCase;
    bool byLiterals = false;  // do not compile the gate's expression
  };

  ExpressionSet() = default;
  // The gates are used until it returns.
  explicit ExpressionSet(const std::vector<Expression>& expressions);

  // Items that have no gate, or only one that the engine does not support; ascending.
  const std::vector<std::uint32_t>& ungated() const { return ungated_; }

  // The items that may match, ascending. REQUIRES: the text is valid UTF-8.
  std::vector<std::uint32_t> candidates(std::string_view text) const;

  // True when the item matches whenever it is a candidate.
  bool isProof(std::uint32_t item) const;

  bool empty() const { return databases_.empty() && literals_.empty(); }

 private:
  struct Entry {
    const Expression* expression;
    unsigned int flags;
  };
  void build(std::vector<Entry> expressions, std::vector<const Expression*>& refused);

  std::vector<std::uint32_t> ungated_;
  std::vector<std::uint32_t> exact_;
  std::vector<Database> databases_;
  LiteralSet literals_;
};

}  // namespace Kestrav::Dictionary

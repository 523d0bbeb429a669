// Selects the expressions that may match in a text, by literals that their matches contain. The
// result contains every expression that matches and possibly others; CountedExpression counts.
// Immutable; any number of threads may search.
//
// The multi-pattern engine could search for whole expressions, too. It is not trusted with that:
// version 5.4.9 misses matches of expressions such as "x[a-z]+7" after 64 bytes without an "x".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/dictionary/LiteralSet.h"

namespace Kestrav::Dictionary {

class ExpressionSet {
 public:
  ExpressionSet() = default;
  // `literals`: those of requiredLiterals(), under the expressions' items.
  ExpressionSet(const std::vector<LiteralSet::Literal>& literals,
                const LiteralSet::OnFailure& onFailure);

  bool empty() const { return literals_.empty(); }

  // The items that may match, ascending. REQUIRES: the text is valid UTF-8.
  std::vector<std::uint32_t> candidates(std::string_view text) const;

 private:
  LiteralSet literals_;
  std::size_t items_ = 0;  // above every item
};

}  // namespace Kestrav::Dictionary

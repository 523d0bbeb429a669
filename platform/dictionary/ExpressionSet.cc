#include "platform/dictionary/ExpressionSet.h"

#include <algorithm>

#include "platform/common/Strings.h"
#include "platform/dictionary/RequiredLiterals.h"

namespace Kestrav::Dictionary {

ExpressionSet::ExpressionSet(const std::vector<LiteralSet::Literal>& literals,
                             const LiteralSet::OnFailure& onFailure)
    : literals_(literals, onFailure) {
  for (const LiteralSet::Literal& literal : literals) {
    items_ = std::max<std::size_t>(items_, literal.item + 1);
  }
}

std::vector<std::uint32_t> ExpressionSet::candidates(std::string_view text) const {
  std::vector<std::uint32_t> items;
  std::vector<bool> seen(items_);
  const auto onLiteral = [&](std::uint32_t item, std::size_t, std::size_t) {
    if (seen[item]) return;
    seen[item] = true;
    items.push_back(item);
  };
  if (isAscii(text)) {
    literals_.scan(text, onLiteral);
  } else {
    literals_.scan(foldedText(text), onLiteral);
  }
  std::sort(items.begin(), items.end());
  return items;
}

}  // namespace Kestrav::Dictionary

// The literals that select the texts in which an expression is searched for.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kestrav::Dictionary {

// The fewest bytes of a literal that selects texts.
inline constexpr std::size_t kShortestLiteral = 3;

// foldedText() of every text in which the expression matches contains one of them. Empty when there
// are none. REQUIRES: PCRE2 compiles the expression as UTF-8.
std::vector<std::string> requiredLiterals(const std::string& expression);

// All cases of a character in one form. REQUIRES: valid UTF-8. A search that ignores the case of
// ASCII letters finds the same in ASCII texts without folding.
std::string foldedText(std::string_view text);

}  // namespace Kestrav::Dictionary

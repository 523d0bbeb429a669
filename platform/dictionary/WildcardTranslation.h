// Wildcards of dictionaries as regular expressions.
//
// "*" stands for up to kLongestStar characters other than white space, "?" for one of them, a run
// of white space for any run of white space, "\" takes the meaning from the character behind it.
// Everything else stands for itself. A star at the end takes the rest of the word; one at the start
// lets the word begin anywhere.
#pragma once

#include <string>
#include <string_view>

namespace Kestrav::Dictionary {

inline constexpr int kLongestStar = 255;

struct TranslatedWildcard {
  std::string expression;  // finds exactly the matches
  std::string gate;        // cheap; finds something wherever the expression does
  bool openStart = false;  // starts with a star
};

// Throws Exception, code kBadText, for a text that is not UTF-8, and for a wildcard without any
// character of its own: it would match everything.
TranslatedWildcard translateWildcard(std::string_view wildcard);

}  // namespace Kestrav::Dictionary

// Translates the wildcards of dictionaries to regular expressions.
//
// "*" matches up to kLongestStar characters other than white space, "?" one of them, a run of white
// space any run of white space; "\" makes the next character literal. Everything else is literal. A
// star at the end matches the rest of the word; after a star at the start the match may begin
// within a word.
#pragma once

#include <string>
#include <string_view>

namespace Kestrav::Dictionary {

inline constexpr int kLongestStar = 255;

struct TranslatedWildcard {
  std::string expression;
  bool openStart = false;  // the wildcard starts with a star
};

// Throws Exception, code kBadText, for a text that is not UTF-8 and for a wildcard without a
// literal character: it would match everything.
TranslatedWildcard translateWildcard(std::string_view wildcard);

}  // namespace Kestrav::Dictionary

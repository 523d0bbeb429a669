#include "platform/dictionary/WildcardTranslation.h"

#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

constexpr const char* kBlank = R"([\s\x{85}\p{Z}])";
constexpr const char* kNoBlank = R"([^\s\x{85}\p{Z}])";

void appendLiteral(std::string& expression, char32_t character) {
  if (character >= 0x80 || isAsciiLetterOrDigit(character)) {
    Characters::append(expression, character);
  } else {
    // As a number, for NUL and line feed.
    constexpr char kDigits[] = "0123456789abcdef";
    expression += "\\x";
    expression += kDigits[character >> 4];
    expression += kDigits[character & 15];
  }
}

// Expressions for the pieces between the stars.
struct Pieces {
  std::vector<std::string> pieces{std::string()};
  bool hasLiteral = false;
};

Pieces split(std::string_view wildcard) {
  Pieces result;
  for (std::size_t position = 0; position < wildcard.size();) {
    char32_t character = Characters::next(wildcard, position);
    if (character == '*') {
      result.pieces.emplace_back();
      continue;
    }
    std::string& piece = result.pieces.back();
    if (character == '?') {
      piece += kNoBlank;
      continue;
    }
    if (isWhiteSpace(character)) {
      for (std::size_t next = position; next < wildcard.size(); position = next) {
        if (!isWhiteSpace(Characters::next(wildcard, next))) break;
      }
      piece += kBlank;
      piece += '+';
      continue;
    }
    // A backslash at the end is literal.
    if (character == '\\' && position < wildcard.size()) {
      character = Characters::next(wildcard, position);
    }
    appendLiteral(piece, character);
    result.hasLiteral = true;
  }
  return result;
}

}  // namespace

TranslatedWildcard translateWildcard(std::string_view wildcard) {
  if (!Characters::isUtf8(wildcard)) {
    throw Exception("wildcard is not UTF-8", Exception::kBadText, "WildcardTranslation");
  }
  const Pieces split = Dictionary::split(wildcard);
  if (!split.hasLiteral) {
    throw Exception("wildcard has no character of its own and would match everything",
                    Exception::kBadText, "WildcardTranslation");
  }

  TranslatedWildcard result;
  result.openStart = split.pieces.front().empty();
  std::vector<std::string> pieces;
  for (const std::string& piece : split.pieces) {
    if (!piece.empty()) pieces.push_back(piece);
  }
  const bool openEnd = split.pieces.back().empty();

  const std::string star = std::string(kNoBlank) + "{0," + std::to_string(kLongestStar) + "}?";
  result.expression = pieces.front();
  for (std::size_t i = 1; i < pieces.size(); ++i) {
    // The first match of a piece is as good as a later one, so its group is atomic; only the last
    // piece may have to move to the end of a word.
    const bool last = i + 1 == pieces.size() && !openEnd;
    result.expression += (last ? "(?:" : "(?>") + star + pieces[i] + ")";
  }
  if (openEnd) result.expression += std::string(kNoBlank) + "*+";
  return result;
}

}  // namespace Kestrav::Dictionary

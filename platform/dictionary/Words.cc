#include "platform/dictionary/Words.h"

#include <unicode/uchar.h>
#include <unicode/uscript.h>

#include "platform/common/Strings.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

constexpr char32_t kAsciiEnd = 0x80;
constexpr char32_t kReplacement = 0xFFFD;
constexpr std::size_t kLongestSequence = 4;

bool isCharacterBoundary(std::string_view text, std::size_t position) {
  if (position == 0 || position >= text.size() || !isUtf8Continuation(text[position])) return true;
  for (std::size_t back = 1; back < kLongestSequence && back <= position; ++back) {
    std::size_t end = position - back;
    Characters::next(text, end);
    if (end > position) return false;
  }
  return true;
}

// The character that ends at `position`. REQUIRES: 0 < position <= text.size().
char32_t previous(std::string_view text, std::size_t position) {
  if (isUtf8Continuation(text[position - 1])) {
    for (std::size_t back = 2; back <= kLongestSequence && back <= position; ++back) {
      std::size_t end = position - back;
      const char32_t character = Characters::next(text, end);
      if (end == position) return character;
    }
  }
  std::size_t start = position - 1;
  return Characters::next(text.substr(0, position), start);
}

// Scripts without blanks between words.
bool isWrittenWithoutBlanks(char32_t character) {
  UErrorCode status = U_ZERO_ERROR;
  switch (uscript_getScript(static_cast<UChar32>(character), &status)) {
    case USCRIPT_HAN:
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_BOPOMOFO:
    case USCRIPT_THAI:
    case USCRIPT_LAO:
    case USCRIPT_KHMER:
    case USCRIPT_MYANMAR:
    case USCRIPT_TAI_LE:
    case USCRIPT_NEW_TAI_LUE:
    case USCRIPT_LANNA:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool joinsWords(char32_t character) {
  if (character < kAsciiEnd) return isAsciiLetterOrDigit(character);
  if (character >= Characters::kStrayByte) return false;
  constexpr std::uint32_t kJoining = U_GC_L_MASK | U_GC_N_MASK | U_GC_M_MASK;
  return (U_GET_GC_MASK(static_cast<UChar32>(character)) & kJoining) != 0 &&
         !isWrittenWithoutBlanks(character);
}

bool splitsWord(std::string_view text, std::size_t position) {
  if (position == 0 || position >= text.size()) return false;
  if (!joinsWords(previous(text, position))) return false;
  std::size_t next = position;
  return joinsWords(Characters::next(text, next));
}

bool isWholeCharacters(std::string_view text, std::size_t begin, std::size_t end) {
  return isCharacterBoundary(text, begin) && isCharacterBoundary(text, end);
}

bool isWholeWord(std::string_view text, std::size_t begin, std::size_t end) {
  return isWholeCharacters(text, begin, end) && !splitsWord(text, begin) && !splitsWord(text, end);
}

bool isWhiteSpace(char32_t character) {
  if (character < kAsciiEnd) return character == ' ' || (character >= '\t' && character <= '\r');
  return character < Characters::kStrayByte && u_isUWhiteSpace(static_cast<UChar32>(character));
}

std::string normalised(std::string_view text, bool foldCase) {
  std::string result;
  result.reserve(text.size());
  bool inBlanks = false;
  for (std::size_t position = 0; position < text.size();) {
    const char32_t character = Characters::next(text, position);
    const bool blank = isWhiteSpace(character);
    if (!blank) {
      if (character < kAsciiEnd) {
        const auto byte = static_cast<char>(character);
        result += foldCase ? asciiToLower(byte) : byte;
      } else {
        Characters::append(result, foldCase ? Characters::fold(character) : character);
      }
    } else if (!inBlanks) {
      result += ' ';
    }
    inBlanks = blank;
  }
  return result;
}

std::string asUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    if (Characters::next(text, position) < Characters::kStrayByte) {
      result.append(text, start, position - start);
    } else {
      Characters::append(result, kReplacement);
    }
  }
  return result;
}

}  // namespace Kestrav::Dictionary

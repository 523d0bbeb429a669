// Small helpers for texts. All of them work on bytes and on ASCII only, whatever the locale: bytes
// from 0x80 on are neither white space nor letters. Any thread may call them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"

namespace Kestrav {

// Remove blanks, tabs, line feeds, vertical tabs, form feeds and carriage returns, in place.
KESTRAV_API void stringLeftTrim(std::string& text);
KESTRAV_API void stringRightTrim(std::string& text);
KESTRAV_API void stringTrim(std::string& text);

// Below, equal to or above 0 as `a` sorts before, with or after `b` once both are in lower case.
// NUL bytes count like any other.
KESTRAV_API int stringCompareNoCase(std::string_view a, std::string_view b);
KESTRAV_API bool stringEqualsNoCase(std::string_view a, std::string_view b);

// For ordered containers whose keys differ in more than case.
struct StringLessNoCase {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const {
    return stringCompareNoCase(a, b) < 0;
  }
};

KESTRAV_API std::string stringToLower(std::string_view text);

// One piece more than there are separators: "a,,b" gives "a", "" and "b", an empty text one empty
// piece.
KESTRAV_API std::vector<std::string> stringSplit(std::string_view text, char separator);

// Copies `text`, up to its first NUL if it has one, into the `size` bytes at `destination`; the
// rest becomes zero, at least one byte. A text that does not fit is cut, in front of a UTF-8
// sequence rather than within it. True when nothing was cut. REQUIRES: size > 0.
KESTRAV_API bool boundedCopy(char* destination, std::size_t size, std::string_view text);

template <std::size_t N>
bool boundedCopy(char (&destination)[N], std::string_view text) {
  return boundedCopy(destination, N, text);
}

// The text at `text` up to its NUL, or `max` bytes when there is none among them. Empty for null.
KESTRAV_API std::string_view boundedText(const char* text, std::size_t max);

template <std::size_t N>
std::string_view boundedText(const char (&text)[N]) {
  return boundedText(text, N);
}

}  // namespace Kestrav

// Helpers for texts. They ignore the locale: bytes from 0x80 on are neither white space nor
// letters. Any thread may call them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"

namespace Kestrav {

// For bytes and for code points.
constexpr bool isAsciiLetterOrDigit(char32_t c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

constexpr char asciiToLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

KESTRAV_API bool isAscii(std::string_view text);

// 10xxxxxx
constexpr bool isUtf8Continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The length of the well-formed UTF-8 sequence at the start of `text`; 0 when there is none.
// REQUIRES: `text` is not empty.
KESTRAV_API std::size_t utf8SequenceLength(std::string_view text);

// Remove blanks, tabs, line feeds, vertical tabs, form feeds and carriage returns, in place.
KESTRAV_API void stringLeftTrim(std::string& text);
KESTRAV_API void stringRightTrim(std::string& text);
KESTRAV_API void stringTrim(std::string& text);

// Negative, 0 or positive: the order of both texts in lower case. NUL bytes count like any other.
KESTRAV_API int stringCompareNoCase(std::string_view a, std::string_view b);
KESTRAV_API bool stringEqualsNoCase(std::string_view a, std::string_view b);

KESTRAV_API std::string stringToLower(std::string_view text);

// "a,,b" gives "a", "" and "b"; an empty text gives one empty piece.
KESTRAV_API std::vector<std::string> stringSplit(std::string_view text, char separator);

// Copies `text` up to its first NUL into the `size` bytes at `destination` and fills the rest, at
// least one byte, with zeros. A text that does not fit is cut between UTF-8 sequences. True when
// nothing was cut. REQUIRES: size > 0.
KESTRAV_API bool boundedCopy(char* destination, std::size_t size, std::string_view text);

template <std::size_t N>
bool boundedCopy(char (&destination)[N], std::string_view text) {
  return boundedCopy(destination, N, text);
}

// The text at `text` up to its NUL, at most `max` bytes. Empty for null.
KESTRAV_API std::string_view boundedText(const char* text, std::size_t max);

template <std::size_t N>
std::string_view boundedText(const char (&text)[N]) {
  return boundedText(text, N);
}

}  // namespace Kestrav

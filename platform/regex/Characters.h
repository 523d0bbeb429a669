// Texts as patterns see them: a sequence of characters, where a valid UTF-8 sequence is one
// character and a byte that belongs to none is a character of its own, different from every code
// point. So every byte string has exactly one reading, and nothing is ever refused or replaced.
//
// Letter case is folded character by character (simple folding). ASCII letters fold among
// themselves only: no character outside ASCII ever equals one inside, so that a look-alike such as
// the Kelvin sign does not pass for a "k" in an address.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kestrav::Characters {

// A stray byte b is the character kStrayByte + b.
inline constexpr char32_t kStrayByte = 0x110000;

// The character that starts at `position`, which moves behind it.
// REQUIRES: position < text.size().
char32_t next(std::string_view text, std::size_t& position);

void append(std::string& text, char32_t character);

char32_t fold(char32_t character);
std::string fold(std::string_view text);

bool isAscii(std::string_view text);
bool isUtf8(std::string_view text);

inline char foldAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

}  // namespace Kestrav::Characters

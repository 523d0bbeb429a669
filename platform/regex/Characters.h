// The characters of a text for patterns: a valid UTF-8 sequence is one character; a byte outside of
// one is a character that differs from every code point. So any byte string is valid.
//
// Letter case is folded character by character (simple folding). ASCII letters fold to ASCII only:
// a look-alike such as the Kelvin sign does not match a "k" in an address.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kestrav::Characters {

// A stray byte b is the character kStrayByte + b.
inline constexpr char32_t kStrayByte = 0x110000;

// The character at `position`, which moves to the next one.
// REQUIRES: position < text.size().
char32_t next(std::string_view text, std::size_t& position);

void append(std::string& text, char32_t character);

char32_t fold(char32_t character);
std::string fold(std::string_view text);

bool isUtf8(std::string_view text);

}  // namespace Kestrav::Characters

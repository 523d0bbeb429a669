// What the parsers of this room ask of UTF-8 text. Any thread may call these.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kestrav {

constexpr char32_t kIllFormed = 0xFFFFFFFF;
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

// The code point at `pos`, which moves behind it; kIllFormed for a sequence that is not UTF-8, of
// which at least one byte is passed over. REQUIRES: pos < text.size().
char32_t nextCodePoint(std::string_view text, std::size_t& pos);

// C0 and C1 controls, DEL, and the line and paragraph separators: what may neither stand in an
// address nor break a line.
bool isControl(char32_t c);

// Well-formed UTF-8 whose controls are blanks and whose ill-formed sequences are U+FFFD. Tabs stay.
std::string printableUtf8(std::string_view text);

}  // namespace Kestrav

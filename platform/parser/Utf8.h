// UTF-8 for the parsers of this folder. Any thread may call these functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/common/Export.h"

namespace Kestrav {

constexpr char32_t kIllFormed = 0xFFFFFFFF;
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

// The code point at `pos`, which moves to the next one; kIllFormed for an ill-formed sequence, of
// which at least one byte is skipped. REQUIRES: pos < text.size().
KESTRAV_API char32_t nextCodePoint(std::string_view text, std::size_t& pos);

// C0 and C1 controls, DEL, and the line and paragraph separators.
KESTRAV_API bool isControl(char32_t c);

// Controls except tabs become blanks, ill-formed sequences U+FFFD.
std::string printableUtf8(std::string_view text);

}  // namespace Kestrav

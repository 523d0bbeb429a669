// Formats a logged message: its fields, and text that is safe in one line. Used by the logger only.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>
#include <vector>

namespace Kestrav {

// Formats as printf does. `format` is split at its 0x01 bytes before the arguments are formatted,
// so a 0x01 in an argument stays in its field.
//
// A null "%s" gives "(null)". "%n" writes nothing. A conversion unknown to C, and the rest of the
// format after it, is copied: the type of its argument is unknown.
std::vector<std::string> formatFields(const char* format, std::va_list arguments);

// Escapes everything that could break a line or control a terminal: control characters (C0, C1 and
// DEL), the Unicode line and paragraph separators, and bytes that are not UTF-8. They become \n,
// \r, \t or \xHH. A text of more than some thousand bytes is cut and ends in "...".
std::string escapedForLine(std::string_view text);

}  // namespace Kestrav

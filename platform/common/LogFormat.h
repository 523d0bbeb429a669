// How a logged message's format and arguments become fields, and fields become one safe line.
// Inside the logger only.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>
#include <vector>

namespace Kestrav {

// Formats as printf does, field by field: `format` is cut at its 0x01 bytes before any argument is
// put in, so that an argument's own 0x01 stays in its field. Always one field more than there are
// 0x01 bytes.
//
// A null "%s" reads "(null)". "%n" writes nothing. From a conversion that C does not know on, the
// rest of the format stands as it is: the type of its argument, and so the place of the next, is
// unknown.
std::vector<std::string> formatFields(const char* format, std::va_list arguments);

// `text` with everything escaped that could break a line or drive a terminal: control characters
// (C0, C1 and DEL), the Unicode line and paragraph separators, and bytes that are not UTF-8. They
// read \n, \r, \t or \xHH. A text of more than some thousand bytes is cut and ends in "...".
std::string escapedForLine(std::string_view text);

}  // namespace Kestrav

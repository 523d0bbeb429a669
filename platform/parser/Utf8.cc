#include "platform/parser/Utf8.h"

#include <unicode/utf8.h>

#include <cstdint>

namespace Kestrav {

char32_t nextCodePoint(std::string_view text, std::size_t& pos) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  UChar32 c = 0;
  U8_NEXT(bytes, pos, text.size(), c);
  return c < 0 ? kIllFormed : static_cast<char32_t>(c);
}

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

std::string printableUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t pos = 0; pos < text.size();) {
    const std::size_t start = pos;
    const char32_t c = nextCodePoint(text, pos);
    if (c == kIllFormed) {
      out += kReplacementCharacter;
    } else if (isControl(c) && c != '\t') {
      out += ' ';
    } else {
      out += text.substr(start, pos - start);
    }
  }
  return out;
}

}  // namespace Kestrav

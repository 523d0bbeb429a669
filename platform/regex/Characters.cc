#include "platform/regex/Characters.h"

#include <unicode/uchar.h>

#include "platform/common/Strings.h"

namespace Kestrav::Characters {
namespace {

constexpr char32_t kAsciiEnd = 0x80;

unsigned char byteAt(std::string_view text, std::size_t position) {
  return static_cast<unsigned char>(text[position]);
}

}  // namespace

char32_t next(std::string_view text, std::size_t& position) {
  const unsigned char first = byteAt(text, position);
  if (first < kAsciiEnd) {
    ++position;
    return first;
  }
  const std::size_t length = utf8SequenceLength(text.substr(position));
  if (length == 0) {
    ++position;
    return kStrayByte + first;
  }
  char32_t character = first & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    character = character << 6 | (byteAt(text, position + i) & 0x3Fu);
  }
  position += length;
  return character;
}

void append(std::string& text, char32_t character) {
  const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
  if (character >= kStrayByte) {
    put(character - kStrayByte);
  } else if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

char32_t fold(char32_t character) {
  if (character < kAsciiEnd) {
    return static_cast<unsigned char>(asciiToLower(static_cast<char>(character)));
  }
  if (character >= kStrayByte) return character;
  const auto folded =
      static_cast<char32_t>(u_foldCase(static_cast<UChar32>(character), U_FOLD_CASE_DEFAULT));
  return folded < kAsciiEnd ? character : folded;
}

std::string fold(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    if (byteAt(text, position) < kAsciiEnd) {
      folded += asciiToLower(text[position++]);
    } else {
      append(folded, fold(next(text, position)));
    }
  }
  return folded;
}

bool isUtf8(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    if (next(text, position) >= kStrayByte) return false;
  }
  return true;
}

}  // namespace Kestrav::Characters

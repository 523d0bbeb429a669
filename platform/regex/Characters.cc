#include "platform/regex/Characters.h"

#include <unicode/uchar.h>

#include <algorithm>

namespace Kestrav::Characters {
namespace {

constexpr char32_t kAsciiEnd = 0x80;

unsigned char byteAt(std::string_view text, std::size_t position) {
  return static_cast<unsigned char>(text[position]);
}

// What the lead byte promises: how many bytes follow, and the smallest character that needs them.
struct Lead {
  std::size_t following;
  char32_t bits;
  char32_t smallest;
};

bool readLead(unsigned char byte, Lead& lead) {
  if (byte >= 0xC2 && byte <= 0xDF) {
    lead = {1, byte & 0x1Fu, 0x80};
  } else if (byte >= 0xE0 && byte <= 0xEF) {
    lead = {2, byte & 0x0Fu, 0x800};
  } else if (byte >= 0xF0 && byte <= 0xF4) {
    lead = {3, byte & 0x07u, 0x10000};
  } else {
    return false;
  }
  return true;
}

}  // namespace

char32_t next(std::string_view text, std::size_t& position) {
  const unsigned char first = byteAt(text, position);
  const std::size_t start = position++;
  if (first < kAsciiEnd) return first;

  Lead lead;
  if (!readLead(first, lead) || text.size() - start <= lead.following) return kStrayByte + first;
  char32_t character = lead.bits;
  for (std::size_t i = 1; i <= lead.following; ++i) {
    const unsigned char byte = byteAt(text, start + i);
    if ((byte & 0xC0) != 0x80) return kStrayByte + first;
    character = character << 6 | (byte & 0x3Fu);
  }
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < lead.smallest || character > 0x10FFFF || surrogate) return kStrayByte + first;
  position = start + 1 + lead.following;
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
    return static_cast<unsigned char>(foldAscii(static_cast<char>(character)));
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
      folded += foldAscii(text[position++]);
    } else {
      append(folded, fold(next(text, position)));
    }
  }
  return folded;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < kAsciiEnd; });
}

bool isUtf8(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    if (next(text, position) >= kStrayByte) return false;
  }
  return true;
}

}  // namespace Kestrav::Characters

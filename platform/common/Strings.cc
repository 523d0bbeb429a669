#include "platform/common/Strings.h"

#include <algorithm>
#include <cstring>

namespace Kestrav {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

constexpr unsigned char lower(char c) {
  return static_cast<unsigned char>(asciiToLower(c));
}

// Where to cut `text` so that at most `limit` bytes remain and no UTF-8 sequence is split. `limit`
// itself when the text there is not UTF-8.
std::size_t cutWithin(std::string_view text, std::size_t limit) {
  constexpr std::size_t kMostContinuations = 3;
  std::size_t cut = limit;
  for (std::size_t step = 0; step < kMostContinuations && cut > 0 && isUtf8Continuation(text[cut]);
       ++step) {
    --cut;
  }
  return isUtf8Continuation(text[cut]) ? limit : cut;
}

}  // namespace

bool isAscii(std::string_view text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

std::size_t utf8SequenceLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF5   ? 0
                             : lead >= 0xF0 ? 4
                             : lead >= 0xE0 ? 3
                             : lead >= 0xC2 ? 2
                                            : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if (!isUtf8Continuation(text[i])) return 0;
  }
  // Over-long forms, surrogates, and code points above U+10FFFF.
  const auto second = static_cast<unsigned char>(text[1]);
  if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
      (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
    return 0;
  }
  return length;
}

void stringLeftTrim(std::string& text) {
  text.erase(0, std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

void stringRightTrim(std::string& text) {
  text.erase(text.find_last_not_of(kWhiteSpace) + 1);  // npos + 1 is 0: nothing but white space
}

void stringTrim(std::string& text) {
  stringRightTrim(text);
  stringLeftTrim(text);
}

int stringCompareNoCase(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference = lower(a[i]) - lower(b[i]);
    if (difference != 0) return difference;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool stringEqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && stringCompareNoCase(a, b) == 0;
}

std::string stringToLower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = asciiToLower(c);
  return result;
}

std::vector<std::string> stringSplit(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find(separator, start);
    pieces.emplace_back(text.substr(start, end - start));
    if (end == std::string_view::npos) return pieces;
    start = end + 1;
  }
}

bool boundedCopy(char* destination, std::size_t size, std::string_view text) {
  text = text.substr(0, text.find('\0'));
  const bool fits = text.size() < size;
  const std::size_t copied = fits ? text.size() : cutWithin(text, size - 1);
  if (copied != 0) std::memmove(destination, text.data(), copied);
  std::memset(destination + copied, 0, size - copied);
  return fits;
}

std::string_view boundedText(const char* text, std::size_t max) {
  return text == nullptr ? std::string_view() : std::string_view(text, strnlen(text, max));
}

}  // namespace Kestrav

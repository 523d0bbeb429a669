#include "platform/common/Strings.h"

#include <algorithm>
#include <cstring>

namespace Kestrav {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

constexpr unsigned char lower(char c) {
  return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

constexpr bool continuesSequence(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The longest prefix of `text` within `limit` bytes that does not end inside a UTF-8 sequence;
// `limit` itself when what stands there is no UTF-8 anyway.
std::size_t cutWithin(std::string_view text, std::size_t limit) {
  constexpr std::size_t kMostContinuations = 3;
  std::size_t cut = limit;
  for (std::size_t step = 0; step < kMostContinuations && cut > 0 && continuesSequence(text[cut]);
       ++step) {
    --cut;
  }
  return continuesSequence(text[cut]) ? limit : cut;
}

}  // namespace

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
  for (char& c : result) c = static_cast<char>(lower(c));
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

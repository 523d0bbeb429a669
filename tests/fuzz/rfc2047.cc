// Any text as encoded words in any charset: each word is short enough and can be decoded by itself,
// and an independent decoder gives the printable form of the text. Any text as a header value: the
// decoded form is printable. The printable form as words that others might write: they decode to
// it. Input: the charset's name up to a line feed, the text. The name also chooses how others
// write.
#include <gmime/gmime.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/common/Strings.h"
#include "platform/parser/GMimeLibrary.h"
#include "platform/parser/Rfc2047.h"
#include "platform/parser/Utf8.h"

namespace {

constexpr std::size_t kLargestInput = 512;  // the encoder's time is quadratic

void require(bool condition) {
  if (!condition) std::abort();
}

std::string decoded(const std::string& words) {
  char* text = g_mime_utils_header_decode_text(nullptr, words.c_str());
  std::string out = text;
  g_free(text);
  return out;
}

std::string checkedWords(const std::string& text, const std::string& charset) {
  const std::string words = Kestrav::vexa_encode_rfc2047(text, charset);
  require(words.empty() == text.empty());
  if (words.empty()) return words;
  for (const std::string& word : Kestrav::stringSplit(words, ' ')) {
    require(word.size() <= Kestrav::kLongestEncodedWord);
    require(word.size() > 4 && word.substr(0, 2) == "=?" && word.substr(word.size() - 2) == "?=");
    for (const char c : word) require(c > 0x20 && c < 0x7F);
  }
  return words;
}

std::string inBase64(const std::string& bytes, bool padded) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t present = std::min<std::size_t>(bytes.size() - i, 3);
    std::uint32_t group = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      group = group << 8 | (j < present ? static_cast<unsigned char>(bytes[i + j]) : 0u);
    }
    for (std::size_t j = 0; j <= present; ++j) out += kDigits[group >> (18 - 6 * j) & 63];
    if (padded) out.append(3 - present, '=');
  }
  return out;
}

std::string inQ(const std::string& bytes, bool lowerCase) {
  const char* digits = lowerCase ? "0123456789abcdef" : "0123456789ABCDEF";
  std::string out;
  for (const char c : bytes) {
    const auto octet = static_cast<unsigned char>(c);
    if (c == ' ') {
      out += '_';
    } else if (Kestrav::isAsciiLetterOrDigit(octet)) {
      out += c;
    } else {
      out += {'=', digits[octet >> 4], digits[octet & 15]};
    }
  }
  return out;
}

// The bytes as words of UTF-8, split anywhere. `style` chooses the lengths and forms.
std::string foreignWords(const std::string& bytes, const std::string& style) {
  std::string words;
  std::size_t turn = 0;
  for (std::size_t start = 0; start < bytes.size(); ++turn) {
    const unsigned choice =
        style.empty() ? 0 : static_cast<unsigned char>(style[turn % style.size()]);
    const std::string piece = bytes.substr(start, 1 + choice % 13);
    start += piece.size();
    if (!words.empty()) words += choice & 64 ? "\r\n\t" : choice & 32 ? "  " : " ";
    words += choice & 16 ? "=?UTF-8?" : "=?utf-8?";
    if (choice & 1) {
      words += (choice & 8 ? "b?" : "B?") + inBase64(piece, (choice & 2) != 0);
    } else {
      words += (choice & 8 ? "q?" : "Q?") + inQ(piece, (choice & 4) != 0);
    }
    words += "?=";
  }
  return words;
}

std::string checkedDecoding(const std::string& value) {
  const std::string text = Kestrav::vexa_decode_rfc2047(value);
  require(Kestrav::printableUtf8(text) == text);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kLargestInput) return 0;
  Kestrav::ensureGMime();
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  const std::string charset = end == input.npos ? "utf-8" : input.substr(0, end);
  const std::string text = end == input.npos ? input : input.substr(end + 1);
  checkedWords(text, charset);

  // For other charsets the two decoders may differ in some characters.
  const std::string printable = Kestrav::printableUtf8(text);
  const std::string words = checkedWords(text, "utf-8");
  require(decoded(words) == printable);
  std::string joined;
  for (const std::string& word : Kestrav::stringSplit(words, ' ')) joined += decoded(word);
  require(joined == printable);

  checkedDecoding(input);
  require(checkedDecoding(words) == printable);
  require(checkedDecoding(foreignWords(printable, charset)) == printable);
  return 0;
}

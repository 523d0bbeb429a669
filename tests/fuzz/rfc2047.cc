// Any text as encoded words in any charset: each word is short enough and can be decoded by itself,
// and an independent decoder gives the printable form of the text. Input: the charset's name up to
// a line feed, the text.
#include <gmime/gmime.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/common/Strings.h"
#include "platform/parser/GMimeLibrary.h"
#include "platform/parser/Rfc2047.h"
#include "platform/parser/Utf8.h"

namespace {

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
  return 0;
}

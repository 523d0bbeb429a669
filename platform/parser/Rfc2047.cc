#include "platform/parser/Rfc2047.h"

#include <gmime/gmime.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/common/Strings.h"
#include "platform/parser/GMimeLibrary.h"
#include "platform/parser/Utf8.h"
#include "platform/parser/VexaConv.h"

namespace Kestrav {
namespace {

constexpr std::string_view kUtf8 = "utf-8";
constexpr std::size_t kDelimiters = 7;       // =? ? ? ?= and the letter of the encoding
constexpr std::size_t kLongestCharset = 36;  // leaves space for one character of any charset

// An RFC 2047 token without "*", which is special in RFC 2231.
bool isCharsetToken(std::string_view name) {
  if (name.empty() || name.size() > kLongestCharset) return false;
  for (const char c : name) {
    if (c <= 0x20 || c >= 0x7F) return false;
    if (std::string_view("()<>@,;:\"/[]?.=*").find(c) != std::string_view::npos) return false;
  }
  return true;
}

// UTF-8 text in the charset, beginning and ending in its initial state; nullopt when it cannot
// express a character.
std::optional<std::string> converted(std::string_view text, const std::string& charset) {
  if (stringEqualsNoCase(charset, kUtf8)) return std::string(text);
  Buffer bytes;
  BufferMediaOut out(bytes);
  VexaConv converter(out, "UTF-8", charset, 0);
  converter.write(text.data(), text.size());
  converter.end();
  if (!converter.ok() || converter.terrCnt() != 0) return std::nullopt;
  return bytes.asString();
}

// The characters that RFC 2047 section 5 (3) allows unencoded in every place of an encoded word.
bool isPlainInQ(char c) {
  return isAsciiLetterOrDigit(c) || std::string_view("!*+-/").find(c) != std::string_view::npos;
}

struct QEncoding {
  static constexpr char kLetter = 'Q';
  static bool mayBeContinued(std::string_view) { return true; }

  static std::size_t length(std::string_view bytes) {
    std::size_t length = 0;
    for (const char c : bytes) length += isPlainInQ(c) || c == ' ' ? 1 : 3;
    return length;
  }

  static std::string encode(std::string_view bytes) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (const char c : bytes) {
      const auto octet = static_cast<unsigned char>(c);
      if (c == ' ') {
        out += '_';
      } else if (isPlainInQ(c)) {
        out += c;
      } else {
        out += {'=', kHex[octet >> 4], kHex[octet & 0xF]};
      }
    }
    return out;
  }
};

struct BEncoding {
  static constexpr char kLetter = 'B';
  static bool mayBeContinued(std::string_view bytes) { return bytes.size() % 3 == 0; }
  static std::size_t length(std::string_view bytes) { return (bytes.size() + 2) / 3 * 4; }
  static std::string encode(std::string_view bytes) { return Buffer(bytes).toBase64String(); }
};

struct Word {
  char letter;
  std::string encoded;
  std::size_t end;  // offset in the text
};

// Encodes one text in one charset. REQUIRES: the charset can express the text.
class WordBuilder {
 public:
  WordBuilder(std::string_view text, const std::string& charset)
      : text_(text), charset_(charset), room_(kLongestEncodedWord - kDelimiters - charset.size()) {}

  // nullopt when a character does not fit into a word.
  //
  // Some decoders join words of the same encoding before they decode them, and stop at base64
  // padding. So only the last word may have padding; where no character ends at a multiple of three
  // bytes, the next word is in Q.
  template <typename Encoding>
  std::optional<std::string> build() const {
    std::string words;
    for (std::size_t start = 0; start < text_.size();) {
      auto word = longestWord<Encoding>(start);
      if (!word) word = characterInQ(start);
      if (!word) return std::nullopt;
      if (!words.empty()) words += ' ';
      words += "=?" + charset_ + '?' + word->letter + '?' + word->encoded + "?=";
      start = word->end;
    }
    return words;
  }

 private:
  template <typename Encoding>
  std::optional<Word> longestWord(std::size_t start) const {
    std::optional<std::string> bytes;
    std::size_t end = start;
    for (std::size_t pos = start; pos < text_.size();) {
      nextCodePoint(text_, pos);
      auto longer = converted(text_.substr(start, pos - start), charset_);
      if (!longer || Encoding::length(*longer) > room_) break;
      if (pos < text_.size() && !Encoding::mayBeContinued(*longer)) continue;
      bytes = std::move(longer);
      end = pos;
    }
    if (!bytes) return std::nullopt;
    return Word{Encoding::kLetter, Encoding::encode(*bytes), end};
  }

  std::optional<Word> characterInQ(std::size_t start) const {
    std::size_t end = start;
    nextCodePoint(text_, end);
    const auto bytes = converted(text_.substr(start, end - start), charset_);
    if (!bytes || QEncoding::length(*bytes) > room_) return std::nullopt;
    return Word{QEncoding::kLetter, QEncoding::encode(*bytes), end};
  }

  std::string_view text_;
  const std::string& charset_;
  std::size_t room_;
};

// The bytes of a base64 text. Padding may be missing; other characters are skipped.
std::string bytesOfBase64(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (isAsciiLetterOrDigit(static_cast<unsigned char>(c)) || c == '+' || c == '/') digits += c;
  }
  if (digits.size() % 4 == 1) digits.pop_back();
  digits.append((4 - digits.size() % 4) % 4, '=');
  gint state = 0;
  guint save = 0;
  std::string bytes(digits.size(), '\0');
  bytes.resize(g_base64_decode_step(digits.data(), digits.size(),
                                    reinterpret_cast<guchar*>(bytes.data()), &state, &save));
  return bytes;
}

std::optional<std::string> shorter(std::string_view text, const std::string& charset) {
  if (!converted(text, charset)) return std::nullopt;
  const WordBuilder builder(text, charset);
  auto q = builder.build<QEncoding>();
  auto b = builder.build<BEncoding>();
  if (!q || (b && b->size() < q->size())) return b;
  return q;
}

}  // namespace

std::string wordsInQ(std::string_view text) {
  constexpr std::size_t kEncoding = 3;  // "?B?"
  std::string made;
  std::size_t done = 0;
  for (std::size_t at = 0; (at = text.find("=?", at)) != text.npos; at += 2) {
    const std::size_t charsetEnd = text.find('?', at + 2);
    if (charsetEnd == text.npos) break;
    const std::string_view encoding = text.substr(charsetEnd, kEncoding);
    if (encoding != "?B?" && encoding != "?b?") continue;
    const std::size_t start = charsetEnd + kEncoding;
    const std::size_t end = text.find('?', start);
    if (end == text.npos) break;
    if (!text.substr(end).starts_with("?=")) continue;
    made += text.substr(done, charsetEnd - done);
    made += "?Q?" + QEncoding::encode(bytesOfBase64(text.substr(start, end - start)));
    done = end;
    at = end;
  }
  return made += text.substr(done);
}

std::string vexa_encode_rfc2047(const std::string& text, const std::string& charset) {
  if (text.empty()) return {};
  const std::string printable = printableUtf8(text);
  if (isCharsetToken(charset)) {
    if (const auto words = shorter(printable, charset)) return *words;
  }
  return shorter(printable, std::string(kUtf8)).value();
}

std::string vexa_decode_rfc2047(const std::string& text) {
  ensureGMime();
  const std::unique_ptr<char, void (*)(void*)> decoded(
      g_mime_utils_header_decode_text(nullptr, wordsInQ(text).c_str()), g_free);
  return printableUtf8(decoded.get());
}

}  // namespace Kestrav

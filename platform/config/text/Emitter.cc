#include "platform/config/text/Emitter.h"

#include <yaml-cpp/binary.h>

#include <cstdio>
#include <ostream>

#include "platform/parser/Utf8.h"

namespace Kestrav::Config::Text {
namespace {

bool isUtf8(std::string_view text) {
  for (std::size_t pos = 0; pos < text.size();) {
    if (nextCodePoint(text, pos) == kIllFormed) return false;
  }
  return true;
}

bool isPlain(std::string_view text) {
  if (text.empty() || text == "null" || text == "Null" || text == "NULL") return false;
  const auto wordCharacter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '/';
  };
  if (!wordCharacter(text.front()) || text.back() == ' ') return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (wordCharacter(text[i])) continue;
    if (std::string_view(" .@+-:").find(text[i]) == std::string_view::npos) return false;
    // A colon before a blank would end a key.
    if (text[i] == ':' && (i + 1 == text.size() || text[i + 1] == ' ')) return false;
  }
  return true;
}

bool mustBeEscaped(char32_t c) {
  return isControl(c) || c == 0xFEFF || c == 0xFFFE || c == 0xFFFF;
}

// True for several lines that a literal block preserves. Empty lines at the end of a block look
// like the blank line before the next table.
bool isBlock(std::string_view text) {
  if (text.find('\n') == std::string_view::npos || text.front() == ' ' || text.front() == '\n' ||
      text.ends_with("\n\n")) {
    return false;
  }
  bool onlyBlanks = true;  // so far in this line
  for (std::size_t pos = 0; pos < text.size();) {
    const char32_t c = nextCodePoint(text, pos);
    if (c == '\n') {
      onlyBlanks = true;
    } else if (mustBeEscaped(c) ||
               (c == ' ' && onlyBlanks && pos < text.size() && text[pos] == '\n')) {
      return false;
    } else if (c != ' ') {
      onlyBlanks = false;
    }
  }
  return true;
}

}  // namespace

std::string Emitter::quoted(std::string_view text) {
  if (isPlain(text)) return std::string(text);
  if (!isUtf8(text)) {
    return "!!binary \"" +
           YAML::EncodeBase64(reinterpret_cast<const unsigned char*>(text.data()), text.size()) +
           "\"";
  }
  std::string made = "\"";
  for (std::size_t pos = 0; pos < text.size();) {
    const std::size_t start = pos;
    const char32_t c = nextCodePoint(text, pos);
    if (c == '"' || c == '\\') {
      (made += '\\') += static_cast<char>(c);
    } else if (c == '\n') {
      made += "\\n";
    } else if (c == '\t') {
      made += "\\t";
    } else if (mustBeEscaped(c)) {
      char escape[16];
      std::snprintf(escape, sizeof escape, c < 0x100 ? "\\x%02X" : "\\u%04X",
                    static_cast<unsigned>(c));
      made += escape;
    } else {
      made += text.substr(start, pos - start);
    }
  }
  return made + '"';
}

void Emitter::line(std::string_view content) {
  const int blanks = dash_ ? indent_ - 2 : indent_;
  for (int i = 0; i < blanks; ++i) out_ << ' ';
  if (dash_) out_ << "- ";
  dash_ = false;
  out_ << content << '\n';
}

void Emitter::pair(std::string_view key, std::string_view value) {
  line(std::string(key) + ": " + std::string(value));
}

void Emitter::text(std::string_view key, std::string_view value) {
  if (!isBlock(value)) {
    pair(key, quoted(value));
    return;
  }
  const bool ends = value.ends_with('\n');
  pair(key, ends ? "|" : "|-");  // "-": no line feed at the end
  if (ends) value.remove_suffix(1);
  indent_ += 2;
  for (std::size_t from = 0; from <= value.size();) {
    std::size_t end = value.find('\n', from);
    if (end == std::string_view::npos) end = value.size();
    const std::string_view part = value.substr(from, end - from);
    if (part.empty()) {
      out_ << '\n';
    } else {
      line(part);
    }
    from = end + 1;
  }
  indent_ -= 2;
}

void Emitter::item(std::string_view value) {
  indent_ += 2;
  dash_ = true;
  line(quoted(value));
  indent_ -= 2;
}

void Emitter::open(std::string_view key) {
  line(std::string(key) + ":");
  indent_ += 2;
}

void Emitter::openItem() {
  indent_ += 2;
  dash_ = true;
}

void Emitter::closeItem() {
  if (dash_) line("{}");
  indent_ -= 2;
}

void Emitter::comment(std::string_view text) {
  for (int i = 0; i < indent_; ++i) out_ << ' ';
  out_ << "# " << text << '\n';
}

void Emitter::blank() {
  out_ << '\n';
}

}  // namespace Kestrav::Config::Text

#include "tools/Messages.h"

#include <cstdio>

#include "platform/common/Exception.h"
#include "platform/config/text/Nearest.h"
#include "platform/parser/Utf8.h"

namespace Kestrav::Tool {

std::string escaped(std::string_view text) {
  std::string made;
  const auto escape = [&](const char* format, unsigned value) {
    char digits[12];
    std::snprintf(digits, sizeof digits, format, value);
    made += digits;
  };
  for (std::size_t pos = 0; pos < text.size();) {
    const std::size_t start = pos;
    const char32_t c = nextCodePoint(text, pos);
    if (c != kIllFormed && (!isControl(c) || c == '\n' || c == '\t')) {
      made += text.substr(start, pos - start);
    } else if (c != kIllFormed && c >= 0x80) {
      escape("\\u%04x", static_cast<unsigned>(c));
    } else {
      for (const char byte : text.substr(start, pos - start)) {
        escape("\\x%02x", static_cast<unsigned char>(byte));
      }
    }
  }
  return made;
}

std::string oneLine(std::string_view text) {
  std::string line;
  for (const char c : escaped(text)) {
    if (c == '\n') {
      line += "\\n";
    } else if (c == '\t') {
      line += "\\x09";
    } else {
      line += c;
    }
  }
  return line;
}

std::string explainFailure(const std::exception& error) {
  const auto* exception = dynamic_cast<const Exception*>(&error);
  if (exception == nullptr) return oneLine(error.what());
  std::string text;
  for (; exception != nullptr; exception = exception->cause()) {
    if (!text.empty()) text += ": ";
    text += exception->message();
    if (!exception->stringParameter().empty()) text += " \"" + exception->stringParameter() + "\"";
  }
  return oneLine(text);
}

std::string unknown(const std::string& kind, const std::string& word,
                    const std::vector<std::string>& known) {
  const std::string text = "there is no " + kind + " \"" + oneLine(word) + "\"";
  const std::string near = Config::Text::nearest(word, known);
  if (!near.empty()) return text + "; did you mean \"" + oneLine(near) + "\"?";
  if (known.empty()) return text + "; there are none";
  constexpr std::size_t kLongestList = 60;
  if (known.size() > kLongestList) return text;
  return text + "; expected " + oneLine(Config::Text::alternatives(known));
}

}  // namespace Kestrav::Tool

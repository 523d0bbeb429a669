#include "tools/Messages.h"

#include <cstdio>

#include "platform/common/Exception.h"
#include "platform/config/text/Nearest.h"

namespace Kestrav::Tool {

std::string oneLine(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const auto octet = static_cast<unsigned char>(c);
    if (c == '\n') {
      line += "\\n";
    } else if (octet < 0x20 || octet == 0x7F) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02x", octet);
      line += escape;
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
  if (!near.empty()) return text + "; did you mean \"" + near + "\"?";
  if (known.empty()) return text + "; there are none";
  constexpr std::size_t kLongestList = 60;
  if (known.size() > kLongestList) return text;
  return text + "; expected " + Config::Text::alternatives(known);
}

}  // namespace Kestrav::Tool

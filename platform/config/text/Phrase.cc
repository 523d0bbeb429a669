#include "platform/config/text/Phrase.h"

#include <algorithm>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/text/SecretText.h"
#include "platform/parser/Utf8.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::size_t kShown = 60;  // bytes

}  // namespace

Phrase shown(std::string_view text, std::size_t most) {
  const std::size_t end = std::min({secretKeyEnd(text), findPrivateKey(text), most, text.size()});
  std::string line = printableUtf8(text.substr(0, end));
  bool cut = end < text.size();
  if (line.size() > kShown) {
    std::size_t length = kShown;
    while (length > 0 && (static_cast<unsigned char>(line[length]) & 0xc0) == 0x80) --length;
    line.resize(length);
    cut = true;
  }
  return {"'" + line + (cut ? "...'" : "'"), "'...'"};
}

}  // namespace Kestrav::Config::Text

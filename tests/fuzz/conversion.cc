// Any bytes from any charset to any other, with any flags: the result does not depend on where the
// text is cut. Input: one byte of flags, one for the cut, the names of both charsets, each up to a
// line feed, the text.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/parser/VexaConv.h"

namespace {

using Kestrav::Buffer;
using Kestrav::BufferMediaOut;
using Kestrav::VexaConv;

constexpr std::size_t kLongestText = 4096;

void require(bool condition) {
  if (!condition) std::abort();
}

struct Result {
  bool ok;
  std::size_t failures;
  std::string bytes;

  bool operator==(const Result&) const = default;
};

Result convert(std::string_view text, std::size_t piece, const std::string& from,
               const std::string& to, unsigned flags) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  VexaConv converter(out, from, to, flags);
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view part = rest.substr(0, piece);
    converter.write(part.data(), part.size());
    rest.remove_prefix(part.size());
  }
  converter.end();
  return {converter.ok(), converter.terrCnt(), buffer.asString()};
}

std::string takeLine(std::string_view& rest) {
  const std::string line(rest.substr(0, rest.find('\n')));
  rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  std::string_view rest(reinterpret_cast<const char*>(data) + 2, size - 2);
  const std::string from = takeLine(rest);
  const std::string to = takeLine(rest);
  const std::string_view text = rest.substr(0, kLongestText);
  const Result whole = convert(text, text.size(), from, to, data[0]);
  require(convert(text, 1, from, to, data[0]) == whole);
  require(convert(text, 1U + data[1], from, to, data[0]) == whole);
  require(whole.ok || whole.bytes.empty());
  return 0;
}

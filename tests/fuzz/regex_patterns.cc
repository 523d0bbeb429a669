// Any pattern on any subject: a pattern compiles or is refused with an Exception, and all ways to
// match agree. Input: one byte of flags, the pattern up to a line feed, the subject.
#include <cstdint>
#include <cstdlib>
#include <list>
#include <string>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/common/Logger.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringPattern.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void tryPattern(const std::string& text, bool ignoreCase, bool regularExpression,
                std::string_view subject) {
  using Kestrav::StringPattern;
  try {
    const StringPattern pattern(text, ignoreCase, regularExpression);
    const StringPattern copy = pattern;
    const bool matches = pattern.matches(subject);
    require(copy.matches(subject) == matches);
    require(StringPattern(std::list<StringPattern>{pattern}).matches(subject) == matches);
    require(pattern == StringPattern(text, ignoreCase, regularExpression));
  } catch (const Kestrav::Exception& e) {
    require(e.code() == StringPattern::kDoesNotCompile);
    require(e.stringParameter() == text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto quiet = Kestrav::Logger::instance().capture([](const auto&) {});
  if (size == 0) return 0;
  const bool ignoreCase = data[0] & 1;
  const bool regularExpression = data[0] & 2;
  const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t end = rest.find('\n');
  const std::string pattern(rest.substr(0, end));
  const std::string_view subject = end == rest.npos ? std::string_view() : rest.substr(end + 1);

  tryPattern(pattern, ignoreCase, regularExpression, subject);

  Kestrav::PatternContainer container;
  container.add("*@*.example.com");
  container.add(pattern);
  require(container.matches(subject) == container.matchesLinear(subject));
  return 0;
}

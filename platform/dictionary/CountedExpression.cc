#include "platform/dictionary/CountedExpression.h"

#include "platform/common/Exception.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

// For one text, in the units of Pcre::Meter.
constexpr std::size_t kWorkLeast = 4'000'000;
constexpr std::size_t kWorkPerByte = 8;

}  // namespace

CountedExpression::CountedExpression(const std::string& expression, Options words)
    : program_(expression, {.ignoreCase = words.ignoreCase,
                            .utf8 = true,
                            .metered = true,
                            .checksStart = words.startsWord,
                            .checksEnd = words.endsWord}) {
  if (!Characters::isUtf8(expression)) {
    throw Exception("regular expression is not UTF-8", Exception::kBadText, "CountedExpression");
  }
  if (program_.compiled()) return;
  throw Exception(program_.error().message(), Exception::kBadText, "CountedExpression");
}

CountedExpression::Count CountedExpression::count(std::string_view subject,
                                                  std::uint32_t most) const {
  Pcre::Meter meter{kWorkLeast + kWorkPerByte * subject.size(), &splitsWord};
  Count count;
  for (std::size_t from = 0; count.matches < most && from < subject.size();) {
    const Pcre::Result result = program_.next(subject, from, &meter);
    if (result.status == Pcre::Status::kNotFound) break;
    if (result.status != Pcre::Status::kFound) {
      count.givenUp = true;
      count.reason = result.reason();
      break;
    }
    ++count.matches;
    // A look-behind that contains \K can end a match before its start.
    if (result.end <= from) break;
    from = result.end;
  }
  return count;
}

}  // namespace Kestrav::Dictionary

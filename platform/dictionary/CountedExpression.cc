#include "platform/dictionary/CountedExpression.h"

#include "platform/common/Exception.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

// For one text, in the units of Pcre::Meter.
constexpr std::size_t kWorkLeast = 4'000'000;
constexpr std::size_t kWorkPerByte = 8;

// The length of the verbs, such as "(*ANYCRLF)", which are valid at the start only.
std::size_t leadingVerbs(const std::string& expression) {
  std::size_t end = 0;
  while (expression.compare(end, 2, "(*") == 0) {
    const std::size_t close = expression.find(')', end);
    if (close == std::string::npos) break;
    end = close + 1;
  }
  return end;
}

// Adds the checks for words at both ends. Closes an open "\Q" and, with `closeComment`, a comment.
std::string wrapped(const std::string& expression, CountedExpression::Options options,
                    bool closeComment) {
  const std::size_t verbs = leadingVerbs(expression);
  return expression.substr(0, verbs) + (options.startsWord ? Pcre::kCheck : "") +
         "(?:" + expression.substr(verbs) + "\\E" + (closeComment ? "\n)" : ")") +
         (options.endsWord ? Pcre::kCheck : "");
}

}  // namespace

CountedExpression::CountedExpression(const std::string& expression, Options words) {
  if (!Characters::isUtf8(expression)) {
    throw Exception("regular expression is not UTF-8", Exception::kBadText, "CountedExpression");
  }
  Pcre::Options options{.ignoreCase = words.ignoreCase, .utf8 = true};
  // The text must be an expression by itself, and errors give offsets in it, so it is compiled
  // alone first.
  Pcre::CompileError error;
  if (Pcre::compiles(expression, options, error)) {
    options.metered = true;
    if (words.startsWord || words.endsWord) {
      program_.emplace(wrapped(expression, words, false), options);
      if (!program_->compiled()) program_.emplace(wrapped(expression, words, true), options);
    } else {
      program_.emplace(expression, options);
    }
    error = program_->error();
  }
  if (program_ && program_->compiled()) return;
  throw Exception(error.message(), Exception::kBadText, "CountedExpression");
}

CountedExpression::Count CountedExpression::count(std::string_view subject,
                                                  std::uint32_t most) const {
  Pcre::Meter meter{kWorkLeast + kWorkPerByte * subject.size(), &splitsWord};
  Count count;
  for (std::size_t from = 0; count.matches < most && from < subject.size();) {
    const Pcre::Result result = program_->next(subject, from, &meter);
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

#include "platform/regex/StringPattern.h"

#include <algorithm>
#include <optional>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/regex/RegularExpression.h"
#include "platform/regex/Wildcard.h"

namespace Kestrav {

struct StringPattern::Program {
  std::string text;
  bool ignoreCase = false;
  bool regularExpression = false;
  bool isList = false;
  // At most one of the next three is set.
  std::optional<Wildcard> wildcard;
  std::optional<RegularExpression> expression;
  std::list<StringPattern> members;
};

namespace {

void logLimit(const std::string& text, std::size_t subjectSize) {
  Logger::instance().log(LogCode::kPatternMatchLimit, "%s\x01%zu", text.c_str(), subjectSize);
}

}  // namespace

StringPattern::StringPattern() = default;

StringPattern::StringPattern(const std::string& text, bool ignoreCase, bool regularExpression) {
  const auto program = std::make_shared<Program>();
  program->text = text;
  program->ignoreCase = ignoreCase;
  program->regularExpression = regularExpression;
  if (regularExpression) {
    program->expression.emplace(text, ignoreCase);
  } else {
    program->wildcard.emplace(text, ignoreCase);
  }
  program_ = program;
}

StringPattern::StringPattern(const std::list<StringPattern>& members) {
  const auto program = std::make_shared<Program>();
  program->isList = true;
  program->members = members;
  program_ = program;
}

MatchResult StringPattern::match(std::string_view subject) const {
  if (!program_) return MatchResult::kNo;

  if (program_->isList) {
    if (subject.size() > kMaxSubject && !program_->members.empty()) {
      // Logged once, not for each member.
      logLimit("list of " + std::to_string(program_->members.size()), subject.size());
      return MatchResult::kLimit;
    }
    MatchResult result = MatchResult::kNo;
    for (const StringPattern& member : program_->members) {
      const MatchResult one = member.match(subject);
      if (one == MatchResult::kYes) return one;
      if (result == MatchResult::kNo) result = one;
    }
    return result;
  }

  if (subject.size() > kMaxSubject) {
    logLimit(program_->text, subject.size());
    return MatchResult::kLimit;
  }
  if (program_->wildcard) {
    return program_->wildcard->matches(subject) ? MatchResult::kYes : MatchResult::kNo;
  }
  std::string error;
  switch (program_->expression->search(subject, error)) {
    case Pcre::Status::kFound:
      return MatchResult::kYes;
    case Pcre::Status::kNotFound:
      return MatchResult::kNo;
    case Pcre::Status::kLimit:
      logLimit(program_->text, subject.size());
      return MatchResult::kLimit;
    case Pcre::Status::kNotUtf8:
    case Pcre::Status::kError:
      break;
  }
  Logger::instance().log(LogCode::kPatternMatchFailed, "%s\x01%s", program_->text.c_str(),
                         error.c_str());
  return MatchResult::kError;
}

const std::string& StringPattern::text() const {
  static NoDestructor<std::string> none;
  return program_ ? program_->text : *none;
}

bool StringPattern::ignoreCase() const {
  return program_ && program_->ignoreCase;
}

bool StringPattern::regularExpression() const {
  return program_ && program_->regularExpression;
}

bool StringPattern::isList() const {
  return program_ && program_->isList;
}

const std::list<StringPattern>& StringPattern::members() const {
  static NoDestructor<std::list<StringPattern>> none;
  return program_ ? program_->members : *none;
}

bool operator==(const StringPattern& a, const StringPattern& b) {
  return (a <=> b) == 0;
}

std::strong_ordering operator<=>(const StringPattern& a, const StringPattern& b) {
  if (a.program_ == b.program_) return std::strong_ordering::equal;
  if (const auto order = a.text().compare(b.text()) <=> 0; order != 0) return order;
  if (const auto order = a.ignoreCase() <=> b.ignoreCase(); order != 0) return order;
  if (const auto order = a.regularExpression() <=> b.regularExpression(); order != 0) return order;
  // Equal so far: the null pattern, the empty wildcard, lists.
  const auto kind = [](const StringPattern& p) { return p.isNull() ? 0 : p.isList() ? 2 : 1; };
  if (const auto order = kind(a) <=> kind(b); order != 0) return order;
  return std::lexicographical_compare_three_way(a.members().begin(), a.members().end(),
                                                b.members().begin(), b.members().end());
}

}  // namespace Kestrav

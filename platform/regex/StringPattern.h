// A pattern for names and addresses: a shell wildcard, a regular expression, or a list of patterns,
// which matches when a member does.
//
// Immutable; copies share one compiled program. Any number of threads may match. Patterns have a
// total order, so they can be keys.
//
// Wildcards match the whole subject: "*", "?", classes "[a-cx]", "[!a-c]", "[^a-c]", and "\" before
// a literal character. A character is a UTF-8 sequence, or one byte outside of any.
//
// Regular expressions have PCRE2's syntax and match anywhere in the subject, which is read as UTF-8
// when it is valid UTF-8 and as single bytes otherwise. A "." does not match a line feed.
//
// The work of a match is bounded: a subject of more than kMaxSubject bytes is refused, and a search
// that needs too many steps is given up. Both are logged and count as no match.
#pragma once

#include <compare>
#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "platform/common/Export.h"

namespace Kestrav {

enum class MatchResult {
  kNo,
  kYes,
  kLimit,  // given up: the subject is too long, or the search took too many steps
  kError,  // the search failed, e.g. for "\x{263A}" in a subject that is not UTF-8
};

class KESTRAV_API StringPattern {
 public:
  // Code of the Exception for a malformed pattern.
  static constexpr int kDoesNotCompile = 101;

  static constexpr std::size_t kMaxSubject = 65'536;

  // The null pattern; matches nothing.
  StringPattern();

  // Throws Exception when `text` does not compile: the message contains the reason and the byte
  // offset, the string parameter is `text`. An empty wildcard matches the empty subject only, an
  // empty regular expression every subject.
  StringPattern(const std::string& text, bool ignoreCase, bool regularExpression);

  // An empty list matches nothing, but is not the null pattern.
  explicit StringPattern(const std::list<StringPattern>& members);

  bool isNull() const { return !program_; }

  bool matches(std::string_view subject) const { return match(subject) == MatchResult::kYes; }

  // Of a list: kYes if a member matches, otherwise the first result other than kNo.
  MatchResult match(std::string_view subject) const;

  // The constructor's arguments; empty and false for the null pattern and for a list.
  const std::string& text() const;
  bool ignoreCase() const;
  bool regularExpression() const;

  bool isList() const;
  const std::list<StringPattern>& members() const;  // empty unless isList()

  // By text (as bytes), then case, then kind of pattern, then members.
  KESTRAV_API friend bool operator==(const StringPattern& a, const StringPattern& b);
  KESTRAV_API friend std::strong_ordering operator<=>(const StringPattern& a,
                                                      const StringPattern& b);

 private:
  struct Program;
  std::shared_ptr<const Program> program_;  // null: the null pattern
};

}  // namespace Kestrav

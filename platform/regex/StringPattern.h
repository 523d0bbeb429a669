// A pattern that names or addresses are held against: a shell wildcard, a regular expression, or a
// list of patterns of which any may match.
//
// Copies share one immutable compiled program, so copying costs no more than a counter; any number
// of threads may match with the same pattern or with copies. Patterns have a total order and serve
// as keys.
//
// Wildcards match the whole subject: "*", "?", classes "[a-cx]", "[!a-c]", "[^a-c]", and "\" before
// a character that stands for itself. Everything else, the dot included, stands for itself. A
// character is one UTF-8 sequence, or one byte that belongs to none.
//
// Regular expressions have PCRE2's syntax and are searched for in the subject; it is read as UTF-8
// when it is valid UTF-8 and byte by byte otherwise. A "." does not match a line feed.
//
// Neither can be made to run on: a subject of more than kMaxSubject bytes is not looked at at all,
// and a search that needs too many steps is given up. Both are logged and count as no match.
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
  kError,  // the search failed, e.g. "\x{263A}" met a subject that is not UTF-8
};

class KESTRAV_API StringPattern {
 public:
  // Code of the Exception that a malformed pattern raises.
  static constexpr int kDoesNotCompile = 101;

  static constexpr std::size_t kMaxSubject = 65'536;

  // The null pattern; matches nothing.
  StringPattern();

  // Throws Exception when `text` does not compile: the message says what is wrong and at which
  // byte, the string parameter is `text`. An empty wildcard matches the empty subject only; an
  // empty regular expression is found everywhere.
  StringPattern(const std::string& text, bool ignoreCase, bool regularExpression);

  // Matches when any member does; so an empty list matches nothing. It is not the null pattern.
  explicit StringPattern(const std::list<StringPattern>& members);

  bool isNull() const { return !program_; }

  bool matches(std::string_view subject) const { return match(subject) == MatchResult::kYes; }

  // Tells a search that was given up from one that found nothing. Of a list: kYes if any member
  // says so, else the first answer other than kNo.
  MatchResult match(std::string_view subject) const;

  // As given to the constructor; empty and false for the null pattern and for a list.
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

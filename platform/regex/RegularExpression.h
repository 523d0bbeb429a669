// A compiled regular expression, searched for in a subject.
//
// The subject is read as UTF-8 when it is valid UTF-8, and as single bytes otherwise. The work
// spent on one search is bounded; see StringPattern for what a caller observes. Any number of
// threads may search: what a search needs besides the program belongs to the thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Kestrav {

class RegularExpression {
 public:
  enum class Outcome { kNotFound, kFound, kLimit, kError };

  // Throws Exception (StringPattern::kDoesNotCompile) naming what is wrong and at which byte.
  RegularExpression(const std::string& text, bool ignoreCase);
  ~RegularExpression();
  RegularExpression(const RegularExpression&) = delete;
  RegularExpression& operator=(const RegularExpression&) = delete;

  // `error`, when given, receives the reason of kError.
  Outcome search(std::string_view subject, std::string* error = nullptr) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace Kestrav

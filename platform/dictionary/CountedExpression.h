// A regular expression whose matches in a text are counted, with bounded work.
//
// It has PCRE2's syntax. Matches do not overlap, are never empty and are counted from left to
// right. Any number of threads may count; what a search needs besides the program belongs to the
// thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Kestrav::Dictionary {

class CountedExpression {
 public:
  struct Options {
    bool ignoreCase = false;
    bool startsWord = false;  // a match may not start within a word
    bool endsWord = false;    // a match may not end within a word
  };

  struct Count {
    std::uint32_t matches = 0;
    bool givenUp = false;  // there may be more
    std::string reason;    // of giving up
  };

  // Throws Exception, code kBadText, naming what is wrong and at which byte.
  CountedExpression(const std::string& expression, Options options);
  ~CountedExpression();
  CountedExpression(const CountedExpression&) = delete;
  CountedExpression& operator=(const CountedExpression&) = delete;

  // Stops at `most` matches. The work allowed grows with the subject's size and with nothing else.
  // REQUIRES: the subject is valid UTF-8.
  Count count(std::string_view subject, std::uint32_t most) const;

 private:
  struct Program;
  std::unique_ptr<const Program> program_;
};

}  // namespace Kestrav::Dictionary

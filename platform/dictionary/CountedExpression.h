// A regular expression whose matches in a text are counted, with bounded work.
//
// It has PCRE2's syntax. Matches do not overlap, are never empty and are counted from left to
// right. Any number of threads may count.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/regex/Pcre.h"

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

  // Throws Exception, code kBadText, with the reason and the byte offset.
  CountedExpression(const std::string& expression, Options words);

  // Stops at `most` matches. The work allowed depends on the subject's size only.
  // REQUIRES: the subject is valid UTF-8.
  Count count(std::string_view subject, std::uint32_t most) const;

 private:
  Pcre::Program program_;
};

}  // namespace Kestrav::Dictionary

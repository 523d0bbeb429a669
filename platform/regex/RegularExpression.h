// A compiled regular expression, searched for in a subject.
//
// The subject is read as UTF-8 when it is valid UTF-8, and as single bytes otherwise. The work of a
// search is bounded. Any number of threads may search.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/regex/Pcre.h"

namespace Kestrav {

class RegularExpression {
 public:
  // Throws Exception (StringPattern::kDoesNotCompile) with the reason and the byte offset.
  RegularExpression(const std::string& text, bool ignoreCase);

  // kFound, kNotFound, kLimit or kError; `error` receives the reason of kError.
  Pcre::Status search(std::string_view subject, std::string& error) const;

 private:
  const Pcre::BoundedProgram& onBytes() const;

  std::string text_;
  bool ignoreCase_;
  std::optional<Pcre::BoundedProgram> utf8_;  // none when the expression itself is not UTF-8

  // Built for the first subject that is not UTF-8; most expressions never get one.
  mutable std::once_flag bytesOnce_;
  mutable std::optional<Pcre::BoundedProgram> bytes_;
};

}  // namespace Kestrav

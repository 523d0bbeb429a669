// A finding in a configuration text: its place, what is wrong, what would be right.
#pragma once

#include <span>
#include <string>

#include "platform/common/Export.h"

namespace Kestrav::Config::Text {

enum class Severity {
  kMistake,  // the text is refused
  kWarning,  // the text is accepted, but it hardly does what was meant
};

struct KESTRAV_API Problem {
  std::string file;
  int line = 0;  // from 1; 0: the whole file
  int column = 0;
  std::string what;
  std::string wouldBeRight;
  Severity severity = Severity::kMistake;

  // "file:line:column: what; what would be right", with "warning: " in front of a warning's `what`.
  std::string toString() const;
  bool operator==(const Problem&) const = default;
};

KESTRAV_API std::size_t countOf(Severity severity, std::span<const Problem> problems);

}  // namespace Kestrav::Config::Text

// A mistake in a configuration text: its place, what is wrong, what would be right.
#pragma once

#include <string>

#include "platform/common/Export.h"

namespace Kestrav::Config::Text {

struct KESTRAV_API Problem {
  std::string file;
  int line = 0;  // from 1; 0: the whole file
  int column = 0;
  std::string what;
  std::string wouldBeRight;

  // "file:line:column: what; what would be right"
  std::string toString() const;
  bool operator==(const Problem&) const = default;
};

}  // namespace Kestrav::Config::Text

// Every operation that throws on a null handle, with the exception that it throws.
//
// NullHandleTest checks each row against the library and writes docs/errors.md from the rows. A new
// accessor gets a row here.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Kestrav::Testing {

struct NullUse {
  std::string owner;     // the class, in the words of the documentation
  std::string accessor;  // likewise
  std::string message;
  std::string source;  // empty: the exception names no place
  int line = 0;
  std::function<void()> use;
  int code = 1;
};

// Of each accessor, called on a handle of its own class.
std::vector<NullUse> nullUses();

// Of accessors that a derived handle inherits, called on the derived handle.
std::vector<NullUse> inheritedNullUses();

}  // namespace Kestrav::Testing

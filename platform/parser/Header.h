// One header line to put into a message: a name and a value that cannot break out of their line.
// A value; any number of threads may read one.
#pragma once

#include <string>
#include <string_view>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API Header {
 public:
  // No header: empty name, empty value.
  Header() = default;

  // The name keeps its printable ASCII characters other than the colon (RFC 5322, ftext); the rest
  // is dropped. In the value each run of line breaks and other controls becomes one blank; tabs and
  // the bytes from 0x80 on stay as they are. The value may be empty.
  Header(std::string_view name, std::string_view value);

  const std::string& name() const { return name_; }
  const std::string& value() const { return value_; }

  // "Name: value" without a line end; empty when there is no name.
  std::string asString() const;

  // Names are compared without regard to case, values byte by byte.
  bool operator==(const Header& other) const;

 private:
  std::string name_;
  std::string value_;
};

}  // namespace Kestrav

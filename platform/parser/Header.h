// A header line to add to a message: a name and a value without line breaks. A value; any number of
// threads may read one.
#pragma once

#include <string>
#include <string_view>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API Header {
 public:
  // Empty name and value.
  Header() = default;

  // Removes everything except ftext of RFC 5322 (printable ASCII without the colon) from the name.
  // In the value each run of line breaks and other controls becomes one blank; tabs and bytes from
  // 0x80 on are kept.
  Header(std::string_view name, std::string_view value);

  const std::string& name() const { return name_; }
  const std::string& value() const { return value_; }

  // "Name: value" without a line end; empty without a name.
  std::string asString() const;

  // Ignores the case of names.
  bool operator==(const Header& other) const;

 private:
  std::string name_;
  std::string value_;
};

}  // namespace Kestrav

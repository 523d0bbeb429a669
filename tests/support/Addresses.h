// Mail addresses for tests.
#pragma once

#include <string>

#include "platform/parser/EmailAddress.h"

namespace Kestrav::Testing {

inline EmailAddress address(const std::string& text) {
  return EmailAddress::rfc5321Parse(text, false);
}

}  // namespace Kestrav::Testing

// How the parsers make addresses out of parts that they have checked.
#pragma once

#include <string>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav {

class MailboxBuilder {
 public:
  // REQUIRES: parts that rfc5321Parse accepts; `local` without quotes.
  static EmailAddress build(std::string local, std::string domain);

  // The same mailbox under another name. REQUIRES: a non-null address and a printable name.
  static EmailAddress named(const EmailAddress& address, std::string displayName);
};

// The error of both parsers: why `text` is not what it should be.
Exception invalidAddress(const std::string& reason, std::string_view text);

// The octets that an unquoted local part may hold besides dots (RFC 5321 atext).
bool isAtomOctet(unsigned char c);

}  // namespace Kestrav

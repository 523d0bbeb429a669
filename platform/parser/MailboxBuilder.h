// Builds addresses from validated parts; for the parsers.
#pragma once

#include <string>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/common/Export.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav {

class MailboxBuilder {
 public:
  // REQUIRES: parts that rfc5321Parse accepts; `local` without quotes.
  static EmailAddress build(std::string local, std::string domain);

  // The same mailbox with a display name. REQUIRES: a non-null address and a printable name.
  static EmailAddress named(const EmailAddress& address, std::string displayName);
};

// The error of both parsers about `text`.
Exception invalidAddress(const std::string& reason, std::string_view text);

// `text` as a quoted string (RFC 5321, RFC 5322), with its quotes and backslashes escaped.
KESTRAV_API std::string quotedText(std::string_view text);

// The octets of an unquoted local part other than dots (RFC 5321 atext, RFC 6531).
bool isAtomOctet(char c);

}  // namespace Kestrav

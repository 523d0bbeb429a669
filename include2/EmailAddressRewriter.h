// Rewrites an email address from a pattern over its local part and its domain, such as
// "%%LOCAL%%@archive.%%DOMAIN%%".
//
// A value: copies share one compiled pattern. Any number of threads may apply the same rewriter;
// its lock serialises them.
#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <string>

#include "platform/common/Export.h"
#include "platform/parser/EmailAddress.h"

struct cfg_as_email_address_modification_;

namespace Kestrav {

class _EmailAddressRewriter;

class KESTRAV_API EmailAddressRewriter {
 public:
  // The null rewriter; applying it to an address is an error.
  EmailAddressRewriter() = default;

  // "%%LOCAL%%" and "%%DOMAIN%%" are replaced by the parts of the address. Throws Exception, code
  // Exception::kBadText, with the pattern as parameter, for a pattern that does not compile (an
  // unclosed "%%").
  explicit EmailAddressRewriter(const std::string& pattern);

  // "%%LOCAL%%" is the local part without quotes. When the address's local part needs quotes, what
  // comes before the last "@" of the result is quoted as a whole.
  //
  // Null for the null address. Throws Exception, code 1, when the rewriter is null, and what
  // EmailAddress::rfc5321Parse throws when the result is no address.
  EmailAddress operator()(const EmailAddress& address) const;

  bool isNull() const { return rewriter_ == nullptr; }

  // The rewriter that an action's two modification records describe, one for each part: kind 1 puts
  // the text before the part, 2 after it, 3 replaces the part; any other kind leaves it unchanged.
  // When the texts do not compile, this is logged, and the rewriter answers the null address always.
  static EmailAddressRewriter adapter(const cfg_as_email_address_modification_& local,
                                      const cfg_as_email_address_modification_& domain);

 private:
  boost::shared_ptr<_EmailAddressRewriter> rewriter_;
};

}  // namespace Kestrav

// The address of a mailbox. A value that is cheap to copy: copies share their text, which never
// changes. Any number of threads may read one.
//
// Text is kept as it was written, letter case included: who looks a domain up in a table of
// lower-case names has to lower it first (stringToLower). Comparison ignores the case of ASCII
// letters in both parts: mailboxes that differ in nothing else are one mailbox for the people
// behind a gateway. The Unicode and the "xn--" form of a domain are different texts, and not equal.
#pragma once

#include <compare>
#include <memory>
#include <set>
#include <string>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API EmailAddress {
 public:
  // Code of the Exceptions that the parsers throw; their string parameter is the text in question,
  // made printable and cut to a reasonable length.
  static constexpr int kInvalidAddress = 5;

  // In octets: what a path of RFC 5321 may hold between its angle brackets, and the parts of it.
  static constexpr std::size_t kLongestAddress = 254;
  static constexpr std::size_t kLongestLocal = 64;
  static constexpr std::size_t kLongestDomain = 255;
  static constexpr std::size_t kLongestLabel = 63;

  // The null address: no mailbox; also the empty reverse path "<>".
  EmailAddress() = default;

  bool isNull() const { return parts_ == nullptr; }

  // Without quotes: "john smith" for the address "john smith"@example.com, so it may hold blanks,
  // dots anywhere and the sign @, but never a control character. Empty for the null address.
  const std::string& local() const;

  // A domain name, or an address literal with its brackets. Empty for the null address and for the
  // postmaster without domain.
  const std::string& domain() const;

  // local@domain, the local part in quotes only where it needs them; just the local part when there
  // is no domain. Parsing it gives an equal address. Empty for the null address.
  const std::string& address() const;

  // The name that stood with the address in a header, decoded; mostly empty.
  const std::string& displayName() const;

  // For people: the display name and the address in angle brackets, or the bare address when there
  // is no name.
  std::string asString() const;

  // The mailbox that `text` names in the form of SMTP (RFC 5321, with the UTF-8 of RFC 6531):
  // a local part, quoted or not, and a domain or an address literal; blanks and tabs around it and
  // one pair of angle brackets are accepted, source routes, comments and display names are not.
  // `acceptSpecialPaths` also accepts what is a path but no mailbox: an empty text or "<>" (the
  // null address), and "postmaster" without a domain. Throws Exception with the code
  // kInvalidAddress.
  static EmailAddress rfc5321Parse(const std::string& text, bool acceptSpecialPaths);

  // The mailboxes of an address list in the form of a header (RFC 5322): display names, comments
  // and encoded words are accepted, and each address has to be one that rfc5321Parse accepts
  // without its special paths. With `acceptGroups` the members of groups belong to the result,
  // otherwise a group counts as an invalid entry. An invalid entry is an error, or passed over with
  // `skipInvalid`. Throws Exception with the code kInvalidAddress, also when no address is left,
  // and whenever the text holds control characters (line breaks included, tabs excepted) or is not
  // UTF-8.
  static std::set<EmailAddress> rfc5322ParseSet(const std::string& text, bool acceptGroups,
                                                bool skipInvalid);

  // Ordered by domain, then by local part; the null address comes first. The display name does not
  // count.
  std::weak_ordering operator<=>(const EmailAddress& other) const;
  bool operator==(const EmailAddress& other) const { return (*this <=> other) == 0; }

 private:
  friend class MailboxBuilder;
  struct Parts {
    std::string local;
    std::string domain;
    std::string address;
    std::string displayName;
  };

  explicit EmailAddress(std::shared_ptr<const Parts> parts);

  std::shared_ptr<const Parts> parts_;
};

}  // namespace Kestrav

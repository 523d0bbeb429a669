// The address of a mailbox. An immutable value, cheap to copy. Any number of threads may read one.
//
// Letter case is preserved: convert a domain with stringToLower before you look it up among
// lower-case names. Comparison ignores the case of ASCII letters in both parts. The Unicode and the
// "xn--" form of a domain are not equal.
#pragma once

#include <compare>
#include <memory>
#include <set>
#include <string>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API EmailAddress {
 public:
  // Code of the parsers' Exceptions. Their string parameter is the text, printable and shortened.
  static constexpr int kInvalidAddress = 5;

  // In octets: a path of RFC 5321 between its angle brackets, and its parts.
  static constexpr std::size_t kLongestAddress = 254;
  static constexpr std::size_t kLongestLocal = 64;
  static constexpr std::size_t kLongestDomain = 255;
  static constexpr std::size_t kLongestLabel = 63;

  // The null address, also for the empty reverse path "<>".
  EmailAddress() = default;

  bool isNull() const { return parts_ == nullptr; }

  // Without quotes: "john smith" for the address "john smith"@example.com. May contain blanks, dots
  // anywhere and "@", but no control characters. Empty for the null address.
  const std::string& local() const;

  // A domain name or an address literal with its brackets. Empty for the null address and for
  // "postmaster" without a domain.
  const std::string& domain() const;

  // local@domain, with quotes around the local part if it needs them; the local part alone without
  // a domain. Parsing it gives an equal address. Empty for the null address.
  const std::string& address() const;

  // The decoded name from a header, or empty.
  const std::string& displayName() const;

  // For display: the name and the address in angle brackets, or the address without a name.
  std::string asString() const;

  // Parses a mailbox of SMTP (RFC 5321 with the UTF-8 of RFC 6531): a local part, quoted or not,
  // and a domain or an address literal. Blanks and tabs around it and one pair of angle brackets
  // are accepted; source routes, comments and display names are not. `acceptSpecialPaths` also
  // accepts an empty text or "<>" (the null address), and "postmaster" without a domain. Throws
  // Exception, code kInvalidAddress.
  static EmailAddress rfc5321Parse(const std::string& text, bool acceptSpecialPaths);

  // Parses the address list of a header (RFC 5322): display names, comments and encoded words are
  // accepted; each address must be one that rfc5321Parse accepts without special paths. With
  // `acceptGroups` the result contains the members of groups, otherwise a group is an invalid
  // entry. Throws Exception, code kInvalidAddress, for an invalid entry unless `skipInvalid`, for
  // an empty result, for control characters (including line breaks, except tabs) and for a text
  // that is not UTF-8.
  static std::set<EmailAddress> rfc5322ParseSet(const std::string& text, bool acceptGroups,
                                                bool skipInvalid);

  // By domain, then by local part; the null address first. Ignores the display name.
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

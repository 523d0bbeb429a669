// A set of IP addresses, written as an address, a prefix, a netmask, a range or a list of these.
//
// An immutable value: copies are cheap (a list is shared) and any number of threads may read one.
//
// Two masks are equal when they hold the same addresses, however they were written: "10.1.2.3/8",
// "10.0.0.0/255.0.0.0", "10." and "10.0.0.0-10.255.255.255" are one mask. IPv4 addresses belong to
// IPv4 masks only and IPv6 addresses to IPv6 masks only; IPv4-mapped IPv6 texts are IPv4 (see
// IPAddress).
#pragma once

#include <compare>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/IPAddress.h"

namespace Kestrav {

class KESTRAV_API IPAddressMask {
 public:
  // Every address of one family from `low` to `high`, both included, in the form of
  // IPAddress::bytes().
  struct KESTRAV_API Range {
    IPAddress::Family family = IPAddress::Family::kNone;
    IPAddress::Bytes low{};
    IPAddress::Bytes high{};

    bool isPrefix() const { return prefixLength() >= 0; }
    // 0 to 32 for IPv4, 0 to 128 for IPv6; -1 when the range is no prefix.
    int prefixLength() const;
    bool contains(const IPAddress& address) const {
      return family == address.family() && low <= address.bytes() && address.bytes() <= high;
    }

    bool operator==(const Range& other) const = default;
    std::strong_ordering operator<=>(const Range& other) const = default;
  };

  // The null mask: matches nothing.
  IPAddressMask() = default;

  // One of, without white space:
  //   an address   192.0.2.1         2001:db8::1
  //   a prefix     192.0.2.0/24      2001:db8::/32      bits behind the prefix are ignored
  //   a netmask    192.0.2.0/255.255.255.0              ones before zeros
  //   a range      192.0.2.1-192.0.2.9                  first <= last, one family
  //   a partial    192.0.2 or 192.0.2.                  one to three octets: /8, /16 or /24
  // Throws Exception, code kBadText, for anything else, the empty text included.
  explicit IPAddressMask(std::string_view text);

  // Kind null gives the null mask. Throws Exception, code kBadText, for an unknown kind or family,
  // a prefix that is too long or a range whose first address is above its last.
  explicit IPAddressMask(const ip_mask_t& plain);

  // That one address; the null mask for the null address.
  explicit IPAddressMask(const IPAddress& address);

  // The addresses of all members; an empty list gives the null mask.
  explicit IPAddressMask(const std::list<IPAddressMask>& masks);

  // Every address of both families. Has no text that the constructor takes, so that a word in a
  // list of hosts never turns into one.
  static IPAddressMask any();

  // True exactly for the texts that the constructor takes, a single address included.
  static bool isValidIPAddressMask(std::string_view text);

  bool isNull() const { return ranges_ == nullptr && first_.family == IPAddress::Family::kNone; }
  bool isAny() const;

  // False for the null address.
  bool matches(const IPAddress& address) const;

  // The addresses as ranges: ascending, IPv4 first, none overlapping or touching another.
  std::vector<Range> ranges() const;

  // The shortest text of each range ("192.0.2.1", "192.0.2.0/24", "192.0.2.1-192.0.2.9"), joined by
  // ", "; "any" for all addresses, empty for the null mask.
  std::string asString() const;

  // False, leaving `plain` as it was, when the plain form has no room for it: more than one range,
  // or an IPv6 range that is no prefix.
  [[nodiscard]] bool toIpMask(ip_mask_t& plain) const;

  // Ordered by ranges; the null mask comes first.
  bool operator==(const IPAddressMask& other) const { return (*this <=> other) == 0; }
  std::strong_ordering operator<=>(const IPAddressMask& other) const;

 private:
  explicit IPAddressMask(std::vector<Range> ranges);
  static bool parse(std::string_view text, Range& range);
  const Range* begin() const;
  const Range* end() const;

  Range first_;                                       // the only range, when there is one
  std::shared_ptr<const std::vector<Range>> ranges_;  // all of them, when there are more
};

}  // namespace Kestrav

// A set of IP addresses, written as an address, a prefix, a netmask, a range or a list of these.
//
// An immutable value, cheap to copy; any number of threads may read one.
//
// Two masks are equal when they contain the same addresses: "10.1.2.3/8", "10.0.0.0/255.0.0.0",
// "10." and "10.0.0.0-10.255.255.255" are one mask. IPv4 masks contain no IPv6 addresses and vice
// versa; IPv4-mapped IPv6 texts are IPv4 (see IPAddress).
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
  // The addresses of one family from `low` to `high`, both included, as IPAddress::bytes().
  struct KESTRAV_API Range {
    IPAddress::Family family = IPAddress::Family::kNone;
    IPAddress::Bytes low{};
    IPAddress::Bytes high{};

    // 0 to 32 for IPv4, 0 to 128 for IPv6; -1 when the range is not a prefix.
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
  //   a prefix     192.0.2.0/24      2001:db8::/32      bits after the prefix are ignored
  //   a netmask    192.0.2.0/255.255.255.0              ones before zeros
  //   a range      192.0.2.1-192.0.2.9                  first <= last, one family
  //   a partial    192.0.2 or 192.0.2.                  one to three octets: /8, /16 or /24
  // Throws Exception, code kBadText, for anything else, the empty text included.
  explicit IPAddressMask(std::string_view text);

  // Throws Exception, code kBadText, for an unknown kind or family, a prefix that is too long or a
  // range whose first address is above its last.
  explicit IPAddressMask(const ip_mask_t& plain);

  // The null mask for the null address.
  explicit IPAddressMask(const IPAddress& address);

  // The union; an empty list gives the null mask.
  explicit IPAddressMask(const std::list<IPAddressMask>& masks);

  // Every address of both families. The constructor accepts no text for it, so no word in a list of
  // hosts can become one.
  static IPAddressMask any();

  // True for exactly the texts that the constructor accepts.
  static bool isValidIPAddressMask(std::string_view text);

  bool isNull() const { return ranges_ == nullptr && first_.family == IPAddress::Family::kNone; }
  bool isAny() const;

  // False for the null address.
  bool matches(const IPAddress& address) const;

  // Ascending, IPv4 first; they do not overlap or touch.
  std::vector<Range> ranges() const;

  // The shortest form of each range ("192.0.2.1", "192.0.2.0/24", "192.0.2.1-192.0.2.9"), joined by
  // ", "; "any" for all addresses, empty for the null mask.
  std::string asString() const;

  // False, with `plain` unchanged, when the plain form cannot express the mask: several ranges, or
  // an IPv6 range that is not a prefix.
  [[nodiscard]] bool toIpMask(ip_mask_t& plain) const;

  // Ordered by ranges; the null mask comes first.
  bool operator==(const IPAddressMask& other) const { return (*this <=> other) == 0; }
  std::strong_ordering operator<=>(const IPAddressMask& other) const;

 private:
  explicit IPAddressMask(std::vector<Range> ranges);
  static bool parse(std::string_view text, Range& range);
  const Range* begin() const;
  const Range* end() const;

  Range first_;                                       // of a single range
  std::shared_ptr<const std::vector<Range>> ranges_;  // all of several ranges, otherwise null
};

}  // namespace Kestrav

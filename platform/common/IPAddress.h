// One IPv4 or IPv6 address, or the null address. A small value; never resolves names.
//
// An IPv4 address mapped into IPv6 ("::ffff:192.0.2.1"), the form of dual-stack sockets, is the
// IPv4 address: it compares, matches and prints as 192.0.2.1.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/common/Export.h"
#include "platform/common/IpTypes.h"

namespace Kestrav {

class KESTRAV_API IPAddress {
 public:
  enum class Family : std::uint8_t {
    kNone = kIpFamilyNone,
    kV4 = kIpFamilyV4,
    kV6 = kIpFamilyV6,
  };
  using Bytes = std::array<std::uint8_t, 16>;

  // The null address.
  IPAddress() = default;

  // Dotted quad without leading zeros, or any RFC 4291 text of an IPv6 address. No white space,
  // brackets, zone or port. Throws Exception, code kBadText, for anything else, the empty text
  // included.
  explicit IPAddress(std::string_view text);

  // Throws Exception, code kBadText, for an unknown family or an IPv4 address not in mapped form.
  explicit IPAddress(const ip_addr_t& plain);

  bool isNull() const { return family_ == Family::kNone; }
  bool isV4() const { return family_ == Family::kV4; }
  bool isV6() const { return family_ == Family::kV6; }
  Family family() const { return family_; }

  // Network order; IPv4 addresses as ::ffff:a.b.c.d, the null address as zeros.
  const Bytes& bytes() const { return bytes_; }

  // True for exactly the texts that the constructor accepts.
  static bool isValidIPAddress(std::string_view text);

  // RFC 5952 text; empty for the null address.
  std::string asString() const;
  ip_addr_t asIpAddr() const;

  // Order: null, IPv4, IPv6; numerical within a family.
  bool operator==(const IPAddress& other) const = default;
  std::strong_ordering operator<=>(const IPAddress& other) const = default;

 private:
  bool parse(std::string_view text);

  Family family_ = Family::kNone;
  Bytes bytes_{};
};

}  // namespace Kestrav

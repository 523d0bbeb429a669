#include "platform/common/IPAddress.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"

namespace Kestrav {

namespace {

constexpr std::size_t kMappedPrefix = 12;  // bytes before an IPv4 address in mapped form
constexpr std::uint8_t kMapped[kMappedPrefix] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

bool isMapped(const std::uint8_t* bytes) {
  return std::memcmp(bytes, kMapped, kMappedPrefix) == 0;
}

// RFC 5952 section 4. inet_ntop differs: it writes ::102:304 as ::1.2.3.4.
std::string ipv6Text(const IPAddress::Bytes& bytes) {
  constexpr int kGroups = 8;
  unsigned groups[kGroups];
  for (int i = 0; i < kGroups; ++i) groups[i] = bytes[2 * i] * 256u + bytes[2 * i + 1];

  // The first of the longest runs of zeros; a single zero is not shortened.
  int runStart = -1, runLength = 1;
  for (int start = 0; start < kGroups;) {
    int end = start;
    while (end < kGroups && groups[end] == 0) ++end;
    if (end - start > runLength) {
      runStart = start;
      runLength = end - start;
    }
    start = std::max(end, start + 1);
  }

  std::string text;
  for (int i = 0; i < kGroups;) {
    if (i == runStart) {
      text += "::";
      i += runLength;
      continue;
    }
    if (!text.empty() && text.back() != ':') text += ':';
    char group[8];
    std::snprintf(group, sizeof group, "%x", groups[i]);
    text += group;
    ++i;
  }
  return text;
}

}  // namespace

IPAddress::IPAddress(std::string_view text) {
  if (!parse(text)) {
    throw Exception("not an IP address", Exception::kBadText).stringParameter(std::string(text));
  }
}

IPAddress::IPAddress(const ip_addr_t& plain) {
  const bool mapped = isMapped(plain.bytes);
  switch (plain.family) {
    case kIpFamilyNone:
      return;
    case kIpFamilyV4:
      if (!mapped) throw Exception("IPv4 address in a wrong form", Exception::kBadText);
      family_ = Family::kV4;
      break;
    case kIpFamilyV6:
      family_ = mapped ? Family::kV4 : Family::kV6;
      break;
    default:
      throw Exception("unknown family of an IP address", Exception::kBadText)
          .stringParameter(std::to_string(plain.family));
  }
  std::copy(std::begin(plain.bytes), std::end(plain.bytes), bytes_.begin());
}

bool IPAddress::isValidIPAddress(std::string_view text) {
  return IPAddress().parse(text);
}

std::string IPAddress::asString() const {
  switch (family_) {
    case Family::kV4: {
      char text[INET_ADDRSTRLEN];
      inet_ntop(AF_INET, bytes_.data() + kMappedPrefix, text, sizeof text);
      return text;
    }
    case Family::kV6:
      return ipv6Text(bytes_);
    case Family::kNone:
      break;
  }
  return std::string();
}

ip_addr_t IPAddress::asIpAddr() const {
  ip_addr_t plain{};
  std::copy(bytes_.begin(), bytes_.end(), plain.bytes);
  plain.family = static_cast<std::uint8_t>(family_);
  return plain;
}

// Changes nothing when it returns false.
bool IPAddress::parse(std::string_view text) {
  char terminated[INET6_ADDRSTRLEN];
  if (text.find('\0') != std::string_view::npos || !boundedCopy(terminated, text)) return false;

  Bytes parsed;
  if (inet_pton(AF_INET, terminated, parsed.data() + kMappedPrefix) == 1) {
    std::copy(std::begin(kMapped), std::end(kMapped), parsed.begin());
    family_ = Family::kV4;
  } else if (inet_pton(AF_INET6, terminated, parsed.data()) == 1) {
    family_ = isMapped(parsed.data()) ? Family::kV4 : Family::kV6;
  } else {
    return false;
  }
  bytes_ = parsed;
  return true;
}

}  // namespace Kestrav

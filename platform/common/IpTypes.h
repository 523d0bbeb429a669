// The plain forms of an IP address and an address mask in records and in the configuration client.
// Code works with IPAddress and IPAddressMask.
//
// Both are trivially copyable and have alignment 1; all bytes zero means null.
#pragma once

#include <cstdint>
#include <type_traits>

// Families, in both structures.
inline constexpr std::uint8_t kIpFamilyNone = 0;
inline constexpr std::uint8_t kIpFamilyV4 = 4;
inline constexpr std::uint8_t kIpFamilyV6 = 6;

struct ip_addr_t {
  std::uint8_t bytes[16];  // network order; an IPv4 address a.b.c.d as ::ffff:a.b.c.d
  std::uint8_t family;     // kIpFamily...; none: the null address
  std::uint8_t reserved[3];
};

// Kinds of ip_mask_t.
inline constexpr std::uint8_t kIpMaskNull = 0;    // matches nothing
inline constexpr std::uint8_t kIpMaskAny = 1;     // matches every address of both families
inline constexpr std::uint8_t kIpMaskPrefix = 2;  // the addresses with the same `prefix` bits
inline constexpr std::uint8_t kIpMaskRange = 3;   // IPv4 only: from a first to a last address

struct ip_mask_t {
  std::uint8_t kind;    // kIpMask...
  std::uint8_t family;  // kIpFamily...; of kinds prefix and range
  std::uint8_t prefix;  // of kind prefix: 0 to 32 or 128; a single address is the longest prefix
  std::uint8_t reserved[5];
  // Network order. Prefix: the address, for IPv4 in the first four bytes. Range: the first address
  // in bytes 0 to 3, the last one in bytes 4 to 7. Zero elsewhere.
  std::uint8_t bytes[16];
};

static_assert(sizeof(ip_addr_t) == 20 && alignof(ip_addr_t) == 1);
static_assert(sizeof(ip_mask_t) == 24 && alignof(ip_mask_t) == 1);
static_assert(std::is_trivially_copyable_v<ip_addr_t> && std::is_trivially_copyable_v<ip_mask_t>);
static_assert(std::is_standard_layout_v<ip_addr_t> && std::is_standard_layout_v<ip_mask_t>);

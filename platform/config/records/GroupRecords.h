// Groups of e-mail addresses and of IP addresses.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/common/IpTypes.h"
#include "platform/config/records/Forward.h"
#include "platform/config/records/SharedRecords.h"

// A named group of e-mail addresses.
struct __vexa_email_address_group {
  char name[40];                       // 0
  std::uint64_t member_count;          // 40
  const aps_email_address_t* members;  // 48
  std::uint32_t id;                    // 56
  std::uint32_t reserved_60;           // 60
};
typedef struct __vexa_email_address_group vexa_email_address_group;
static_assert(sizeof(__vexa_email_address_group) == 64);
static_assert(offsetof(__vexa_email_address_group, name) == 0);
static_assert(offsetof(__vexa_email_address_group, member_count) == 40);
static_assert(offsetof(__vexa_email_address_group, members) == 48);
static_assert(offsetof(__vexa_email_address_group, id) == 56);

// An address, prefix or IPv4 range.
struct __vexa_ip_address_entry {
  ip_mask_t mask;  // 0
};
typedef struct __vexa_ip_address_entry vexa_ip_address_entry;
static_assert(sizeof(__vexa_ip_address_entry) == 24);
static_assert(offsetof(__vexa_ip_address_entry, mask) == 0);

// A named group of IP addresses.
struct __vexa_ip_address_group {
  char name[40];               // 0
  std::uint64_t member_count;  // 40
  const ip_mask_t* members;    // 48
  std::uint32_t id;            // 56
  std::uint32_t reserved_60;   // 60
};
typedef struct __vexa_ip_address_group vexa_ip_address_group;
static_assert(sizeof(__vexa_ip_address_group) == 64);
static_assert(offsetof(__vexa_ip_address_group, name) == 0);
static_assert(offsetof(__vexa_ip_address_group, member_count) == 40);
static_assert(offsetof(__vexa_ip_address_group, members) == 48);
static_assert(offsetof(__vexa_ip_address_group, id) == 56);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kEmailGroupType;  // __vexa_email_address_group
KESTRAV_API extern const RecordType kIpEntryType;     // __vexa_ip_address_entry
KESTRAV_API extern const RecordType kIpGroupType;     // __vexa_ip_address_group

}  // namespace Kestrav::Config

// Parts that several records share: bounded texts and the halves of an address rewriting rule.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// One half of an address rewriting rule: how the local part, or the domain, changes.
struct cfg_as_email_address_modification_ {
  std::uint32_t kind;  // 0
  char text[256];      // 4
};
typedef struct cfg_as_email_address_modification_ cfg_as_email_address_modification;
static_assert(sizeof(cfg_as_email_address_modification_) == 260);
static_assert(offsetof(cfg_as_email_address_modification_, kind) == 0);
static_assert(offsetof(cfg_as_email_address_modification_, text) == 4);

// A host name.
struct aps_fqdn_t {
  char name[256];  // 0
};
static_assert(sizeof(aps_fqdn_t) == 256);
static_assert(offsetof(aps_fqdn_t, name) == 0);

// An address, a domain, an IP address or an IP mask of an allow or discard list.
struct aps_bounded_string {
  char text[129];  // 0
};
static_assert(sizeof(aps_bounded_string) == 129);
static_assert(offsetof(aps_bounded_string, text) == 0);

// The name of a header.
struct __aps_hideheader_list_t {
  char name[66];  // 0
};
typedef struct __aps_hideheader_list_t aps_hideheader_list_t;
static_assert(sizeof(__aps_hideheader_list_t) == 66);
static_assert(offsetof(__aps_hideheader_list_t, name) == 0);

// An e-mail address, possibly with wildcards.
struct aps_email_address_t {
  char text[257];  // 0
};
static_assert(sizeof(aps_email_address_t) == 257);
static_assert(offsetof(aps_email_address_t, text) == 0);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kAddressModificationType;  // cfg_as_email_address_modification_
KESTRAV_API extern const RecordType kHostEntryType;            // aps_fqdn_t
KESTRAV_API extern const RecordType kAddressEntryType;         // aps_bounded_string
KESTRAV_API extern const RecordType kHeaderNameType;           // __aps_hideheader_list_t
KESTRAV_API extern const RecordType kEmailSlotType;            // aps_email_address_t

}  // namespace Kestrav::Config

// Policies: which profiles a connection or a recipient gets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// The form of a client or server criterion: __qv_ip_policy::client_kind, server_kind.
enum class PeerKind : unsigned char { kAny = 0, kMask = 1, kGroup = 2 };
// The form of a sender or recipient criterion: __vexa_recipient_policy::sender_kind,
// recipient_kind. The text of a domain has no "@" and no leading dot, that of a regular expression
// no slashes.
enum class AddressKind : unsigned char {
  kAny = 0,
  kAddress = 1,
  kDomain = 2,
  kDomainWithSubdomains = 3,
  kWildcard = 4,
  kRegex = 5,
  kGroup = 6
};

// The policy of a connection, chosen by client and server address; the first enabled match in
// order wins.
struct __qv_ip_policy {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kExclusive = 112 * 8 + 0,
    kAuthFlag1 = 112 * 8 + 1,
    kAuthFlag2 = 112 * 8 + 2,
  };

  std::int32_t id;                  // 0
  char name[64];                    // 4
  unsigned char enabled;            // 68
  unsigned char client_kind;        // 69
  unsigned char server_kind;        // 70
  unsigned char reserved_71[8];     // 71
  unsigned char auth_flag_3;        // 79
  std::int32_t session_profile;     // 80
  std::uint32_t antivirus_profile;  // 84
  std::uint32_t antispam_profile;   // 88
  std::uint32_t content_profile;    // 92
  std::uint32_t dlp_profile;        // 96
  std::uint32_t client_group;       // 100
  std::uint32_t server_group;       // 104
  std::uint32_t auth_value;         // 108
  unsigned char flags;              // 112
  unsigned char reserved_113[103];  // 113
  std::uint32_t ngid;               // 216
  char client[128];                 // 220
  char server[128];                 // 348
};
typedef struct __qv_ip_policy qv_ip_policy;
static_assert(sizeof(__qv_ip_policy) == 476);
static_assert(offsetof(__qv_ip_policy, id) == 0);
static_assert(offsetof(__qv_ip_policy, name) == 4);
static_assert(offsetof(__qv_ip_policy, enabled) == 68);
static_assert(offsetof(__qv_ip_policy, client_kind) == 69);
static_assert(offsetof(__qv_ip_policy, server_kind) == 70);
static_assert(offsetof(__qv_ip_policy, auth_flag_3) == 79);
static_assert(offsetof(__qv_ip_policy, session_profile) == 80);
static_assert(offsetof(__qv_ip_policy, antivirus_profile) == 84);
static_assert(offsetof(__qv_ip_policy, antispam_profile) == 88);
static_assert(offsetof(__qv_ip_policy, content_profile) == 92);
static_assert(offsetof(__qv_ip_policy, dlp_profile) == 96);
static_assert(offsetof(__qv_ip_policy, client_group) == 100);
static_assert(offsetof(__qv_ip_policy, server_group) == 104);
static_assert(offsetof(__qv_ip_policy, auth_value) == 108);
static_assert(offsetof(__qv_ip_policy, flags) == 112);
static_assert(offsetof(__qv_ip_policy, ngid) == 216);
static_assert(offsetof(__qv_ip_policy, client) == 220);
static_assert(offsetof(__qv_ip_policy, server) == 348);

// The policy of an envelope recipient, chosen by sender and recipient; the first enabled match
// in order wins.
struct __vexa_recipient_policy {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kAuthFlag1 = 1078 * 8 + 2,
  };

  std::int32_t id;                   // 0
  char name[64];                     // 4
  unsigned char enabled;             // 68
  unsigned char sender_kind;         // 69
  unsigned char recipient_kind;      // 70
  unsigned char reserved_71;         // 71
  std::uint32_t sender_group;        // 72
  std::uint32_t recipient_group;     // 76
  char sender[257];                  // 80
  char recipient[257];               // 337
  unsigned char reserved_594[438];   // 594
  unsigned char auth_flag_3;         // 1032
  unsigned char reserved_1033[7];    // 1033
  std::uint32_t antispam_profile;    // 1040
  std::uint32_t antivirus_profile;   // 1044
  std::uint32_t reserved_1048;       // 1048
  std::uint32_t content_profile;     // 1052
  std::uint32_t dlp_profile;         // 1056
  unsigned char reserved_1060[12];   // 1060
  std::uint32_t auth_value;          // 1072
  unsigned char reserved_1076[2];    // 1076
  unsigned char auth_flags;          // 1078
  unsigned char auth_flag_2;         // 1079
  unsigned char reserved_1080[104];  // 1080
  std::uint32_t ngid;                // 1184
};
typedef struct __vexa_recipient_policy vexa_recipient_policy;
static_assert(sizeof(__vexa_recipient_policy) == 1188);
static_assert(offsetof(__vexa_recipient_policy, id) == 0);
static_assert(offsetof(__vexa_recipient_policy, name) == 4);
static_assert(offsetof(__vexa_recipient_policy, enabled) == 68);
static_assert(offsetof(__vexa_recipient_policy, sender_kind) == 69);
static_assert(offsetof(__vexa_recipient_policy, recipient_kind) == 70);
static_assert(offsetof(__vexa_recipient_policy, sender_group) == 72);
static_assert(offsetof(__vexa_recipient_policy, recipient_group) == 76);
static_assert(offsetof(__vexa_recipient_policy, sender) == 80);
static_assert(offsetof(__vexa_recipient_policy, recipient) == 337);
static_assert(offsetof(__vexa_recipient_policy, auth_flag_3) == 1032);
static_assert(offsetof(__vexa_recipient_policy, antispam_profile) == 1040);
static_assert(offsetof(__vexa_recipient_policy, antivirus_profile) == 1044);
static_assert(offsetof(__vexa_recipient_policy, content_profile) == 1052);
static_assert(offsetof(__vexa_recipient_policy, dlp_profile) == 1056);
static_assert(offsetof(__vexa_recipient_policy, auth_value) == 1072);
static_assert(offsetof(__vexa_recipient_policy, auth_flags) == 1078);
static_assert(offsetof(__vexa_recipient_policy, auth_flag_2) == 1079);
static_assert(offsetof(__vexa_recipient_policy, ngid) == 1184);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kIpPolicyType;         // __qv_ip_policy
KESTRAV_API extern const RecordType kRecipientPolicyType;  // __vexa_recipient_policy

}  // namespace Kestrav::Config

// Antivirus profiles and actions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"
#include "platform/config/records/SharedRecords.h"

// Which virus scans run on a message, and the action of each verdict.
struct __aps_gw_av_profile {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kScanKind0 = 260 * 8 + 1,
    kScanKind2 = 260 * 8 + 2,
    kScanKinds5To8 = 260 * 8 + 3,
    kScanKind4 = 260 * 8 + 4,
  };

  char name[256];                 // 0
  std::uint32_t id;               // 256
  unsigned char scanners;         // 260
  unsigned char reserved_261[3];  // 261
  unsigned char scan_kind_1;      // 264
  unsigned char scan_kind_3;      // 265
  unsigned char reserved_266[2];  // 266
  std::uint32_t action_0;         // 268
  std::uint32_t action_1;         // 272
  std::uint32_t action_2;         // 276
  std::uint32_t reserved_280;     // 280
  std::uint32_t action_4;         // 284
  std::uint32_t action_5;         // 288
  std::uint32_t action_6;         // 292
  std::uint32_t action_7;         // 296
  std::uint32_t action_8;         // 300
};
typedef struct __aps_gw_av_profile aps_gw_av_profile;
static_assert(sizeof(__aps_gw_av_profile) == 304);
static_assert(offsetof(__aps_gw_av_profile, name) == 0);
static_assert(offsetof(__aps_gw_av_profile, id) == 256);
static_assert(offsetof(__aps_gw_av_profile, scanners) == 260);
static_assert(offsetof(__aps_gw_av_profile, scan_kind_1) == 264);
static_assert(offsetof(__aps_gw_av_profile, scan_kind_3) == 265);
static_assert(offsetof(__aps_gw_av_profile, action_0) == 268);
static_assert(offsetof(__aps_gw_av_profile, action_1) == 272);
static_assert(offsetof(__aps_gw_av_profile, action_2) == 276);
static_assert(offsetof(__aps_gw_av_profile, action_4) == 284);
static_assert(offsetof(__aps_gw_av_profile, action_5) == 288);
static_assert(offsetof(__aps_gw_av_profile, action_6) == 292);
static_assert(offsetof(__aps_gw_av_profile, action_7) == 296);
static_assert(offsetof(__aps_gw_av_profile, action_8) == 300);

// What is done with a message that a virus scan marked.
struct aps_antivirus_action {
  enum Disposition : unsigned char {  // what is done with the message itself
    kNone = 0,
    kDiscard = 1,
    kReject = 2,
    kRewriteRecipient = 4,
    kRepackage = 8,
    kRepackageWithNotice = 16,
    kReplace = 32,
    kSystemQuarantine = 64,
  };

  char name[36];                                      // 0
  std::uint32_t id;                                   // 36
  unsigned char disposition;                          // 40
  unsigned char tag_subject;                          // 41
  unsigned char insert_header;                        // 42
  unsigned char use_alternate_host;                   // 43
  unsigned char use_blind_copy;                       // 44
  char subject_tag[66];                               // 45
  char header_name[66];                               // 111
  char header_value[66];                              // 177
  unsigned char reserved_243;                         // 243
  cfg_as_email_address_modification_ rewrite_local;   // 244
  cfg_as_email_address_modification_ rewrite_domain;  // 504
  char alternate_host[66];                            // 764
  char blind_copy[1290];                              // 830
  unsigned char notify;                               // 2120
  unsigned char reserved_2121[3];                     // 2121
  std::uint32_t notification;                         // 2124
  std::uint32_t quarantine_folder;                    // 2128
};
static_assert(sizeof(aps_antivirus_action) == 2132);
static_assert(offsetof(aps_antivirus_action, name) == 0);
static_assert(offsetof(aps_antivirus_action, id) == 36);
static_assert(offsetof(aps_antivirus_action, disposition) == 40);
static_assert(offsetof(aps_antivirus_action, tag_subject) == 41);
static_assert(offsetof(aps_antivirus_action, insert_header) == 42);
static_assert(offsetof(aps_antivirus_action, use_alternate_host) == 43);
static_assert(offsetof(aps_antivirus_action, use_blind_copy) == 44);
static_assert(offsetof(aps_antivirus_action, subject_tag) == 45);
static_assert(offsetof(aps_antivirus_action, header_name) == 111);
static_assert(offsetof(aps_antivirus_action, header_value) == 177);
static_assert(offsetof(aps_antivirus_action, rewrite_local) == 244);
static_assert(offsetof(aps_antivirus_action, rewrite_domain) == 504);
static_assert(offsetof(aps_antivirus_action, alternate_host) == 764);
static_assert(offsetof(aps_antivirus_action, blind_copy) == 830);
static_assert(offsetof(aps_antivirus_action, notify) == 2120);
static_assert(offsetof(aps_antivirus_action, notification) == 2124);
static_assert(offsetof(aps_antivirus_action, quarantine_folder) == 2128);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kAntivirusProfileType;  // __aps_gw_av_profile
KESTRAV_API extern const RecordType kAntivirusActionType;   // aps_antivirus_action

}  // namespace Kestrav::Config

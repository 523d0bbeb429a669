// Session profiles, address maps, access control rules, bounce profiles.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/common/IpTypes.h"
#include "platform/config/records/Forward.h"
#include "platform/config/records/SharedRecords.h"

// What a connection may do on receipt, and what is changed on delivery.
struct __qv_ip_profile {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kRefuseInvalidHeloDomain = 316 * 8 + 5,
    kResolveSenderDomain = 316 * 8 + 6,
    kResolveRecipientDomain = 316 * 8 + 7,
    kRefuseEmptyDomains = 317 * 8 + 0,
    kStrictCommands = 317 * 8 + 2,
    kThreeWayDomainCheck = 317 * 8 + 4,
    kSenderValidation1 = 318 * 8 + 0,
    kDkim1 = 318 * 8 + 1,
    kDkim2 = 318 * 8 + 2,
    kSenderValidation2 = 318 * 8 + 3,
    kSenderValidation3 = 318 * 8 + 5,
    kUseSenderAllowList = 318 * 8 + 6,
    kUseSenderDiscardList = 318 * 8 + 7,
    kUseRecipientAllowList = 319 * 8 + 0,
    kUseRecipientDiscardList = 319 * 8 + 1,
    kRemoveHeaders = 319 * 8 + 2,
    kHideReceived = 319 * 8 + 3,
    kSenderReputation = 319 * 8 + 4,
    kMmsSenderReputation = 319 * 8 + 5,
    kRewriteEnvelopeFrom = 496 * 8 + 0,
    kRewriteHeaderFrom = 496 * 8 + 1,
    kRewriteHeaderReplyTo = 496 * 8 + 2,
    kRewriteEnvelopeRecipient = 496 * 8 + 3,
    kRewriteHeaderToAndCc = 496 * 8 + 4,
  };

  char name[256];                                     // 0
  std::uint32_t id;                                   // 256
  unsigned char reserved_260[36];                     // 260
  std::uint32_t moving_total_1;                       // 296
  std::uint32_t moving_total_2;                       // 300
  std::uint32_t moving_total_3;                       // 304
  std::int32_t max_concurrent;                        // 308
  std::uint32_t reserved_312;                         // 312
  unsigned char domain_checks;                        // 316
  unsigned char command_checks;                       // 317
  unsigned char validation_checks;                    // 318
  unsigned char list_checks;                          // 319
  std::uint32_t reserved_320;                         // 320
  std::uint32_t sender_validation_value;              // 324
  std::uint32_t reputation_1;                         // 328
  std::uint32_t reputation_2;                         // 332
  std::uint32_t reputation_3;                         // 336
  std::uint32_t reputation_4;                         // 340
  std::uint32_t reputation_5;                         // 344
  unsigned char block_pgp;                            // 348
  unsigned char mms_reputation_off;                   // 349
  unsigned char reserved_350[2];                      // 350
  unsigned char check_client_ip_quick;                // 352
  unsigned char queue_index;                          // 353
  unsigned char reserved_354[2];                      // 354
  std::uint32_t mms_reputation_1;                     // 356
  std::uint32_t mms_reputation_2;                     // 360
  std::uint32_t reserved_364;                         // 364
  std::int32_t max_recipients;                        // 368
  std::uint32_t reserved_372;                         // 372
  std::int32_t max_messages;                          // 376
  std::int32_t max_message_size;                      // 380
  unsigned char reserved_384[32];                     // 384
  std::uint64_t remove_header_count;                  // 416
  const __aps_hideheader_list_t* remove_header_list;  // 424
  std::uint64_t sender_allow_count;                   // 432
  const aps_bounded_string* sender_allow_list;        // 440
  std::uint64_t sender_discard_count;                 // 448
  const aps_bounded_string* sender_discard_list;      // 456
  std::uint64_t recipient_allow_count;                // 464
  const aps_bounded_string* recipient_allow_list;     // 472
  std::uint64_t recipient_discard_count;              // 480
  const aps_bounded_string* recipient_discard_list;   // 488
  unsigned char rewrite_targets;                      // 496
  unsigned char reserved_497[39];                     // 497
  std::uint32_t recipient_address_map;                // 536
  std::uint32_t sender_address_map;                   // 540
  std::uint32_t reserved_544;                         // 544
  std::uint32_t acl_ruleset;                          // 548
  std::int32_t remote_syslog_id;                      // 552
  std::uint32_t bounce_profile;                       // 556
  unsigned char sender_validation_4;                  // 560
  unsigned char reserved_561[3];                      // 561
  std::uint32_t sender_validation_value_2;            // 564
};
typedef struct __qv_ip_profile qv_ip_profile;
static_assert(sizeof(__qv_ip_profile) == 568);
static_assert(offsetof(__qv_ip_profile, name) == 0);
static_assert(offsetof(__qv_ip_profile, id) == 256);
static_assert(offsetof(__qv_ip_profile, moving_total_1) == 296);
static_assert(offsetof(__qv_ip_profile, moving_total_2) == 300);
static_assert(offsetof(__qv_ip_profile, moving_total_3) == 304);
static_assert(offsetof(__qv_ip_profile, max_concurrent) == 308);
static_assert(offsetof(__qv_ip_profile, domain_checks) == 316);
static_assert(offsetof(__qv_ip_profile, command_checks) == 317);
static_assert(offsetof(__qv_ip_profile, validation_checks) == 318);
static_assert(offsetof(__qv_ip_profile, list_checks) == 319);
static_assert(offsetof(__qv_ip_profile, sender_validation_value) == 324);
static_assert(offsetof(__qv_ip_profile, reputation_1) == 328);
static_assert(offsetof(__qv_ip_profile, reputation_2) == 332);
static_assert(offsetof(__qv_ip_profile, reputation_3) == 336);
static_assert(offsetof(__qv_ip_profile, reputation_4) == 340);
static_assert(offsetof(__qv_ip_profile, reputation_5) == 344);
static_assert(offsetof(__qv_ip_profile, block_pgp) == 348);
static_assert(offsetof(__qv_ip_profile, mms_reputation_off) == 349);
static_assert(offsetof(__qv_ip_profile, check_client_ip_quick) == 352);
static_assert(offsetof(__qv_ip_profile, queue_index) == 353);
static_assert(offsetof(__qv_ip_profile, mms_reputation_1) == 356);
static_assert(offsetof(__qv_ip_profile, mms_reputation_2) == 360);
static_assert(offsetof(__qv_ip_profile, max_recipients) == 368);
static_assert(offsetof(__qv_ip_profile, max_messages) == 376);
static_assert(offsetof(__qv_ip_profile, max_message_size) == 380);
static_assert(offsetof(__qv_ip_profile, remove_header_count) == 416);
static_assert(offsetof(__qv_ip_profile, remove_header_list) == 424);
static_assert(offsetof(__qv_ip_profile, sender_allow_count) == 432);
static_assert(offsetof(__qv_ip_profile, sender_allow_list) == 440);
static_assert(offsetof(__qv_ip_profile, sender_discard_count) == 448);
static_assert(offsetof(__qv_ip_profile, sender_discard_list) == 456);
static_assert(offsetof(__qv_ip_profile, recipient_allow_count) == 464);
static_assert(offsetof(__qv_ip_profile, recipient_allow_list) == 472);
static_assert(offsetof(__qv_ip_profile, recipient_discard_count) == 480);
static_assert(offsetof(__qv_ip_profile, recipient_discard_list) == 488);
static_assert(offsetof(__qv_ip_profile, rewrite_targets) == 496);
static_assert(offsetof(__qv_ip_profile, recipient_address_map) == 536);
static_assert(offsetof(__qv_ip_profile, sender_address_map) == 540);
static_assert(offsetof(__qv_ip_profile, acl_ruleset) == 548);
static_assert(offsetof(__qv_ip_profile, remote_syslog_id) == 552);
static_assert(offsetof(__qv_ip_profile, bounce_profile) == 556);
static_assert(offsetof(__qv_ip_profile, sender_validation_4) == 560);
static_assert(offsetof(__qv_ip_profile, sender_validation_value_2) == 564);

// One rule of an address map.
struct __aps_vip_map_entry {
  std::uint32_t reserved_0;  // 0
  char pattern[257];         // 4
  char replacement[259];     // 261
};
typedef struct __aps_vip_map_entry aps_vip_map_entry;
static_assert(sizeof(__aps_vip_map_entry) == 520);
static_assert(offsetof(__aps_vip_map_entry, pattern) == 4);
static_assert(offsetof(__aps_vip_map_entry, replacement) == 261);

// An ordered list of address rewriting rules.
struct __aps_vip_map {
  char name[36];                       // 0
  std::uint32_t id;                    // 36
  std::uint64_t entry_count;           // 40
  const __aps_vip_map_entry* entries;  // 48
};
typedef struct __aps_vip_map aps_vip_map;
static_assert(sizeof(__aps_vip_map) == 56);
static_assert(offsetof(__aps_vip_map, name) == 0);
static_assert(offsetof(__aps_vip_map, id) == 36);
static_assert(offsetof(__aps_vip_map, entry_count) == 40);
static_assert(offsetof(__aps_vip_map, entries) == 48);

// One access control rule.
struct __aps_acl_rule {
  char sender[128];                           // 0
  char recipient[128];                        // 128
  char reverse_dns[128];                      // 256
  ip_mask_t ip;                               // 384
  std::uint32_t ip_kind;                      // 408
  std::uint32_t sender_kind;                  // 412
  std::uint32_t recipient_kind;               // 416
  unsigned char reverse_dns_regex;            // 420
  unsigned char action;                       // 421
  unsigned char enabled;                      // 422
  unsigned char reserved_423;                 // 423
  std::uint32_t sender_group;                 // 424
  std::uint32_t recipient_group;              // 428
  std::uint32_t ip_group;                     // 432
  std::uint32_t sender_external_group_id;     // 436
  char sender_external_group[128];            // 440
  std::uint32_t recipient_external_group_id;  // 568
  char recipient_external_group[128];         // 572
  std::uint32_t tls_profile_id;               // 700
  std::uint32_t authentication;               // 704
  std::int32_t value;                         // 708
  unsigned char reserved_712[104];            // 712
};
typedef struct __aps_acl_rule aps_acl_rule;
static_assert(sizeof(__aps_acl_rule) == 816);
static_assert(offsetof(__aps_acl_rule, sender) == 0);
static_assert(offsetof(__aps_acl_rule, recipient) == 128);
static_assert(offsetof(__aps_acl_rule, reverse_dns) == 256);
static_assert(offsetof(__aps_acl_rule, ip) == 384);
static_assert(offsetof(__aps_acl_rule, ip_kind) == 408);
static_assert(offsetof(__aps_acl_rule, sender_kind) == 412);
static_assert(offsetof(__aps_acl_rule, recipient_kind) == 416);
static_assert(offsetof(__aps_acl_rule, reverse_dns_regex) == 420);
static_assert(offsetof(__aps_acl_rule, action) == 421);
static_assert(offsetof(__aps_acl_rule, enabled) == 422);
static_assert(offsetof(__aps_acl_rule, sender_group) == 424);
static_assert(offsetof(__aps_acl_rule, recipient_group) == 428);
static_assert(offsetof(__aps_acl_rule, ip_group) == 432);
static_assert(offsetof(__aps_acl_rule, sender_external_group_id) == 436);
static_assert(offsetof(__aps_acl_rule, sender_external_group) == 440);
static_assert(offsetof(__aps_acl_rule, recipient_external_group_id) == 568);
static_assert(offsetof(__aps_acl_rule, recipient_external_group) == 572);
static_assert(offsetof(__aps_acl_rule, tls_profile_id) == 700);
static_assert(offsetof(__aps_acl_rule, authentication) == 704);
static_assert(offsetof(__aps_acl_rule, value) == 708);

// An ordered list of access control rules.
struct __aps_acl_ruleset {
  char name[36];                // 0
  std::uint32_t id;             // 36
  std::uint64_t rule_count;     // 40
  const __aps_acl_rule* rules;  // 48
};
typedef struct __aps_acl_ruleset aps_acl_ruleset;
static_assert(sizeof(__aps_acl_ruleset) == 56);
static_assert(offsetof(__aps_acl_ruleset, name) == 0);
static_assert(offsetof(__aps_acl_ruleset, id) == 36);
static_assert(offsetof(__aps_acl_ruleset, rule_count) == 40);
static_assert(offsetof(__aps_acl_ruleset, rules) == 48);

// How undeliverable mail is reported.
struct __vexa_bounce_profile {
  char name[36];                // 0
  std::uint32_t id;             // 36
  std::uint32_t warn_after;     // 40
  std::uint32_t give_up_after;  // 44
};
typedef struct __vexa_bounce_profile vexa_bounce_profile;
static_assert(sizeof(__vexa_bounce_profile) == 48);
static_assert(offsetof(__vexa_bounce_profile, name) == 0);
static_assert(offsetof(__vexa_bounce_profile, id) == 36);
static_assert(offsetof(__vexa_bounce_profile, warn_after) == 40);
static_assert(offsetof(__vexa_bounce_profile, give_up_after) == 44);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kSessionProfileType;   // __qv_ip_profile
KESTRAV_API extern const RecordType kAddressMapEntryType;  // __aps_vip_map_entry
KESTRAV_API extern const RecordType kAddressMapType;       // __aps_vip_map
KESTRAV_API extern const RecordType kAclRuleType;          // __aps_acl_rule
KESTRAV_API extern const RecordType kAclRulesetType;       // __aps_acl_ruleset
KESTRAV_API extern const RecordType kBounceProfileType;    // __vexa_bounce_profile

}  // namespace Kestrav::Config

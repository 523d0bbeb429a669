// Content, file pattern and data loss prevention profiles, and content actions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"
#include "platform/config/records/SharedRecords.h"

// A file pattern named by an attachment filter.
struct __attachment_file_pattern_id {
  std::uint32_t id;  // 0
};
typedef struct __attachment_file_pattern_id attachment_file_pattern_id;
static_assert(sizeof(__attachment_file_pattern_id) == 4);
static_assert(offsetof(__attachment_file_pattern_id, id) == 0);

// Attachments of the named file patterns, and what is done with them.
struct __aps_attachment_filter {
  std::uint32_t reserved_0;             // 0
  unsigned char enabled;                // 4
  unsigned char reserved_5[3];          // 5
  std::uint64_t file_pattern_id_count;  // 8
  std::uint32_t file_pattern_ids[32];   // 16
  std::uint32_t action;                 // 144
  std::uint32_t reserved_148;           // 148
};
typedef struct __aps_attachment_filter aps_attachment_filter;
static_assert(sizeof(__aps_attachment_filter) == 152);
static_assert(offsetof(__aps_attachment_filter, enabled) == 4);
static_assert(offsetof(__aps_attachment_filter, file_pattern_id_count) == 8);
static_assert(offsetof(__aps_attachment_filter, file_pattern_ids) == 16);
static_assert(offsetof(__aps_attachment_filter, action) == 144);

// A dictionary scan of messages, and what is done on a match.
struct __aps_content_monitor {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kScanHeaders = 528 * 8 + 0,
    kScanBody = 528 * 8 + 1,
    kScanAttachments = 528 * 8 + 2,
  };

  std::uint32_t reserved_0;       // 0
  unsigned char enabled;          // 4
  char dictionary[256];           // 5
  char dictionary_group[256];     // 261
  unsigned char use_dictionary;   // 517
  unsigned char reserved_518[2];  // 518
  std::int32_t min_score;         // 520
  std::uint32_t action;           // 524
  unsigned char scan_area;        // 528
  unsigned char reserved_529[3];  // 529
};
typedef struct __aps_content_monitor aps_content_monitor;
static_assert(sizeof(__aps_content_monitor) == 532);
static_assert(offsetof(__aps_content_monitor, enabled) == 4);
static_assert(offsetof(__aps_content_monitor, dictionary) == 5);
static_assert(offsetof(__aps_content_monitor, dictionary_group) == 261);
static_assert(offsetof(__aps_content_monitor, use_dictionary) == 517);
static_assert(offsetof(__aps_content_monitor, min_score) == 520);
static_assert(offsetof(__aps_content_monitor, action) == 524);
static_assert(offsetof(__aps_content_monitor, scan_area) == 528);

// How a message's structure and attachments are treated.
struct __aps_gw_content_profile {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kArchiveChecks = 280 * 8 + 0,
    kEmbeddedChecks = 280 * 8 + 1,
    kBlockWithoutAttachment = 280 * 8 + 2,
    kBlockPartial = 280 * 8 + 3,
    kScanAttachments = 280 * 8 + 4,
    kDeferLargeMessages = 280 * 8 + 5,
    kLimitAttachments = 280 * 8 + 6,
    kBypassOnAuthentication = 280 * 8 + 7,
    kRemoveHiddenHtml = 280 * 8 + 8,
    kBlockUncompressFailure = 284 * 8 + 0,
    kBlockProtectedArchive = 284 * 8 + 1,
    kBlockDeepRecursion = 284 * 8 + 2,
  };

  char name[256];                                     // 0
  std::uint32_t id;                                   // 256
  unsigned char reserved_260[12];                     // 260
  unsigned char outgoing;                             // 272
  unsigned char reserved_273[7];                      // 273
  std::uint32_t options;                              // 280
  std::uint32_t archive_options;                      // 284
  std::uint32_t embedded_options;                     // 288
  std::uint32_t max_attachments;                      // 292
  std::uint32_t max_recursion;                        // 296
  std::uint32_t deferred_size;                        // 300
  std::uint32_t action;                               // 304
  unsigned char reserved_308[12];                     // 308
  std::uint64_t attachment_filter_count;              // 320
  const __aps_attachment_filter* attachment_filters;  // 328
  unsigned char reserved_336[80];                     // 336
  std::uint64_t content_monitor_count;                // 416
  const __aps_content_monitor* content_monitors;      // 424
};
typedef struct __aps_gw_content_profile aps_gw_content_profile;
static_assert(sizeof(__aps_gw_content_profile) == 432);
static_assert(offsetof(__aps_gw_content_profile, name) == 0);
static_assert(offsetof(__aps_gw_content_profile, id) == 256);
static_assert(offsetof(__aps_gw_content_profile, outgoing) == 272);
static_assert(offsetof(__aps_gw_content_profile, options) == 280);
static_assert(offsetof(__aps_gw_content_profile, archive_options) == 284);
static_assert(offsetof(__aps_gw_content_profile, embedded_options) == 288);
static_assert(offsetof(__aps_gw_content_profile, max_attachments) == 292);
static_assert(offsetof(__aps_gw_content_profile, max_recursion) == 296);
static_assert(offsetof(__aps_gw_content_profile, deferred_size) == 300);
static_assert(offsetof(__aps_gw_content_profile, action) == 304);
static_assert(offsetof(__aps_gw_content_profile, attachment_filter_count) == 320);
static_assert(offsetof(__aps_gw_content_profile, attachment_filters) == 328);
static_assert(offsetof(__aps_gw_content_profile, content_monitor_count) == 416);
static_assert(offsetof(__aps_gw_content_profile, content_monitors) == 424);

// What is done with a message that a content or data loss prevention profile marked.
struct __aps_content_action {
  enum Disposition : unsigned char {  // what is done with the message itself
    kNone = 0,
    kDiscard = 1,
    kReject = 2,
    kPersonalQuarantine = 4,
    kSystemQuarantine = 8,
    kRewriteRecipient = 16,
    kReplace = 32,
    kEncrypt = 64,
    kDefer = 128,
  };
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kInsertHeader = 38 * 8 + 0,
    kTagSubject = 38 * 8 + 1,
  };

  char name[32];                                      // 0
  std::uint32_t id;                                   // 32
  unsigned char disposition;                          // 36
  unsigned char reserved_37;                          // 37
  unsigned char tags;                                 // 38
  unsigned char reserved_39;                          // 39
  cfg_as_email_address_modification_ rewrite_local;   // 40
  cfg_as_email_address_modification_ rewrite_domain;  // 300
  char subject_tag[66];                               // 560
  char header_name[66];                               // 626
  char header_value[66];                              // 692
  unsigned char use_alternate_host;                   // 758
  char alternate_host[66];                            // 759
  unsigned char use_blind_copy;                       // 825
  char blind_copy[1290];                              // 826
  std::uint32_t encryption;                           // 2116
  std::uint32_t reserved_2120;                        // 2120
  unsigned char archive;                              // 2124
  unsigned char reserved_2125[3];                     // 2125
  std::uint32_t archive_recipient_id;                 // 2128
  unsigned char notify;                               // 2132
  unsigned char reserved_2133[3];                     // 2133
  std::uint32_t notification;                         // 2136
  std::uint32_t quarantine_folder;                    // 2140
};
typedef struct __aps_content_action aps_content_action;
static_assert(sizeof(__aps_content_action) == 2144);
static_assert(offsetof(__aps_content_action, name) == 0);
static_assert(offsetof(__aps_content_action, id) == 32);
static_assert(offsetof(__aps_content_action, disposition) == 36);
static_assert(offsetof(__aps_content_action, tags) == 38);
static_assert(offsetof(__aps_content_action, rewrite_local) == 40);
static_assert(offsetof(__aps_content_action, rewrite_domain) == 300);
static_assert(offsetof(__aps_content_action, subject_tag) == 560);
static_assert(offsetof(__aps_content_action, header_name) == 626);
static_assert(offsetof(__aps_content_action, header_value) == 692);
static_assert(offsetof(__aps_content_action, use_alternate_host) == 758);
static_assert(offsetof(__aps_content_action, alternate_host) == 759);
static_assert(offsetof(__aps_content_action, use_blind_copy) == 825);
static_assert(offsetof(__aps_content_action, blind_copy) == 826);
static_assert(offsetof(__aps_content_action, encryption) == 2116);
static_assert(offsetof(__aps_content_action, archive) == 2124);
static_assert(offsetof(__aps_content_action, archive_recipient_id) == 2128);
static_assert(offsetof(__aps_content_action, notify) == 2132);
static_assert(offsetof(__aps_content_action, notification) == 2136);
static_assert(offsetof(__aps_content_action, quarantine_folder) == 2140);

// A file type, given by MIME types and file names.
struct __attachment_file_pattern {
  char name[257];               // 0
  char mime_types[1025];        // 257
  char file_names[2049];        // 1282
  unsigned char reserved_3331;  // 3331
  std::uint32_t id;             // 3332
};
typedef struct __attachment_file_pattern attachment_file_pattern;
static_assert(sizeof(__attachment_file_pattern) == 3336);
static_assert(offsetof(__attachment_file_pattern, name) == 0);
static_assert(offsetof(__attachment_file_pattern, mime_types) == 257);
static_assert(offsetof(__attachment_file_pattern, file_names) == 1282);
static_assert(offsetof(__attachment_file_pattern, id) == 3332);

// A data loss prevention rule of a profile.
struct __aps_dlp_rule_entry {
  std::uint32_t reserved_0;     // 0
  unsigned char enabled;        // 4
  unsigned char reserved_5[3];  // 5
  std::uint32_t rule_id;        // 8
  std::uint32_t action;         // 12
};
typedef struct __aps_dlp_rule_entry aps_dlp_rule_entry;
static_assert(sizeof(__aps_dlp_rule_entry) == 16);
static_assert(offsetof(__aps_dlp_rule_entry, enabled) == 4);
static_assert(offsetof(__aps_dlp_rule_entry, rule_id) == 8);
static_assert(offsetof(__aps_dlp_rule_entry, action) == 12);

// An ordered list of data loss prevention rules.
struct __aps_dlp_profile {
  char name[256];                     // 0
  std::uint32_t id;                   // 256
  unsigned char reserved_260[124];    // 260
  std::uint32_t action;               // 384
  std::uint32_t reserved_388;         // 388
  std::uint64_t rule_count;           // 392
  const __aps_dlp_rule_entry* rules;  // 400
};
typedef struct __aps_dlp_profile aps_dlp_profile;
static_assert(sizeof(__aps_dlp_profile) == 408);
static_assert(offsetof(__aps_dlp_profile, name) == 0);
static_assert(offsetof(__aps_dlp_profile, id) == 256);
static_assert(offsetof(__aps_dlp_profile, action) == 384);
static_assert(offsetof(__aps_dlp_profile, rule_count) == 392);
static_assert(offsetof(__aps_dlp_profile, rules) == 400);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kFilePatternIdType;     // __attachment_file_pattern_id
KESTRAV_API extern const RecordType kAttachmentFilterType;  // __aps_attachment_filter
KESTRAV_API extern const RecordType kContentMonitorType;    // __aps_content_monitor
KESTRAV_API extern const RecordType kContentProfileType;    // __aps_gw_content_profile
KESTRAV_API extern const RecordType kContentActionType;     // __aps_content_action
KESTRAV_API extern const RecordType kFilePatternType;       // __attachment_file_pattern
KESTRAV_API extern const RecordType kDlpRuleEntryType;      // __aps_dlp_rule_entry
KESTRAV_API extern const RecordType kDlpProfileType;        // __aps_dlp_profile

}  // namespace Kestrav::Config

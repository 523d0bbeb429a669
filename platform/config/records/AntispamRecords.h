// Antispam profiles and actions, the settings of the deep header analysis, the gateway's mailboxes,
// trusted relays.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"
#include "platform/config/records/SharedRecords.h"

// A banned or white word of an antispam profile.
struct __aps_as_word_entry {
  char text[256];                 // 0
  unsigned char reserved_256[2];  // 256
  unsigned char in_body;          // 258
  unsigned char in_subject;       // 259
};
typedef struct __aps_as_word_entry aps_as_word_entry;
static_assert(sizeof(__aps_as_word_entry) == 260);
static_assert(offsetof(__aps_as_word_entry, text) == 0);
static_assert(offsetof(__aps_as_word_entry, in_body) == 258);
static_assert(offsetof(__aps_as_word_entry, in_subject) == 259);

// Which spam classifiers run on a message, their settings, and the action of each verdict.
struct __aps_gw_as_profile {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kHeuristic = 260 * 8 + 0,
    kBayesian = 260 * 8 + 1,
    kCloud = 260 * 8 + 3,
    kRbl = 260 * 8 + 4,
    kSurbl = 260 * 8 + 5,
    kBannedWords = 260 * 8 + 6,
    kImageSpam = 260 * 8 + 7,
    kFastImageScan = 261 * 8 + 0,
    kBehavior = 261 * 8 + 1,
    kSpamOutbreak = 261 * 8 + 2,
    kGreylist = 262 * 8 + 7,
    kBypassOnAuthentication = 263 * 8 + 0,
    kBayesianOption1 = 263 * 8 + 3,
    kBayesianOption2 = 263 * 8 + 4,
    kCloudSecondaryCheck = 263 * 8 + 5,
    kDeepHeader = 263 * 8 + 6,
    kCloudExtendedCheck = 263 * 8 + 7,
  };

  char name[256];                              // 0
  std::uint32_t id;                            // 256
  unsigned char scanners;                      // 260
  unsigned char scan_options;                  // 261
  unsigned char session_options;               // 262
  unsigned char classifier_options;            // 263
  unsigned char uri_category_check;            // 264
  unsigned char dictionary_scan;               // 265
  unsigned char white_words_scan;              // 266
  unsigned char spf_failure_is_spam;           // 267
  unsigned char suspicious_newsletter;         // 268
  unsigned char newsletter;                    // 269
  unsigned char reserved_270;                  // 270
  unsigned char outgoing;                      // 271
  unsigned char dmarc;                         // 272
  unsigned char reserved_273[3];               // 273
  std::uint32_t heuristic_second;              // 276
  std::uint32_t heuristic_first;               // 280
  std::uint32_t heuristic_third;               // 284
  std::uint64_t rbl_server_count;              // 288
  const aps_fqdn_t* rbl_servers;               // 296
  std::uint64_t surbl_server_count;            // 304
  const aps_fqdn_t* surbl_servers;             // 312
  std::uint64_t banned_word_count;             // 320
  const __aps_as_word_entry* banned_words;     // 328
  std::uint64_t white_word_count;              // 336
  const __aps_as_word_entry* white_words;      // 344
  std::uint32_t max_scan_size;                 // 352
  char dictionary[256];                        // 356
  unsigned char dictionary_kind;               // 612
  unsigned char reserved_613[3];               // 613
  std::int32_t dictionary_min_score;           // 616
  std::uint32_t scan_attachments;              // 620
  std::uint32_t default_action_for_all;        // 624
  std::uint32_t rbl_action;                    // 628
  std::uint32_t surbl_action;                  // 632
  std::uint32_t cloud_action;                  // 636
  std::uint32_t bayesian_action;               // 640
  std::uint32_t heuristic_action;              // 644
  std::uint32_t dictionary_action;             // 648
  std::uint32_t banned_words_action;           // 652
  std::uint32_t deep_header_action;            // 656
  std::uint32_t behavior_action;               // 660
  std::uint32_t reserved_664;                  // 664
  std::uint32_t image_spam_action;             // 668
  std::uint32_t reserved_672;                  // 672
  std::uint32_t default_action;                // 676
  std::uint32_t cloud_extended_action;         // 680
  std::uint32_t spf_action;                    // 684
  std::uint32_t uri_category_action;           // 688
  std::uint32_t suspicious_newsletter_action;  // 692
  std::uint32_t newsletter_action;             // 696
  std::uint32_t dmarc_action;                  // 700
  std::uint32_t web_filter;                    // 704
  std::uint32_t reserved_708;                  // 708
};
typedef struct __aps_gw_as_profile aps_gw_as_profile;
static_assert(sizeof(__aps_gw_as_profile) == 712);
static_assert(offsetof(__aps_gw_as_profile, name) == 0);
static_assert(offsetof(__aps_gw_as_profile, id) == 256);
static_assert(offsetof(__aps_gw_as_profile, scanners) == 260);
static_assert(offsetof(__aps_gw_as_profile, scan_options) == 261);
static_assert(offsetof(__aps_gw_as_profile, session_options) == 262);
static_assert(offsetof(__aps_gw_as_profile, classifier_options) == 263);
static_assert(offsetof(__aps_gw_as_profile, uri_category_check) == 264);
static_assert(offsetof(__aps_gw_as_profile, dictionary_scan) == 265);
static_assert(offsetof(__aps_gw_as_profile, white_words_scan) == 266);
static_assert(offsetof(__aps_gw_as_profile, spf_failure_is_spam) == 267);
static_assert(offsetof(__aps_gw_as_profile, suspicious_newsletter) == 268);
static_assert(offsetof(__aps_gw_as_profile, newsletter) == 269);
static_assert(offsetof(__aps_gw_as_profile, outgoing) == 271);
static_assert(offsetof(__aps_gw_as_profile, dmarc) == 272);
static_assert(offsetof(__aps_gw_as_profile, heuristic_second) == 276);
static_assert(offsetof(__aps_gw_as_profile, heuristic_first) == 280);
static_assert(offsetof(__aps_gw_as_profile, heuristic_third) == 284);
static_assert(offsetof(__aps_gw_as_profile, rbl_server_count) == 288);
static_assert(offsetof(__aps_gw_as_profile, rbl_servers) == 296);
static_assert(offsetof(__aps_gw_as_profile, surbl_server_count) == 304);
static_assert(offsetof(__aps_gw_as_profile, surbl_servers) == 312);
static_assert(offsetof(__aps_gw_as_profile, banned_word_count) == 320);
static_assert(offsetof(__aps_gw_as_profile, banned_words) == 328);
static_assert(offsetof(__aps_gw_as_profile, white_word_count) == 336);
static_assert(offsetof(__aps_gw_as_profile, white_words) == 344);
static_assert(offsetof(__aps_gw_as_profile, max_scan_size) == 352);
static_assert(offsetof(__aps_gw_as_profile, dictionary) == 356);
static_assert(offsetof(__aps_gw_as_profile, dictionary_kind) == 612);
static_assert(offsetof(__aps_gw_as_profile, dictionary_min_score) == 616);
static_assert(offsetof(__aps_gw_as_profile, scan_attachments) == 620);
static_assert(offsetof(__aps_gw_as_profile, default_action_for_all) == 624);
static_assert(offsetof(__aps_gw_as_profile, rbl_action) == 628);
static_assert(offsetof(__aps_gw_as_profile, surbl_action) == 632);
static_assert(offsetof(__aps_gw_as_profile, cloud_action) == 636);
static_assert(offsetof(__aps_gw_as_profile, bayesian_action) == 640);
static_assert(offsetof(__aps_gw_as_profile, heuristic_action) == 644);
static_assert(offsetof(__aps_gw_as_profile, dictionary_action) == 648);
static_assert(offsetof(__aps_gw_as_profile, banned_words_action) == 652);
static_assert(offsetof(__aps_gw_as_profile, deep_header_action) == 656);
static_assert(offsetof(__aps_gw_as_profile, behavior_action) == 660);
static_assert(offsetof(__aps_gw_as_profile, image_spam_action) == 668);
static_assert(offsetof(__aps_gw_as_profile, default_action) == 676);
static_assert(offsetof(__aps_gw_as_profile, cloud_extended_action) == 680);
static_assert(offsetof(__aps_gw_as_profile, spf_action) == 684);
static_assert(offsetof(__aps_gw_as_profile, uri_category_action) == 688);
static_assert(offsetof(__aps_gw_as_profile, suspicious_newsletter_action) == 692);
static_assert(offsetof(__aps_gw_as_profile, newsletter_action) == 696);
static_assert(offsetof(__aps_gw_as_profile, dmarc_action) == 700);
static_assert(offsetof(__aps_gw_as_profile, web_filter) == 704);

// What is done with a message that a spam classifier marked.
struct __aps_antispam_action {
  enum Disposition : unsigned char {  // what is done with the message itself
    kNone = 0,
    kDiscard = 1,
    kReject = 2,
    kPersonalQuarantine = 4,
    kSystemQuarantine = 8,
    kRewriteRecipient = 16,
  };

  char name[32];                                      // 0
  std::uint32_t id;                                   // 32
  unsigned char disposition;                          // 36
  unsigned char reserved_37;                          // 37
  unsigned char tag_subject;                          // 38
  unsigned char insert_header;                        // 39
  unsigned char quarantine_report;                    // 40
  unsigned char release_by_email;                     // 41
  unsigned char release_by_web;                       // 42
  unsigned char whitelist_on_release;                 // 43
  unsigned char use_alternate_host;                   // 44
  unsigned char use_blind_copy;                       // 45
  unsigned char reserved_46[2];                       // 46
  std::uint32_t quarantine_days;                      // 48
  cfg_as_email_address_modification_ rewrite_local;   // 52
  cfg_as_email_address_modification_ rewrite_domain;  // 312
  char subject_tag[66];                               // 572
  char header_name[66];                               // 638
  char header_value[66];                              // 704
  char alternate_host[66];                            // 770
  char blind_copy[2584];                              // 836
  unsigned char archive;                              // 3420
  unsigned char reserved_3421[3];                     // 3421
  std::uint32_t archive_recipient_id;                 // 3424
  unsigned char notify;                               // 3428
  unsigned char reserved_3429[3];                     // 3429
  std::uint32_t notification;                         // 3432
  std::uint32_t quarantine_folder;                    // 3436
};
typedef struct __aps_antispam_action aps_antispam_action;
static_assert(sizeof(__aps_antispam_action) == 3440);
static_assert(offsetof(__aps_antispam_action, name) == 0);
static_assert(offsetof(__aps_antispam_action, id) == 32);
static_assert(offsetof(__aps_antispam_action, disposition) == 36);
static_assert(offsetof(__aps_antispam_action, tag_subject) == 38);
static_assert(offsetof(__aps_antispam_action, insert_header) == 39);
static_assert(offsetof(__aps_antispam_action, quarantine_report) == 40);
static_assert(offsetof(__aps_antispam_action, release_by_email) == 41);
static_assert(offsetof(__aps_antispam_action, release_by_web) == 42);
static_assert(offsetof(__aps_antispam_action, whitelist_on_release) == 43);
static_assert(offsetof(__aps_antispam_action, use_alternate_host) == 44);
static_assert(offsetof(__aps_antispam_action, use_blind_copy) == 45);
static_assert(offsetof(__aps_antispam_action, quarantine_days) == 48);
static_assert(offsetof(__aps_antispam_action, rewrite_local) == 52);
static_assert(offsetof(__aps_antispam_action, rewrite_domain) == 312);
static_assert(offsetof(__aps_antispam_action, subject_tag) == 572);
static_assert(offsetof(__aps_antispam_action, header_name) == 638);
static_assert(offsetof(__aps_antispam_action, header_value) == 704);
static_assert(offsetof(__aps_antispam_action, alternate_host) == 770);
static_assert(offsetof(__aps_antispam_action, blind_copy) == 836);
static_assert(offsetof(__aps_antispam_action, archive) == 3420);
static_assert(offsetof(__aps_antispam_action, archive_recipient_id) == 3424);
static_assert(offsetof(__aps_antispam_action, notify) == 3428);
static_assert(offsetof(__aps_antispam_action, notification) == 3432);
static_assert(offsetof(__aps_antispam_action, quarantine_folder) == 3436);

// Settings of the deep header analysis.
struct __aps_fasmilter {
  std::uint32_t level;  // 0
  float confidence;     // 4
};
typedef struct __aps_fasmilter aps_fasmilter;
static_assert(sizeof(__aps_fasmilter) == 8);
static_assert(offsetof(__aps_fasmilter, level) == 0);
static_assert(offsetof(__aps_fasmilter, confidence) == 4);

// The gateway's mailboxes for quarantine control and Bayesian training.
struct __aps_sys_antispam {
  unsigned char reserved_0[20];   // 0
  char quarantine_control_1[36];  // 20
  char quarantine_control_2[36];  // 56
  char bayesian_domain[36];       // 92
  char bayesian_control_4[36];    // 128
  char bayesian_control_3[36];    // 164
  char bayesian_control_2[36];    // 200
  char bayesian_control_1[36];    // 236
};
typedef struct __aps_sys_antispam aps_sys_antispam;
static_assert(sizeof(__aps_sys_antispam) == 272);
static_assert(offsetof(__aps_sys_antispam, quarantine_control_1) == 20);
static_assert(offsetof(__aps_sys_antispam, quarantine_control_2) == 56);
static_assert(offsetof(__aps_sys_antispam, bayesian_domain) == 92);
static_assert(offsetof(__aps_sys_antispam, bayesian_control_4) == 128);
static_assert(offsetof(__aps_sys_antispam, bayesian_control_3) == 164);
static_assert(offsetof(__aps_sys_antispam, bayesian_control_2) == 200);
static_assert(offsetof(__aps_sys_antispam, bayesian_control_1) == 236);

// An address or mask of trusted mail transfer agents.
struct __aps_ip_mask_string {
  char text[128];    // 0
  std::uint32_t id;  // 128
};
typedef struct __aps_ip_mask_string aps_ip_mask_string;
static_assert(sizeof(__aps_ip_mask_string) == 132);
static_assert(offsetof(__aps_ip_mask_string, text) == 0);
static_assert(offsetof(__aps_ip_mask_string, id) == 128);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kWordEntryType;        // __aps_as_word_entry
KESTRAV_API extern const RecordType kAntispamProfileType;  // __aps_gw_as_profile
KESTRAV_API extern const RecordType kAntispamActionType;   // __aps_antispam_action
KESTRAV_API extern const RecordType kDeepHeaderType;       // __aps_fasmilter
KESTRAV_API extern const RecordType kSystemAntispamType;   // __aps_sys_antispam
KESTRAV_API extern const RecordType kTrustedRelayType;     // __aps_ip_mask_string

}  // namespace Kestrav::Config

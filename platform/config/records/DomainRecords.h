// Protected domains, disclaimers and their exclusions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// Disclaimers added to messages: of the gateway or of a protected domain.
struct __aps_mail_disclaimer {
  std::uint32_t first_header_enabled;   // 0
  std::uint32_t first_text_enabled;     // 4
  char first_text[3072];                // 8
  char first_html[3072];                // 3080
  std::uint32_t first_option;           // 6152
  std::uint32_t second_header_enabled;  // 6156
  std::uint32_t second_text_enabled;    // 6160
  char second_text[3072];               // 6164
  char second_html[3072];               // 9236
  std::uint32_t second_option;          // 12308
  unsigned char exclusions_enabled;     // 12312
  char first_name[66];                  // 12313
  char first_value[66];                 // 12379
  char second_name[66];                 // 12445
  char second_value[66];                // 12511
  unsigned char reserved_12577[3];      // 12577
};
typedef struct __aps_mail_disclaimer aps_mail_disclaimer;
static_assert(sizeof(__aps_mail_disclaimer) == 12580);
static_assert(offsetof(__aps_mail_disclaimer, first_header_enabled) == 0);
static_assert(offsetof(__aps_mail_disclaimer, first_text_enabled) == 4);
static_assert(offsetof(__aps_mail_disclaimer, first_text) == 8);
static_assert(offsetof(__aps_mail_disclaimer, first_html) == 3080);
static_assert(offsetof(__aps_mail_disclaimer, first_option) == 6152);
static_assert(offsetof(__aps_mail_disclaimer, second_header_enabled) == 6156);
static_assert(offsetof(__aps_mail_disclaimer, second_text_enabled) == 6160);
static_assert(offsetof(__aps_mail_disclaimer, second_text) == 6164);
static_assert(offsetof(__aps_mail_disclaimer, second_html) == 9236);
static_assert(offsetof(__aps_mail_disclaimer, second_option) == 12308);
static_assert(offsetof(__aps_mail_disclaimer, exclusions_enabled) == 12312);
static_assert(offsetof(__aps_mail_disclaimer, first_name) == 12313);
static_assert(offsetof(__aps_mail_disclaimer, first_value) == 12379);
static_assert(offsetof(__aps_mail_disclaimer, second_name) == 12445);
static_assert(offsetof(__aps_mail_disclaimer, second_value) == 12511);

// A domain that the gateway protects.
struct __aps_gw_server {
  char name[256];                      // 0
  std::uint32_t id;                    // 256
  char alias_of[256];                  // 260
  unsigned char reserved_516[2224];    // 516
  std::uint32_t disclaimer_mode;       // 2740
  __aps_mail_disclaimer disclaimer;    // 2744
  std::uint32_t reserved_15324;        // 15324
  std::uint32_t configuration_domain;  // 15328
};
typedef struct __aps_gw_server aps_gw_server;
static_assert(sizeof(__aps_gw_server) == 15332);
static_assert(offsetof(__aps_gw_server, name) == 0);
static_assert(offsetof(__aps_gw_server, id) == 256);
static_assert(offsetof(__aps_gw_server, alias_of) == 260);
static_assert(offsetof(__aps_gw_server, disclaimer_mode) == 2740);
static_assert(offsetof(__aps_gw_server, disclaimer) == 2744);
static_assert(offsetof(__aps_gw_server, configuration_domain) == 15328);

// Messages that get no disclaimer.
struct __aps_mail_disclaimer_exclude {
  std::uint32_t id;             // 0
  unsigned char reserved_4[8];  // 4
  char sender[256];             // 12
  char recipient[256];          // 268
};
typedef struct __aps_mail_disclaimer_exclude aps_mail_disclaimer_exclude;
static_assert(sizeof(__aps_mail_disclaimer_exclude) == 524);
static_assert(offsetof(__aps_mail_disclaimer_exclude, id) == 0);
static_assert(offsetof(__aps_mail_disclaimer_exclude, sender) == 12);
static_assert(offsetof(__aps_mail_disclaimer_exclude, recipient) == 268);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kDisclaimerType;           // __aps_mail_disclaimer
KESTRAV_API extern const RecordType kProtectedDomainType;      // __aps_gw_server
KESTRAV_API extern const RecordType kDisclaimerExclusionType;  // __aps_mail_disclaimer_exclude

}  // namespace Kestrav::Config

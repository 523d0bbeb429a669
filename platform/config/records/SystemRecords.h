// Settings of the whole gateway.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// Settings of the mail server.
struct __aps_mailserver {
  char host_name[256];                  // 0
  std::uint32_t smtp_port;              // 256
  std::uint32_t queue_hours;            // 260
  std::uint32_t deferred_start_hour;    // 264
  std::uint32_t deferred_start_minute;  // 268
  std::uint32_t deferred_end_hour;      // 272
  std::uint32_t deferred_end_minute;    // 276
};
typedef struct __aps_mailserver aps_mailserver;
static_assert(sizeof(__aps_mailserver) == 280);
static_assert(offsetof(__aps_mailserver, host_name) == 0);
static_assert(offsetof(__aps_mailserver, smtp_port) == 256);
static_assert(offsetof(__aps_mailserver, queue_hours) == 260);
static_assert(offsetof(__aps_mailserver, deferred_start_hour) == 264);
static_assert(offsetof(__aps_mailserver, deferred_start_minute) == 268);
static_assert(offsetof(__aps_mailserver, deferred_end_hour) == 272);
static_assert(offsetof(__aps_mailserver, deferred_end_minute) == 276);

// Switches of the whole gateway.
struct __aps_sys_global {
  char host_name[256];                   // 0
  unsigned char reserved_256[212];       // 256
  std::uint32_t per_domain_disclaimers;  // 468
  unsigned char reserved_472[718];       // 472
  unsigned char bounce_rules;            // 1190
  unsigned char reserved_1191[237];      // 1191
  std::uint32_t data_loss_prevention;    // 1428
};
typedef struct __aps_sys_global aps_sys_global;
static_assert(sizeof(__aps_sys_global) == 1432);
static_assert(offsetof(__aps_sys_global, host_name) == 0);
static_assert(offsetof(__aps_sys_global, per_domain_disclaimers) == 468);
static_assert(offsetof(__aps_sys_global, bounce_rules) == 1190);
static_assert(offsetof(__aps_sys_global, data_loss_prevention) == 1428);

// File names that are submitted to the sandbox.
struct __aps_sandbox_file_name {
  unsigned char reserved_0[4];  // 0
  char text[40];                // 4
};
typedef struct __aps_sandbox_file_name aps_sandbox_file_name;
static_assert(sizeof(__aps_sandbox_file_name) == 44);
static_assert(offsetof(__aps_sandbox_file_name, text) == 4);

// A built-in file type that is submitted to the sandbox.
struct __aps_sandbox_file_type {
  std::int32_t index;           // 0
  unsigned char enabled;        // 4
  unsigned char reserved_5[3];  // 5
};
typedef struct __aps_sandbox_file_type aps_sandbox_file_type;
static_assert(sizeof(__aps_sandbox_file_type) == 8);
static_assert(offsetof(__aps_sandbox_file_type, index) == 0);
static_assert(offsetof(__aps_sandbox_file_type, enabled) == 4);

// Which attachments are submitted to the sandbox.
struct __aps_sandbox_configuration_t {
  unsigned char enabled;                      // 0
  unsigned char reserved_1[283];              // 1
  std::uint32_t value_284;                    // 284
  unsigned char reserved_288[264];            // 288
  std::uint64_t file_name_count;              // 552
  const __aps_sandbox_file_name* file_names;  // 560
  std::uint64_t file_type_count;              // 568
  const __aps_sandbox_file_type* file_types;  // 576
  unsigned char flag_584;                     // 584
  unsigned char flag_585;                     // 585
  unsigned char reserved_586[2];              // 586
  std::uint32_t value_588;                    // 588
  std::uint32_t value_592;                    // 592
  std::uint32_t value_596;                    // 596
  unsigned char reserved_600[8];              // 600
  std::uint32_t mode;                         // 608
  std::uint32_t reserved_612;                 // 612
};
typedef struct __aps_sandbox_configuration_t aps_sandbox_configuration_t;
static_assert(sizeof(__aps_sandbox_configuration_t) == 616);
static_assert(offsetof(__aps_sandbox_configuration_t, enabled) == 0);
static_assert(offsetof(__aps_sandbox_configuration_t, value_284) == 284);
static_assert(offsetof(__aps_sandbox_configuration_t, file_name_count) == 552);
static_assert(offsetof(__aps_sandbox_configuration_t, file_names) == 560);
static_assert(offsetof(__aps_sandbox_configuration_t, file_type_count) == 568);
static_assert(offsetof(__aps_sandbox_configuration_t, file_types) == 576);
static_assert(offsetof(__aps_sandbox_configuration_t, flag_584) == 584);
static_assert(offsetof(__aps_sandbox_configuration_t, flag_585) == 585);
static_assert(offsetof(__aps_sandbox_configuration_t, value_588) == 588);
static_assert(offsetof(__aps_sandbox_configuration_t, value_592) == 592);
static_assert(offsetof(__aps_sandbox_configuration_t, value_596) == 596);
static_assert(offsetof(__aps_sandbox_configuration_t, mode) == 608);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kMailServerType;       // __aps_mailserver
KESTRAV_API extern const RecordType kSystemGlobalType;     // __aps_sys_global
KESTRAV_API extern const RecordType kSandboxFileNameType;  // __aps_sandbox_file_name
KESTRAV_API extern const RecordType kSandboxFileTypeType;  // __aps_sandbox_file_type
KESTRAV_API extern const RecordType kSandboxType;          // __aps_sandbox_configuration_t

}  // namespace Kestrav::Config

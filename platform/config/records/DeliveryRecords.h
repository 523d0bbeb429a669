// Encryption and notification profiles, message templates, certificate bindings, attachment
// signatures.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// How a message is encrypted, and what is done when that fails.
struct __vexa_encryption_profile {
  char name[36];                           // 0
  std::uint32_t protocol;                  // 36
  std::uint32_t encryption_algorithm;      // 40
  std::uint32_t value_44;                  // 44
  std::uint32_t action;                    // 48
  std::uint32_t action_on_fail;            // 52
  std::uint32_t ibe_message_distribution;  // 56
  std::uint32_t ibe_max_push_size;         // 60
  std::uint32_t id;                        // 64
};
typedef struct __vexa_encryption_profile vexa_encryption_profile;
static_assert(sizeof(__vexa_encryption_profile) == 68);
static_assert(offsetof(__vexa_encryption_profile, name) == 0);
static_assert(offsetof(__vexa_encryption_profile, protocol) == 36);
static_assert(offsetof(__vexa_encryption_profile, encryption_algorithm) == 40);
static_assert(offsetof(__vexa_encryption_profile, value_44) == 44);
static_assert(offsetof(__vexa_encryption_profile, action) == 48);
static_assert(offsetof(__vexa_encryption_profile, action_on_fail) == 52);
static_assert(offsetof(__vexa_encryption_profile, ibe_message_distribution) == 56);
static_assert(offsetof(__vexa_encryption_profile, ibe_max_push_size) == 60);
static_assert(offsetof(__vexa_encryption_profile, id) == 64);

// A further recipient of notices.
struct __aps_notice_recipient {
  char address[257];  // 0
};
typedef struct __aps_notice_recipient aps_notice_recipient;
static_assert(sizeof(__aps_notice_recipient) == 257);
static_assert(offsetof(__aps_notice_recipient, address) == 0);

// A notice e-mail that is sent when an action fires.
struct __aps_profile_notification {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kNotifySender = 1384 * 8 + 0,
    kNotifyRecipient = 1384 * 8 + 1,
    kNotifyOthers = 1384 * 8 + 2,
  };

  char name[40];                          // 0
  unsigned char attach_original_message;  // 40
  unsigned char reserved_41[3];           // 41
  std::uint32_t id;                       // 44
  std::uint32_t other_recipient_count;    // 48
  unsigned char reserved_52[4];           // 52
  char other_recipients[5][257];          // 56
  char template_name[39];                 // 1341
  std::int32_t subtype;                   // 1380
  std::uint32_t targets;                  // 1384
};
typedef struct __aps_profile_notification aps_profile_notification;
static_assert(sizeof(__aps_profile_notification) == 1388);
static_assert(offsetof(__aps_profile_notification, name) == 0);
static_assert(offsetof(__aps_profile_notification, attach_original_message) == 40);
static_assert(offsetof(__aps_profile_notification, id) == 44);
static_assert(offsetof(__aps_profile_notification, other_recipient_count) == 48);
static_assert(offsetof(__aps_profile_notification, other_recipients) == 56);
static_assert(offsetof(__aps_profile_notification, template_name) == 1341);
static_assert(offsetof(__aps_profile_notification, subtype) == 1380);
static_assert(offsetof(__aps_profile_notification, targets) == 1384);

// A template of messages that the gateway sends.
struct __aps_cmsg_type {
  char name[40];       // 0
  std::uint32_t id;    // 40
  std::uint32_t type;  // 44
  char subject[256];   // 48
  char text[3072];     // 304
  char html[3072];     // 3376
};
typedef struct __aps_cmsg_type aps_cmsg_type;
static_assert(sizeof(__aps_cmsg_type) == 6448);
static_assert(offsetof(__aps_cmsg_type, name) == 0);
static_assert(offsetof(__aps_cmsg_type, id) == 40);
static_assert(offsetof(__aps_cmsg_type, type) == 44);
static_assert(offsetof(__aps_cmsg_type, subject) == 48);
static_assert(offsetof(__aps_cmsg_type, text) == 304);
static_assert(offsetof(__aps_cmsg_type, html) == 3376);

// Ties an e-mail address pattern to a key pair and certificate.
struct __vexa_certificate_binding {
  enum Bit : std::uint32_t {  // byte * 8 + bit
    kEncryption = 268 * 8 + 0,
    kSigning = 268 * 8 + 1,
  };

  std::int32_t id;          // 0
  char owner[260];          // 4
  std::uint32_t key_type;   // 264
  std::uint32_t key_usage;  // 268
  char name[256];           // 272
  char private_key[10240];  // 528
  char certificate[10240];  // 10768
  char pass_phrase[384];    // 21008
  std::int32_t status;      // 21392
};
typedef struct __vexa_certificate_binding vexa_certificate_binding;
static_assert(sizeof(__vexa_certificate_binding) == 21396);
static_assert(offsetof(__vexa_certificate_binding, id) == 0);
static_assert(offsetof(__vexa_certificate_binding, owner) == 4);
static_assert(offsetof(__vexa_certificate_binding, key_type) == 264);
static_assert(offsetof(__vexa_certificate_binding, key_usage) == 268);
static_assert(offsetof(__vexa_certificate_binding, name) == 272);
static_assert(offsetof(__vexa_certificate_binding, private_key) == 528);
static_assert(offsetof(__vexa_certificate_binding, certificate) == 10768);
static_assert(offsetof(__vexa_certificate_binding, pass_phrase) == 21008);
static_assert(offsetof(__vexa_certificate_binding, status) == 21392);

// The hash of a known attachment.
struct __aps_attachment_signature {
  std::uint32_t type;  // 0
  char hash[64];       // 4
  char comment[128];   // 68
  std::uint32_t id;    // 196
};
typedef struct __aps_attachment_signature aps_attachment_signature;
static_assert(sizeof(__aps_attachment_signature) == 200);
static_assert(offsetof(__aps_attachment_signature, type) == 0);
static_assert(offsetof(__aps_attachment_signature, hash) == 4);
static_assert(offsetof(__aps_attachment_signature, comment) == 68);
static_assert(offsetof(__aps_attachment_signature, id) == 196);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kEncryptionProfileType;    // __vexa_encryption_profile
KESTRAV_API extern const RecordType kNoticeRecipientType;      // __aps_notice_recipient
KESTRAV_API extern const RecordType kNotificationProfileType;  // __aps_profile_notification
KESTRAV_API extern const RecordType kCustomMessageType;        // __aps_cmsg_type
KESTRAV_API extern const RecordType kCertificateBindingType;   // __vexa_certificate_binding
KESTRAV_API extern const RecordType kAttachmentSignatureType;  // __aps_attachment_signature

}  // namespace Kestrav::Config

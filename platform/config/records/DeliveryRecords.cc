#include "platform/config/records/DeliveryRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kKeyTypes[] = {
    {"s-mime", 0},
};

constexpr Choice kBindingStatuses[] = {
    {"unknown", 0}, {"ok", 1}, {"expired", 2}, {"revoked", 3}, {"invalid", 4},
};

constexpr Choice kEncryptionProtocols[] = {
    {"s-mime", 0},
    {"ibe", 1},
};

constexpr Choice kMessageDistributions[] = {
    {"push", 0},
    {"pull", 1},
};

constexpr Choice kEncryptionFailureActions[] = {
    {"send-plain", 0},
    {"reject", 1},
};

namespace of_vexa_encryption_profile {
using Record = ::__vexa_encryption_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which actions refer to the profile."),
    words("protocol", AT(protocol), kEncryptionProtocols).help("Protocol."),
    number("encryption-algorithm", AT(encryption_algorithm))
        .help("Number of the encryption algorithm."),
    number("value", AT(value_44)).help("Value that is carried along."),
    number("action", AT(action)).help("Number of the action."),
    words("action-on-fail", AT(action_on_fail), kEncryptionFailureActions)
        .help("What is done when encryption fails."),
    words("ibe-message-distribution", AT(ibe_message_distribution), kMessageDistributions)
        .help("How an identity-based encrypted message reaches its recipient."),
    number("ibe-max-push-size", AT(ibe_max_push_size))
        .help("Largest identity-based encrypted message that is pushed."),
    ownId("id", AT(id)),
};
}  // namespace of_vexa_encryption_profile
constexpr RecordType kEncryptionProfileType{"__vexa_encryption_profile",
                                            sizeof(::__vexa_encryption_profile),
                                            of_vexa_encryption_profile::kFields};
static_assert(coversEveryByte(kEncryptionProfileType) && isWellFormed(kEncryptionProfileType));

namespace of_aps_notice_recipient {
using Record = ::__aps_notice_recipient;
constexpr Field kFields[] = {
    text("address", AT(address)).syntax("email").help("E-mail address."),
};
}  // namespace of_aps_notice_recipient
constexpr RecordType kNoticeRecipientType{
    "__aps_notice_recipient", sizeof(::__aps_notice_recipient), of_aps_notice_recipient::kFields};
static_assert(coversEveryByte(kNoticeRecipientType) && isWellFormed(kNoticeRecipientType));

namespace of_aps_profile_notification {
using Record = ::__aps_profile_notification;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which actions refer to the profile."),
    boolean("attach-original", AT(attach_original_message)).help("Attach the original message."),
    reserved("reserved-41", AT(reserved_41)),
    ownId("id", AT(id)),
    array("other-recipients", offsetof(Record, other_recipient_count),
          8 + sizeof(Record::other_recipients), &kNoticeRecipientType, 5)
        .help("Further recipients; used when the target others is on."),
    textReference("template", AT(template_name), GID_CUSTOM_MESSAGE)
        .help("Message template of the notice."),
    signedNumber("subtype", AT(subtype)).help("Number of the kind of notice."),
    bit("notify-sender", AT(targets), Record::kNotifySender).help("Notify the sender."),
    bit("notify-recipient", AT(targets), Record::kNotifyRecipient).help("Notify the recipient."),
    bit("notify-others", AT(targets), Record::kNotifyOthers).help("Notify the further recipients."),
};
}  // namespace of_aps_profile_notification
constexpr RecordType kNotificationProfileType{"__aps_profile_notification",
                                              sizeof(::__aps_profile_notification),
                                              of_aps_profile_notification::kFields};
static_assert(coversEveryByte(kNotificationProfileType) && isWellFormed(kNotificationProfileType));

namespace of_aps_cmsg_type {
using Record = ::__aps_cmsg_type;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name of the template."),
    ownId("id", AT(id)),
    number("type", AT(type)).help("Number of the kind of message."),
    text("subject", AT(subject)).syntax("header-value").help("Subject of the message."),
    text("text", AT(text)).syntax("text").help("Body in plain text."),
    text("html", AT(html)).syntax("text").help("Body in HTML."),
};
}  // namespace of_aps_cmsg_type
constexpr RecordType kCustomMessageType{"__aps_cmsg_type", sizeof(::__aps_cmsg_type),
                                        of_aps_cmsg_type::kFields};
static_assert(coversEveryByte(kCustomMessageType) && isWellFormed(kCustomMessageType));

namespace of_vexa_certificate_binding {
using Record = ::__vexa_certificate_binding;
constexpr Field kFields[] = {
    ownId("id", AT(id)),
    text("owner", AT(owner)).required().syntax("pattern").help("Pattern of the owners' addresses."),
    words("key-type", AT(key_type), kKeyTypes).help("Type of the key."),
    bit("encryption", AT(key_usage), Record::kEncryption)
        .defaultsTo(1)
        .help("The key pair encrypts and decrypts."),
    bit("signing", AT(key_usage), Record::kSigning).defaultsTo(1).help("The key pair signs."),
    text("name", AT(name)).required().help("Name of the binding."),
    text("private-key", AT(private_key))
        .syntax("text")
        .secret()
        .help("Private key, or the absolute path of a file that holds it."),
    text("certificate", AT(certificate)).syntax("text").help("Certificate."),
    text("pass-phrase", AT(pass_phrase))
        .syntax("text")
        .secret()
        .help("Pass phrase of the private key."),
    words("status", AT(status), kBindingStatuses).help("Outcome of the latest verification."),
};
}  // namespace of_vexa_certificate_binding
constexpr RecordType kCertificateBindingType{"__vexa_certificate_binding",
                                             sizeof(::__vexa_certificate_binding),
                                             of_vexa_certificate_binding::kFields};
static_assert(coversEveryByte(kCertificateBindingType) && isWellFormed(kCertificateBindingType));

namespace of_aps_attachment_signature {
using Record = ::__aps_attachment_signature;
constexpr Field kFields[] = {
    number("type", AT(type)).help("Number of the hash type."),
    text("hash", AT(hash)).required().help("Hash in hexadecimal."),
    text("comment", AT(comment)).syntax("text").help("What the attachment is."),
    ownId("id", AT(id)),
};
}  // namespace of_aps_attachment_signature
constexpr RecordType kAttachmentSignatureType{"__aps_attachment_signature",
                                              sizeof(::__aps_attachment_signature),
                                              of_aps_attachment_signature::kFields};
static_assert(coversEveryByte(kAttachmentSignatureType) && isWellFormed(kAttachmentSignatureType));

}  // namespace Kestrav::Config

#include "platform/config/records/ContentRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kContentDispositions[] = {
    {"none", ::__aps_content_action::kNone},
    {"discard", ::__aps_content_action::kDiscard},
    {"reject", ::__aps_content_action::kReject},
    {"personal-quarantine", ::__aps_content_action::kPersonalQuarantine},
    {"system-quarantine", ::__aps_content_action::kSystemQuarantine},
    {"rewrite-recipient", ::__aps_content_action::kRewriteRecipient},
    {"replace", ::__aps_content_action::kReplace},
    {"encrypt", ::__aps_content_action::kEncrypt},
    {"defer", ::__aps_content_action::kDefer},
};

namespace of_attachment_file_pattern_id {
using Record = ::__attachment_file_pattern_id;
constexpr Field kFields[] = {
    reference("file-pattern", AT(id), GID_FILE_PATTERN).help("File pattern."),
};
}  // namespace of_attachment_file_pattern_id
constexpr RecordType kFilePatternIdType{"__attachment_file_pattern_id",
                                        sizeof(::__attachment_file_pattern_id),
                                        of_attachment_file_pattern_id::kFields};
static_assert(coversEveryByte(kFilePatternIdType) && isWellFormed(kFilePatternIdType));

namespace of_aps_attachment_filter {
using Record = ::__aps_attachment_filter;
constexpr Field kFields[] = {
    reserved("reserved-0", AT(reserved_0)),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The filter is applied."),
    reserved("reserved-5", AT(reserved_5)),
    array("file-patterns", offsetof(Record, file_pattern_id_count),
          8 + sizeof(Record::file_pattern_ids), &kFilePatternIdType, 32)
        .help("File patterns of which any may match."),
    reference("action", AT(action), GID_CONTENT_ACTION)
        .help("Action on a match; the profile's own when there is none."),
    reserved("reserved-148", AT(reserved_148)),
};
}  // namespace of_aps_attachment_filter
constexpr RecordType kAttachmentFilterType{"__aps_attachment_filter",
                                           sizeof(::__aps_attachment_filter),
                                           of_aps_attachment_filter::kFields};
static_assert(coversEveryByte(kAttachmentFilterType) && isWellFormed(kAttachmentFilterType));

namespace of_aps_content_monitor {
using Record = ::__aps_content_monitor;
constexpr Field kFields[] = {
    reserved("reserved-0", AT(reserved_0)),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The scan is run."),
    textReference("dictionary", AT(dictionary), GID_DICTIONARY).help("Dictionary to scan with."),
    textReference("dictionary-group", AT(dictionary_group), GID_DICTIONARY_GROUP)
        .help("Dictionary group to scan with."),
    boolean("use-dictionary", AT(use_dictionary))
        .help("Scan with the dictionary rather than with the group."),
    reserved("reserved-518", AT(reserved_518)),
    signedNumber("min-score", AT(min_score))
        .defaultsTo(1)
        .help("Score from which the action is taken."),
    reference("action", AT(action), GID_CONTENT_ACTION).help("Action on a match."),
    bit("scan-headers", AT(scan_area), Record::kScanHeaders).help("Scan headers."),
    bit("scan-body", AT(scan_area), Record::kScanBody).defaultsTo(1).help("Scan the body."),
    bit("scan-attachments", AT(scan_area), Record::kScanAttachments).help("Scan attachments."),
    reserved("reserved-529", AT(reserved_529)),
};
}  // namespace of_aps_content_monitor
constexpr RecordType kContentMonitorType{"__aps_content_monitor", sizeof(::__aps_content_monitor),
                                         of_aps_content_monitor::kFields};
static_assert(coversEveryByte(kContentMonitorType) && isWellFormed(kContentMonitorType));

namespace of_aps_gw_content_profile {
using Record = ::__aps_gw_content_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    reserved("reserved-260", AT(reserved_260)),
    boolean("outgoing", AT(outgoing)).help("The profile is meant for outgoing mail."),
    reserved("reserved-273", AT(reserved_273)),
    bit("archive-checks", AT(options), Record::kArchiveChecks).help("Look into archives."),
    bit("embedded-checks", AT(options), Record::kEmbeddedChecks)
        .help("Look into embedded objects."),
    bit("block-without-attachment", AT(options), Record::kBlockWithoutAttachment)
        .help("Block messages without attachment."),
    bit("block-partial", AT(options), Record::kBlockPartial).help("Block partial messages."),
    bit("scan-attachments", AT(options), Record::kScanAttachments).help("Parse attachments."),
    bit("defer-large-messages", AT(options), Record::kDeferLargeMessages)
        .help("Defer the delivery of large messages."),
    bit("limit-attachments", AT(options), Record::kLimitAttachments)
        .help("Limit the number of attachments."),
    bit("bypass-on-authentication", AT(options), Record::kBypassOnAuthentication)
        .help("Do not scan messages of authenticated senders."),
    bit("remove-hidden-html", AT(options), Record::kRemoveHiddenHtml)
        .help("Remove hidden HTML content."),
    bit("block-uncompress-failure", AT(archive_options), Record::kBlockUncompressFailure)
        .help("Block archives that cannot be unpacked."),
    bit("block-protected-archive", AT(archive_options), Record::kBlockProtectedArchive)
        .help("Block archives that need a password."),
    bit("block-deep-recursion", AT(archive_options), Record::kBlockDeepRecursion)
        .help("Block archives nested too deep."),
    number("embedded-options", AT(embedded_options))
        .help("Bits of the embedded object checks, handed to the daemons."),
    number("max-attachments", AT(max_attachments)).help("Most attachments of a message."),
    number("max-recursion", AT(max_recursion))
        .defaultsTo(12)
        .help("Most levels of nested archives."),
    number("deferred-size", AT(deferred_size))
        .range(0, 4294967)
        .unit("thousand bytes")
        .help("Size from which messages are deferred."),
    reference("action", AT(action), GID_CONTENT_ACTION).help("The profile's own action."),
    reserved("reserved-308", AT(reserved_308)),
    list("attachment-filters", offsetof(Record, attachment_filter_count), &kAttachmentFilterType)
        .help("Filters, the first match counts."),
    reserved("reserved-336", AT(reserved_336)),
    list("content-monitors", offsetof(Record, content_monitor_count), &kContentMonitorType)
        .help("Dictionary scans in order."),
};
}  // namespace of_aps_gw_content_profile
constexpr RecordType kContentProfileType{"__aps_gw_content_profile",
                                         sizeof(::__aps_gw_content_profile),
                                         of_aps_gw_content_profile::kFields};
static_assert(coversEveryByte(kContentProfileType) && isWellFormed(kContentProfileType));

namespace of_aps_content_action {
using Record = ::__aps_content_action;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which profiles refer to the action."),
    ownId("id", AT(id)),
    words("disposition", AT(disposition), kContentDispositions)
        .help("Where the message goes in the end."),
    reserved("reserved-37", AT(reserved_37)),
    bit("insert-header", AT(tags), Record::kInsertHeader).help("Insert the header."),
    bit("tag-subject", AT(tags), Record::kTagSubject)
        .help("Put the subject tag in front of the subject."),
    reserved("reserved-39", AT(reserved_39)),
    embedded("rewrite-local", AT(rewrite_local), &kAddressModificationType)
        .help("How the local part of the recipient is rewritten."),
    embedded("rewrite-domain", AT(rewrite_domain), &kAddressModificationType)
        .help("How the domain of the recipient is rewritten."),
    text("subject-tag", AT(subject_tag)).help("Subject tag; empty for the built-in one."),
    text("header-name", AT(header_name))
        .syntax("header-name")
        .help("Name of the header to insert; empty for the built-in one."),
    text("header-value", AT(header_value))
        .syntax("header-value")
        .help("Value of the header to insert."),
    boolean("use-alternate-host", AT(use_alternate_host)).help("Deliver to the alternate host."),
    text("alternate-host", AT(alternate_host)).syntax("host").help("Host to deliver to."),
    boolean("use-blind-copy", AT(use_blind_copy)).help("Send blind copies."),
    text("blind-copy", AT(blind_copy)).syntax("email-list").help("Recipients of blind copies."),
    reference("encryption", AT(encryption), GID_ENCRYPTION_PROFILE)
        .help("Encryption profile for the disposition encrypt."),
    reserved("reserved-2120", AT(reserved_2120)),
    boolean("archive", AT(archive)).help("Archive the message."),
    reserved("reserved-2125", AT(reserved_2125)),
    number("archive-recipient-id", AT(archive_recipient_id)).help("Number of the archive account."),
    boolean("notify", AT(notify)).help("Send a notice."),
    reserved("reserved-2133", AT(reserved_2133)),
    reference("notification", AT(notification), GID_NOTIFICATION_PROFILE)
        .help("Notification profile of the notice."),
    reference("quarantine-folder", AT(quarantine_folder), GID_QUARANTINE_FOLDER)
        .help("Folder for the disposition system-quarantine."),
};
}  // namespace of_aps_content_action
constexpr RecordType kContentActionType{"__aps_content_action", sizeof(::__aps_content_action),
                                        of_aps_content_action::kFields};
static_assert(coversEveryByte(kContentActionType) && isWellFormed(kContentActionType));

namespace of_attachment_file_pattern {
using Record = ::__attachment_file_pattern;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which filters refer to the file pattern."),
    text("mime-types", AT(mime_types))
        .syntax("regex-list")
        .help("MIME type patterns, separated by commas."),
    text("file-names", AT(file_names))
        .syntax("pattern-list")
        .help("File name patterns, separated by commas."),
    reserved("reserved-3331", AT(reserved_3331)),
    ownId("id", AT(id)),
};
}  // namespace of_attachment_file_pattern
constexpr RecordType kFilePatternType{"__attachment_file_pattern",
                                      sizeof(::__attachment_file_pattern),
                                      of_attachment_file_pattern::kFields};
static_assert(coversEveryByte(kFilePatternType) && isWellFormed(kFilePatternType));

namespace of_aps_dlp_rule_entry {
using Record = ::__aps_dlp_rule_entry;
constexpr Field kFields[] = {
    reserved("reserved-0", AT(reserved_0)),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The rule is applied."),
    reserved("reserved-5", AT(reserved_5)),
    number("rule", AT(rule_id)).required().help("Number of the rule."),
    reference("action", AT(action), GID_CONTENT_ACTION)
        .help("Action on a match; the profile's own when there is none."),
};
}  // namespace of_aps_dlp_rule_entry
constexpr RecordType kDlpRuleEntryType{"__aps_dlp_rule_entry", sizeof(::__aps_dlp_rule_entry),
                                       of_aps_dlp_rule_entry::kFields};
static_assert(coversEveryByte(kDlpRuleEntryType) && isWellFormed(kDlpRuleEntryType));

namespace of_aps_dlp_profile {
using Record = ::__aps_dlp_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    reserved("reserved-260", AT(reserved_260)),
    reference("action", AT(action), GID_CONTENT_ACTION).help("The profile's own action."),
    reserved("reserved-388", AT(reserved_388)),
    list("rules", offsetof(Record, rule_count), &kDlpRuleEntryType)
        .help("Rules, the first match counts."),
};
}  // namespace of_aps_dlp_profile
constexpr RecordType kDlpProfileType{"__aps_dlp_profile", sizeof(::__aps_dlp_profile),
                                     of_aps_dlp_profile::kFields};
static_assert(coversEveryByte(kDlpProfileType) && isWellFormed(kDlpProfileType));

}  // namespace Kestrav::Config

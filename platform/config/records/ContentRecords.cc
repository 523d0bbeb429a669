#include "platform/config/records/ContentRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kContentDispositions[] = {
    {"none", 0},
    {"discard", 1},
    {"reject", 2},
    {"personal-quarantine", 4},
    {"system-quarantine", 8},
    {"rewrite-recipient", 16},
    {"replace", 32},
    {"encrypt", 64},
    {"defer", 128},
};

namespace of_attachment_file_pattern_id {
using Record = ::__attachment_file_pattern_id;
constexpr Field kFields[] = {
    reference("file-pattern", AT(id), GID_FILE_PATTERN).says("File pattern."),
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
    boolean("enabled", AT(enabled)).byDefault(1).says("The filter is applied."),
    reserved("reserved-5", AT(reserved_5)),
    array("file-patterns", offsetof(Record, file_pattern_id_count),
          8 + sizeof(Record::file_pattern_ids), &kFilePatternIdType, 32)
        .says("File patterns of which any may match."),
    reference("action", AT(action), GID_CONTENT_ACTION)
        .says("Action on a match; the profile's own when there is none."),
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
    boolean("enabled", AT(enabled)).byDefault(1).says("The scan is run."),
    textReference("dictionary", AT(dictionary), GID_DICTIONARY).says("Dictionary to scan with."),
    textReference("dictionary-group", AT(dictionary_group), GID_DICTIONARY_GROUP)
        .says("Dictionary group to scan with."),
    boolean("use-dictionary", AT(use_dictionary))
        .says("Scan with the dictionary rather than with the group."),
    reserved("reserved-518", AT(reserved_518)),
    signedNumber("min-score", AT(min_score))
        .byDefault(1)
        .says("Score from which the action is taken."),
    reference("action", AT(action), GID_CONTENT_ACTION).says("Action on a match."),
    bit("scan-headers", AT(scan_area), 0).says("Scan headers."),
    bit("scan-body", AT(scan_area), 1).byDefault(1).says("Scan the body."),
    bit("scan-attachments", AT(scan_area), 2).says("Scan attachments."),
    reserved("reserved-529", AT(reserved_529)),
};
}  // namespace of_aps_content_monitor
constexpr RecordType kContentMonitorType{"__aps_content_monitor", sizeof(::__aps_content_monitor),
                                         of_aps_content_monitor::kFields};
static_assert(coversEveryByte(kContentMonitorType) && isWellFormed(kContentMonitorType));

namespace of_aps_gw_content_profile {
using Record = ::__aps_gw_content_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).needed().says("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    reserved("reserved-260", AT(reserved_260)),
    boolean("outgoing", AT(outgoing)).says("The profile is meant for outgoing mail."),
    reserved("reserved-273", AT(reserved_273)),
    bit("archive-checks", AT(options), 0).says("Look into archives."),
    bit("embedded-checks", AT(options), 1).says("Look into embedded objects."),
    bit("block-without-attachment", AT(options), 2).says("Block messages without attachment."),
    bit("block-partial", AT(options), 3).says("Block partial messages."),
    bit("scan-attachments", AT(options), 4).says("Parse attachments."),
    bit("defer-large-messages", AT(options), 5).says("Defer the delivery of large messages."),
    bit("limit-attachments", AT(options), 6).says("Limit the number of attachments."),
    bit("bypass-on-authentication", AT(options), 7)
        .says("Do not scan messages of authenticated senders."),
    bit("remove-hidden-html", AT(options), 8).says("Remove hidden HTML content."),
    bit("block-uncompress-failure", AT(archive_options), 0)
        .says("Block archives that cannot be unpacked."),
    bit("block-protected-archive", AT(archive_options), 1)
        .says("Block archives that need a password."),
    bit("block-deep-recursion", AT(archive_options), 2).says("Block archives nested too deep."),
    number("embedded-options", AT(embedded_options))
        .says("Bits of the embedded object checks, handed to the daemons."),
    number("max-attachments", AT(max_attachments)).says("Most attachments of a message."),
    number("max-recursion", AT(max_recursion))
        .byDefault(12)
        .says("Most levels of nested archives."),
    number("deferred-size", AT(deferred_size))
        .within(0, 4294967)
        .measuredIn("thousand bytes")
        .says("Size from which messages are deferred."),
    reference("action", AT(action), GID_CONTENT_ACTION).says("The profile's own action."),
    reserved("reserved-308", AT(reserved_308)),
    list("attachment-filters", offsetof(Record, attachment_filter_count), &kAttachmentFilterType)
        .says("Filters, the first match counts."),
    reserved("reserved-336", AT(reserved_336)),
    list("content-monitors", offsetof(Record, content_monitor_count), &kContentMonitorType)
        .says("Dictionary scans in order."),
};
}  // namespace of_aps_gw_content_profile
constexpr RecordType kContentProfileType{"__aps_gw_content_profile",
                                         sizeof(::__aps_gw_content_profile),
                                         of_aps_gw_content_profile::kFields};
static_assert(coversEveryByte(kContentProfileType) && isWellFormed(kContentProfileType));

namespace of_aps_content_action {
using Record = ::__aps_content_action;
constexpr Field kFields[] = {
    text("name", AT(name)).needed().says("Name by which profiles refer to the action."),
    ownId("id", AT(id)),
    words("disposition", AT(disposition), kContentDispositions)
        .says("Where the message goes in the end."),
    reserved("reserved-37", AT(reserved_37)),
    bit("insert-header", AT(tags), 0).says("Insert the header."),
    bit("tag-subject", AT(tags), 1).says("Put the subject tag in front of the subject."),
    reserved("reserved-39", AT(reserved_39)),
    embedded("rewrite-local", AT(rewrite_local), &kAddressModificationType)
        .says("How the local part of the recipient is rewritten."),
    embedded("rewrite-domain", AT(rewrite_domain), &kAddressModificationType)
        .says("How the domain of the recipient is rewritten."),
    text("subject-tag", AT(subject_tag)).says("Subject tag; empty for the built-in one."),
    text("header-name", AT(header_name))
        .writtenAs("header-name")
        .says("Name of the header to insert; empty for the built-in one."),
    text("header-value", AT(header_value))
        .writtenAs("header-value")
        .says("Value of the header to insert."),
    boolean("use-alternate-host", AT(use_alternate_host)).says("Deliver to the alternate host."),
    text("alternate-host", AT(alternate_host)).writtenAs("host").says("Host to deliver to."),
    boolean("use-blind-copy", AT(use_blind_copy)).says("Send blind copies."),
    text("blind-copy", AT(blind_copy)).writtenAs("email-list").says("Recipients of blind copies."),
    reference("encryption", AT(encryption), GID_ENCRYPTION_PROFILE)
        .says("Encryption profile for the disposition encrypt."),
    reserved("reserved-2120", AT(reserved_2120)),
    boolean("archive", AT(archive)).says("Archive the message."),
    reserved("reserved-2125", AT(reserved_2125)),
    number("archive-recipient-id", AT(archive_recipient_id)).says("Number of the archive account."),
    boolean("notify", AT(notify)).says("Send a notice."),
    reserved("reserved-2133", AT(reserved_2133)),
    reference("notification", AT(notification), GID_NOTIFICATION_PROFILE)
        .says("Notification profile of the notice."),
    reference("quarantine-folder", AT(quarantine_folder), GID_QUARANTINE_FOLDER)
        .says("Folder for the disposition system-quarantine."),
};
}  // namespace of_aps_content_action
constexpr RecordType kContentActionType{"__aps_content_action", sizeof(::__aps_content_action),
                                        of_aps_content_action::kFields};
static_assert(coversEveryByte(kContentActionType) && isWellFormed(kContentActionType));

namespace of_attachment_file_pattern {
using Record = ::__attachment_file_pattern;
constexpr Field kFields[] = {
    text("name", AT(name)).needed().says("Name by which filters refer to the file pattern."),
    text("mime-types", AT(mime_types))
        .writtenAs("regex-list")
        .says("MIME type patterns, separated by commas."),
    text("file-names", AT(file_names))
        .writtenAs("pattern-list")
        .says("File name patterns, separated by commas."),
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
    boolean("enabled", AT(enabled)).byDefault(1).says("The rule is applied."),
    reserved("reserved-5", AT(reserved_5)),
    number("rule", AT(rule_id)).needed().says("Number of the rule."),
    reference("action", AT(action), GID_CONTENT_ACTION)
        .says("Action on a match; the profile's own when there is none."),
};
}  // namespace of_aps_dlp_rule_entry
constexpr RecordType kDlpRuleEntryType{"__aps_dlp_rule_entry", sizeof(::__aps_dlp_rule_entry),
                                       of_aps_dlp_rule_entry::kFields};
static_assert(coversEveryByte(kDlpRuleEntryType) && isWellFormed(kDlpRuleEntryType));

namespace of_aps_dlp_profile {
using Record = ::__aps_dlp_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).needed().says("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    reserved("reserved-260", AT(reserved_260)),
    reference("action", AT(action), GID_CONTENT_ACTION).says("The profile's own action."),
    reserved("reserved-388", AT(reserved_388)),
    list("rules", offsetof(Record, rule_count), &kDlpRuleEntryType)
        .says("Rules, the first match counts."),
};
}  // namespace of_aps_dlp_profile
constexpr RecordType kDlpProfileType{"__aps_dlp_profile", sizeof(::__aps_dlp_profile),
                                     of_aps_dlp_profile::kFields};
static_assert(coversEveryByte(kDlpProfileType) && isWellFormed(kDlpProfileType));

}  // namespace Kestrav::Config

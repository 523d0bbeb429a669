#include "platform/config/records/AntivirusRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kVirusDispositions[] = {
    {"none", ::aps_antivirus_action::kNone},
    {"discard", ::aps_antivirus_action::kDiscard},
    {"reject", ::aps_antivirus_action::kReject},
    {"rewrite-recipient", ::aps_antivirus_action::kRewriteRecipient},
    {"repackage", ::aps_antivirus_action::kRepackage},
    {"repackage-with-notice", ::aps_antivirus_action::kRepackageWithNotice},
    {"replace", ::aps_antivirus_action::kReplace},
    {"system-quarantine", ::aps_antivirus_action::kSystemQuarantine},
};

namespace of_aps_gw_av_profile {
using Record = ::__aps_gw_av_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    bit("scan-kind-0", AT(scanners), Record::kScanKind0).help("Run scan kind 0."),
    bit("scan-kind-2", AT(scanners), Record::kScanKind2).help("Run scan kind 2."),
    bit("scan-kinds-5-to-8", AT(scanners), Record::kScanKinds5To8)
        .help("Run scan kinds 5, 6, 7 and 8."),
    bit("scan-kind-4", AT(scanners), Record::kScanKind4).help("Run scan kind 4."),
    reserved("reserved-261", AT(reserved_261)),
    boolean("scan-kind-1", AT(scan_kind_1)).help("Run scan kind 1."),
    boolean("scan-kind-3", AT(scan_kind_3)).help("Run scan kind 3."),
    reserved("reserved-266", AT(reserved_266)),
    reference("action-0", AT(action_0), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 0, and of every kind that has none of its own."),
    reference("action-1", AT(action_1), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 1."),
    reference("action-2", AT(action_2), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 2."),
    reserved("reserved-280", AT(reserved_280)),
    reference("action-4", AT(action_4), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 4."),
    reference("action-5", AT(action_5), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 5."),
    reference("action-6", AT(action_6), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 6."),
    reference("action-7", AT(action_7), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 7."),
    reference("action-8", AT(action_8), GID_ANTIVIRUS_ACTION)
        .help("Action on a verdict of scan kind 8."),
};
}  // namespace of_aps_gw_av_profile
constexpr RecordType kAntivirusProfileType{"__aps_gw_av_profile", sizeof(::__aps_gw_av_profile),
                                           of_aps_gw_av_profile::kFields};
static_assert(coversEveryByte(kAntivirusProfileType) && isWellFormed(kAntivirusProfileType));

namespace of_aps_antivirus_action {
using Record = ::aps_antivirus_action;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which profiles refer to the action."),
    ownId("id", AT(id)),
    words("disposition", AT(disposition), kVirusDispositions)
        .help("Where the message goes in the end."),
    boolean("tag-subject", AT(tag_subject)).help("Put the subject tag in front of the subject."),
    boolean("insert-header", AT(insert_header)).help("Insert the header."),
    boolean("use-alternate-host", AT(use_alternate_host)).help("Deliver to the alternate host."),
    boolean("use-blind-copy", AT(use_blind_copy)).help("Send blind copies."),
    text("subject-tag", AT(subject_tag)).help("Subject tag; empty for the built-in one."),
    text("header-name", AT(header_name))
        .syntax("header-name")
        .help("Name of the header to insert; empty for the built-in one."),
    text("header-value", AT(header_value))
        .syntax("header-value")
        .help("Value of the header to insert."),
    reserved("reserved-243", AT(reserved_243)),
    embedded("rewrite-local", AT(rewrite_local), &kAddressModificationType)
        .help("How the local part of the recipient is rewritten."),
    embedded("rewrite-domain", AT(rewrite_domain), &kAddressModificationType)
        .help("How the domain of the recipient is rewritten."),
    text("alternate-host", AT(alternate_host)).syntax("host").help("Host to deliver to."),
    text("blind-copy", AT(blind_copy)).syntax("email-list").help("Recipients of blind copies."),
    boolean("notify", AT(notify)).help("Send a notice."),
    reserved("reserved-2121", AT(reserved_2121)),
    reference("notification", AT(notification), GID_NOTIFICATION_PROFILE)
        .help("Notification profile of the notice."),
    reference("quarantine-folder", AT(quarantine_folder), GID_QUARANTINE_FOLDER)
        .help("Folder for the disposition system-quarantine."),
};
}  // namespace of_aps_antivirus_action
constexpr RecordType kAntivirusActionType{"aps_antivirus_action", sizeof(::aps_antivirus_action),
                                          of_aps_antivirus_action::kFields};
static_assert(coversEveryByte(kAntivirusActionType) && isWellFormed(kAntivirusActionType));

}  // namespace Kestrav::Config

#include "platform/config/records/AntispamRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kSpamDispositions[] = {
    {"none", 0},
    {"discard", 1},
    {"reject", 2},
    {"personal-quarantine", 4},
    {"system-quarantine", 8},
    {"rewrite-recipient", 16},
};

constexpr G_CLI_GID kOrGroup[] = {GID_DICTIONARY_GROUP};
constexpr Choice kDictionaryNameKinds[] = {
    {"group", 0},
    {"dictionary", 1},
};

namespace of_aps_as_word_entry {
using Record = ::__aps_as_word_entry;
constexpr Field kFields[] = {
    text("word", AT(text)).needed().says("Word or phrase to look for."),
    reserved("reserved-256", AT(reserved_256)),
    boolean("in-body", AT(in_body)).byDefault(1).says("Look for it in the body."),
    boolean("in-subject", AT(in_subject)).byDefault(1).says("Look for it in the subject."),
};
}  // namespace of_aps_as_word_entry
constexpr RecordType kWordEntryType{"__aps_as_word_entry", sizeof(::__aps_as_word_entry),
                                    of_aps_as_word_entry::kFields};
static_assert(coversEveryByte(kWordEntryType) && isWellFormed(kWordEntryType));

namespace of_aps_gw_as_profile {
using Record = ::__aps_gw_as_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).needed().says("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    bit("heuristic", AT(scanners), 0).says("Score the message by heuristic rules."),
    bit("bayesian", AT(scanners), 1).says("Run the Bayesian filter."),
    bit("cloud", AT(scanners), 3).says("Ask the cloud rating service."),
    bit("rbl", AT(scanners), 4).says("Ask DNS block lists about the sender's address."),
    bit("surbl", AT(scanners), 5).says("Ask URI block lists about links."),
    bit("banned-words", AT(scanners), 6).says("Look for banned words."),
    bit("image-spam", AT(scanners), 7).says("Scan images."),
    bit("fast-image-scan", AT(scan_options), 0).says("Scan images fast rather than thoroughly."),
    bit("behavior", AT(scan_options), 1).says("Analyse the sender's behaviour."),
    bit("spam-outbreak", AT(scan_options), 2)
        .says("Hold back messages that look like the start of an outbreak."),
    bit("greylist", AT(session_options), 7).says("Put unknown senders off once."),
    bit("bypass-on-authentication", AT(classifier_options), 0)
        .says("Do not scan messages of authenticated senders."),
    bit("bayesian-option-1", AT(classifier_options), 3)
        .says("First option of the Bayesian filter."),
    bit("bayesian-option-2", AT(classifier_options), 4)
        .says("Second option of the Bayesian filter; needs the whole message parsed."),
    bit("cloud-secondary-check", AT(classifier_options), 5)
        .says("Ask the cloud rating service a second time for doubtful messages."),
    bit("deep-header", AT(classifier_options), 6).says("Analyse headers in depth."),
    bit("cloud-extended-check", AT(classifier_options), 7)
        .says("Ask the cloud rating service for its extended verdict."),
    boolean("uri-category-check", AT(uri_category_check))
        .says("Rate links by category; needs a web filter."),
    boolean("dictionary-scan", AT(dictionary_scan))
        .says("Look for entries of a dictionary or dictionary group."),
    boolean("white-words-scan", AT(white_words_scan)).says("Let white words clear a message."),
    boolean("spf-failure-is-spam", AT(spf_failure_is_spam)).says("Take an SPF failure for spam."),
    boolean("suspicious-newsletter", AT(suspicious_newsletter))
        .says("Look for suspicious newsletters."),
    boolean("newsletter", AT(newsletter)).says("Look for newsletters."),
    reserved("reserved-270", AT(reserved_270)),
    boolean("outgoing", AT(outgoing)).says("The profile is meant for outgoing mail."),
    boolean("dmarc", AT(dmarc)).says("Take a DMARC failure for spam."),
    reserved("reserved-273", AT(reserved_273)),
    number("heuristic-second", AT(heuristic_second)).says("Second value of the heuristic scanner."),
    number("heuristic-first", AT(heuristic_first)).says("First value of the heuristic scanner."),
    number("heuristic-third", AT(heuristic_third)).says("Third value of the heuristic scanner."),
    list("rbl-servers", offsetof(Record, rbl_server_count), &kHostEntryType)
        .says("DNS block list servers, asked in this order."),
    list("surbl-servers", offsetof(Record, surbl_server_count), &kHostEntryType)
        .says("URI block list servers, asked in this order."),
    list("banned-word-list", offsetof(Record, banned_word_count), &kWordEntryType)
        .says("Words that make a message spam."),
    list("white-word-list", offsetof(Record, white_word_count), &kWordEntryType)
        .says("Words that clear a message."),
    number("max-scan-size", AT(max_scan_size))
        .byDefault(200)
        .within(0, 4194303)
        .measuredIn("KiB")
        .says("Largest message that is scanned."),
    textReference("dictionary", AT(dictionary), GID_DICTIONARY, kOrGroup)
        .says("Dictionary or dictionary group to scan with."),
    words("dictionary-kind", AT(dictionary_kind), kDictionaryNameKinds)
        .says("What the dictionary's name names."),
    reserved("reserved-613", AT(reserved_613)),
    signedNumber("dictionary-min-score", AT(dictionary_min_score))
        .says("Score from which the dictionary makes a message spam."),
    boolean("scan-attachments", AT(scan_attachments)).says("Parse attachments as well."),
    boolean("default-action-for-all", AT(default_action_for_all))
        .says("Apply the default action to every message."),
    reference("rbl-action", AT(rbl_action), GID_ANTISPAM_ACTION)
        .says("Action on a DNS block list verdict."),
    reference("surbl-action", AT(surbl_action), GID_ANTISPAM_ACTION)
        .says("Action on a URI block list verdict."),
    reference("cloud-action", AT(cloud_action), GID_ANTISPAM_ACTION)
        .says("Action on a verdict of the cloud rating service."),
    reference("bayesian-action", AT(bayesian_action), GID_ANTISPAM_ACTION)
        .says("Action on a Bayesian verdict."),
    reference("heuristic-action", AT(heuristic_action), GID_ANTISPAM_ACTION)
        .says("Action on a heuristic verdict."),
    reference("dictionary-action", AT(dictionary_action), GID_ANTISPAM_ACTION)
        .says("Action on a dictionary verdict."),
    reference("banned-words-action", AT(banned_words_action), GID_ANTISPAM_ACTION)
        .says("Action on a banned word."),
    reference("deep-header-action", AT(deep_header_action), GID_ANTISPAM_ACTION)
        .says("Action on a deep header verdict."),
    reference("behavior-action", AT(behavior_action), GID_ANTISPAM_ACTION)
        .says("Action on a behaviour verdict."),
    reserved("reserved-664", AT(reserved_664)),
    reference("image-spam-action", AT(image_spam_action), GID_ANTISPAM_ACTION)
        .says("Action on image spam."),
    reserved("reserved-672", AT(reserved_672)),
    reference("default-action", AT(default_action), GID_ANTISPAM_ACTION)
        .says("Action on every verdict that has none of its own."),
    reference("cloud-extended-action", AT(cloud_extended_action), GID_ANTISPAM_ACTION)
        .says("Action on the cloud rating service's extended verdict."),
    reference("spf-action", AT(spf_action), GID_ANTISPAM_ACTION).says("Action on an SPF failure."),
    reference("uri-category-action", AT(uri_category_action), GID_ANTISPAM_ACTION)
        .says("Action on a link of a filtered category."),
    reference("suspicious-newsletter-action", AT(suspicious_newsletter_action), GID_ANTISPAM_ACTION)
        .says("Action on a suspicious newsletter."),
    reference("newsletter-action", AT(newsletter_action), GID_ANTISPAM_ACTION)
        .says("Action on a newsletter."),
    reference("dmarc-action", AT(dmarc_action), GID_ANTISPAM_ACTION)
        .says("Action on a DMARC failure."),
    reference("web-filter", AT(web_filter), GID_WEB_FILTER_PROFILE)
        .says("Web filter that says which link categories are spam."),
    reserved("reserved-708", AT(reserved_708)),
};
}  // namespace of_aps_gw_as_profile
constexpr RecordType kAntispamProfileType{"__aps_gw_as_profile", sizeof(::__aps_gw_as_profile),
                                          of_aps_gw_as_profile::kFields};
static_assert(coversEveryByte(kAntispamProfileType) && isWellFormed(kAntispamProfileType));

namespace of_aps_antispam_action {
using Record = ::__aps_antispam_action;
constexpr Field kFields[] = {
    text("name", AT(name)).needed().says("Name by which profiles refer to the action."),
    ownId("id", AT(id)),
    words("disposition", AT(disposition), kSpamDispositions)
        .says("Where the message goes in the end."),
    reserved("reserved-37", AT(reserved_37)),
    boolean("tag-subject", AT(tag_subject)).says("Put the subject tag in front of the subject."),
    boolean("insert-header", AT(insert_header)).says("Insert the header."),
    boolean("quarantine-report", AT(quarantine_report))
        .says(
            "List quarantined messages in the report; counts in a profile's default action only."),
    boolean("release-by-email", AT(release_by_email))
        .says("Let recipients release by e-mail; counts in a profile's default action only."),
    boolean("release-by-web", AT(release_by_web))
        .says("Let recipients release on the web page; counts in a profile's default action only."),
    boolean("whitelist-on-release", AT(whitelist_on_release))
        .says("Whitelist the sender on release; counts in a profile's default action only."),
    boolean("use-alternate-host", AT(use_alternate_host)).says("Deliver to the alternate host."),
    boolean("use-blind-copy", AT(use_blind_copy)).says("Send blind copies."),
    reserved("reserved-46", AT(reserved_46)),
    number("quarantine-days", AT(quarantine_days))
        .measuredIn("days")
        .says("Days after which quarantined messages are deleted; 0: never. Counts in a profile's "
              "default action only."),
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
    text("alternate-host", AT(alternate_host)).writtenAs("host").says("Host to deliver to."),
    text("blind-copy", AT(blind_copy)).writtenAs("email-list").says("Recipients of blind copies."),
    boolean("archive", AT(archive)).says("Archive the message."),
    reserved("reserved-3421", AT(reserved_3421)),
    number("archive-recipient-id", AT(archive_recipient_id)).says("Number of the archive account."),
    boolean("notify", AT(notify)).says("Send a notice."),
    reserved("reserved-3429", AT(reserved_3429)),
    reference("notification", AT(notification), GID_NOTIFICATION_PROFILE)
        .says("Notification profile of the notice."),
    reference("quarantine-folder", AT(quarantine_folder), GID_QUARANTINE_FOLDER)
        .says("Folder for the disposition system-quarantine."),
};
}  // namespace of_aps_antispam_action
constexpr RecordType kAntispamActionType{"__aps_antispam_action", sizeof(::__aps_antispam_action),
                                         of_aps_antispam_action::kFields};
static_assert(coversEveryByte(kAntispamActionType) && isWellFormed(kAntispamActionType));

namespace of_aps_fasmilter {
using Record = ::__aps_fasmilter;
constexpr Field kFields[] = {
    number("level", AT(level))
        .byDefault(7)
        .says("Level of the analysis, 1 to 9; anything else counts as 7."),
    real("confidence", AT(confidence))
        .byDefault(95.0)
        .measuredIn("%")
        .says("Confidence from which a message is spam, above 0 up to 100; anything else counts as "
              "95."),
};
}  // namespace of_aps_fasmilter
constexpr RecordType kDeepHeaderType{"__aps_fasmilter", sizeof(::__aps_fasmilter),
                                     of_aps_fasmilter::kFields};
static_assert(coversEveryByte(kDeepHeaderType) && isWellFormed(kDeepHeaderType));

namespace of_aps_sys_antispam {
using Record = ::__aps_sys_antispam;
constexpr Field kFields[] = {
    reserved("reserved-0", AT(reserved_0)),
    text("quarantine-control-1", AT(quarantine_control_1))
        .byDefault("release-ctrl")
        .writtenAs("local-part")
        .says("Local part of the first quarantine control mailbox."),
    text("quarantine-control-2", AT(quarantine_control_2))
        .byDefault("delete-ctrl")
        .writtenAs("local-part")
        .says("Local part of the second quarantine control mailbox."),
    text("bayesian-domain", AT(bayesian_domain))
        .writtenAs("domain")
        .says("Domain of the Bayesian training mailboxes."),
    text("bayesian-control-4", AT(bayesian_control_4))
        .writtenAs("local-part")
        .says("Local part of the fourth Bayesian control mailbox."),
    text("bayesian-control-3", AT(bayesian_control_3))
        .writtenAs("local-part")
        .says("Local part of the third Bayesian control mailbox."),
    text("bayesian-control-2", AT(bayesian_control_2))
        .writtenAs("local-part")
        .says("Local part of the second Bayesian control mailbox."),
    text("bayesian-control-1", AT(bayesian_control_1))
        .writtenAs("local-part")
        .says("Local part of the first Bayesian control mailbox."),
};
}  // namespace of_aps_sys_antispam
constexpr RecordType kSystemAntispamType{"__aps_sys_antispam", sizeof(::__aps_sys_antispam),
                                         of_aps_sys_antispam::kFields};
static_assert(coversEveryByte(kSystemAntispamType) && isWellFormed(kSystemAntispamType));

namespace of_aps_ip_mask_string {
using Record = ::__aps_ip_mask_string;
constexpr Field kFields[] = {
    text("address", AT(text))
        .needed()
        .writtenAs("ip-mask")
        .says("Address, prefix, netmask or range."),
    ownId("id", AT(id)),
};
}  // namespace of_aps_ip_mask_string
constexpr RecordType kTrustedRelayType{"__aps_ip_mask_string", sizeof(::__aps_ip_mask_string),
                                       of_aps_ip_mask_string::kFields};
static_assert(coversEveryByte(kTrustedRelayType) && isWellFormed(kTrustedRelayType));

}  // namespace Kestrav::Config

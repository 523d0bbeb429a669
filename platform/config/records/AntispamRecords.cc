#include "platform/config/records/AntispamRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kSpamDispositions[] = {
    {"none", ::__aps_antispam_action::kNone},
    {"discard", ::__aps_antispam_action::kDiscard},
    {"reject", ::__aps_antispam_action::kReject},
    {"personal-quarantine", ::__aps_antispam_action::kPersonalQuarantine},
    {"system-quarantine", ::__aps_antispam_action::kSystemQuarantine},
    {"rewrite-recipient", ::__aps_antispam_action::kRewriteRecipient},
};

constexpr G_CLI_GID kOrGroup[] = {GID_DICTIONARY_GROUP};
constexpr Choice kDictionaryNameKinds[] = {
    {"group", 0},
    {"dictionary", 1},
};

namespace of_aps_as_word_entry {
using Record = ::__aps_as_word_entry;
constexpr Field kFields[] = {
    text("word", AT(text)).syntax("text").required().help("Word or phrase to look for."),
    reserved("reserved-256", AT(reserved_256)),
    boolean("in-body", AT(in_body)).defaultsTo(1).help("Look for it in the body."),
    boolean("in-subject", AT(in_subject)).defaultsTo(1).help("Look for it in the subject."),
};
}  // namespace of_aps_as_word_entry
constexpr RecordType kWordEntryType{"__aps_as_word_entry", sizeof(::__aps_as_word_entry),
                                    of_aps_as_word_entry::kFields};
static_assert(coversEveryByte(kWordEntryType) && isWellFormed(kWordEntryType));

namespace of_aps_gw_as_profile {
using Record = ::__aps_gw_as_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    bit("heuristic", AT(scanners), Record::kHeuristic)
        .help("Score the message by heuristic rules."),
    bit("bayesian", AT(scanners), Record::kBayesian).help("Run the Bayesian filter."),
    bit("cloud", AT(scanners), Record::kCloud).help("Ask the cloud rating service."),
    bit("rbl", AT(scanners), Record::kRbl).help("Ask DNS block lists about the sender's address."),
    bit("surbl", AT(scanners), Record::kSurbl).help("Ask URI block lists about links."),
    bit("banned-words", AT(scanners), Record::kBannedWords).help("Look for banned words."),
    bit("image-spam", AT(scanners), Record::kImageSpam).help("Scan images."),
    bit("fast-image-scan", AT(scan_options), Record::kFastImageScan)
        .help("Scan images fast rather than thoroughly."),
    bit("behavior", AT(scan_options), Record::kBehavior).help("Analyse the sender's behaviour."),
    bit("spam-outbreak", AT(scan_options), Record::kSpamOutbreak)
        .help("Hold back messages that look like the start of an outbreak."),
    bit("greylist", AT(session_options), Record::kGreylist).help("Put unknown senders off once."),
    bit("bypass-on-authentication", AT(classifier_options), Record::kBypassOnAuthentication)
        .help("Do not scan messages of authenticated senders."),
    bit("bayesian-option-1", AT(classifier_options), Record::kBayesianOption1)
        .help("First option of the Bayesian filter."),
    bit("bayesian-option-2", AT(classifier_options), Record::kBayesianOption2)
        .help("Second option of the Bayesian filter; needs the whole message parsed."),
    bit("cloud-secondary-check", AT(classifier_options), Record::kCloudSecondaryCheck)
        .help("Ask the cloud rating service a second time for doubtful messages."),
    bit("deep-header", AT(classifier_options), Record::kDeepHeader)
        .help("Analyse headers in depth."),
    bit("cloud-extended-check", AT(classifier_options), Record::kCloudExtendedCheck)
        .help("Ask the cloud rating service for its extended verdict."),
    boolean("uri-category-check", AT(uri_category_check))
        .help("Rate links by category; needs a web filter."),
    boolean("dictionary-scan", AT(dictionary_scan))
        .help("Look for entries of a dictionary or dictionary group."),
    boolean("white-words-scan", AT(white_words_scan)).help("Let white words clear a message."),
    boolean("spf-failure-is-spam", AT(spf_failure_is_spam)).help("Take an SPF failure for spam."),
    boolean("suspicious-newsletter", AT(suspicious_newsletter))
        .help("Look for suspicious newsletters."),
    boolean("newsletter", AT(newsletter)).help("Look for newsletters."),
    reserved("reserved-270", AT(reserved_270)),
    boolean("outgoing", AT(outgoing)).help("The profile is meant for outgoing mail."),
    boolean("dmarc", AT(dmarc)).help("Take a DMARC failure for spam."),
    reserved("reserved-273", AT(reserved_273)),
    number("heuristic-second", AT(heuristic_second)).help("Second value of the heuristic scanner."),
    number("heuristic-first", AT(heuristic_first)).help("First value of the heuristic scanner."),
    number("heuristic-third", AT(heuristic_third)).help("Third value of the heuristic scanner."),
    list("rbl-servers", offsetof(Record, rbl_server_count), &kHostEntryType)
        .help("DNS block list servers, asked in this order."),
    list("surbl-servers", offsetof(Record, surbl_server_count), &kHostEntryType)
        .help("URI block list servers, asked in this order."),
    list("banned-word-list", offsetof(Record, banned_word_count), &kWordEntryType)
        .help("Words that make a message spam."),
    list("white-word-list", offsetof(Record, white_word_count), &kWordEntryType)
        .help("Words that clear a message."),
    number("max-scan-size", AT(max_scan_size))
        .defaultsTo(200)
        .range(0, 4194303)
        .unit("KiB")
        .help("Largest message that is scanned."),
    textReference("dictionary", AT(dictionary), GID_DICTIONARY, kOrGroup)
        .help("Dictionary or dictionary group to scan with."),
    words("dictionary-kind", AT(dictionary_kind), kDictionaryNameKinds)
        .help("What the dictionary's name names."),
    reserved("reserved-613", AT(reserved_613)),
    signedNumber("dictionary-min-score", AT(dictionary_min_score))
        .help("Score from which the dictionary makes a message spam."),
    boolean("scan-attachments", AT(scan_attachments)).help("Parse attachments as well."),
    boolean("default-action-for-all", AT(default_action_for_all))
        .help("Apply the default action to every message."),
    reference("rbl-action", AT(rbl_action), GID_ANTISPAM_ACTION)
        .help("Action on a DNS block list verdict."),
    reference("surbl-action", AT(surbl_action), GID_ANTISPAM_ACTION)
        .help("Action on a URI block list verdict."),
    reference("cloud-action", AT(cloud_action), GID_ANTISPAM_ACTION)
        .help("Action on a verdict of the cloud rating service."),
    reference("bayesian-action", AT(bayesian_action), GID_ANTISPAM_ACTION)
        .help("Action on a Bayesian verdict."),
    reference("heuristic-action", AT(heuristic_action), GID_ANTISPAM_ACTION)
        .help("Action on a heuristic verdict."),
    reference("dictionary-action", AT(dictionary_action), GID_ANTISPAM_ACTION)
        .help("Action on a dictionary verdict."),
    reference("banned-words-action", AT(banned_words_action), GID_ANTISPAM_ACTION)
        .help("Action on a banned word."),
    reference("deep-header-action", AT(deep_header_action), GID_ANTISPAM_ACTION)
        .help("Action on a deep header verdict."),
    reference("behavior-action", AT(behavior_action), GID_ANTISPAM_ACTION)
        .help("Action on a behaviour verdict."),
    reserved("reserved-664", AT(reserved_664)),
    reference("image-spam-action", AT(image_spam_action), GID_ANTISPAM_ACTION)
        .help("Action on image spam."),
    reserved("reserved-672", AT(reserved_672)),
    reference("default-action", AT(default_action), GID_ANTISPAM_ACTION)
        .help("Action on every verdict that has none of its own."),
    reference("cloud-extended-action", AT(cloud_extended_action), GID_ANTISPAM_ACTION)
        .help("Action on the cloud rating service's extended verdict."),
    reference("spf-action", AT(spf_action), GID_ANTISPAM_ACTION).help("Action on an SPF failure."),
    reference("uri-category-action", AT(uri_category_action), GID_ANTISPAM_ACTION)
        .help("Action on a link of a filtered category."),
    reference("suspicious-newsletter-action", AT(suspicious_newsletter_action), GID_ANTISPAM_ACTION)
        .help("Action on a suspicious newsletter."),
    reference("newsletter-action", AT(newsletter_action), GID_ANTISPAM_ACTION)
        .help("Action on a newsletter."),
    reference("dmarc-action", AT(dmarc_action), GID_ANTISPAM_ACTION)
        .help("Action on a DMARC failure."),
    reference("web-filter", AT(web_filter), GID_WEB_FILTER_PROFILE)
        .help("Web filter that says which link categories are spam."),
    reserved("reserved-708", AT(reserved_708)),
};
}  // namespace of_aps_gw_as_profile
constexpr RecordType kAntispamProfileType{"__aps_gw_as_profile", sizeof(::__aps_gw_as_profile),
                                          of_aps_gw_as_profile::kFields};
static_assert(coversEveryByte(kAntispamProfileType) && isWellFormed(kAntispamProfileType));

namespace of_aps_antispam_action {
using Record = ::__aps_antispam_action;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which profiles refer to the action."),
    ownId("id", AT(id)),
    words("disposition", AT(disposition), kSpamDispositions)
        .help("Where the message goes in the end."),
    reserved("reserved-37", AT(reserved_37)),
    boolean("tag-subject", AT(tag_subject)).help("Put the subject tag in front of the subject."),
    boolean("insert-header", AT(insert_header)).help("Insert the header."),
    boolean("quarantine-report", AT(quarantine_report))
        .help(
            "List quarantined messages in the report; counts in a profile's default action only."),
    boolean("release-by-email", AT(release_by_email))
        .help("Let recipients release by e-mail; counts in a profile's default action only."),
    boolean("release-by-web", AT(release_by_web))
        .help("Let recipients release on the web page; counts in a profile's default action only."),
    boolean("whitelist-on-release", AT(whitelist_on_release))
        .help("Whitelist the sender on release; counts in a profile's default action only."),
    boolean("use-alternate-host", AT(use_alternate_host)).help("Deliver to the alternate host."),
    boolean("use-blind-copy", AT(use_blind_copy)).help("Send blind copies."),
    reserved("reserved-46", AT(reserved_46)),
    number("quarantine-days", AT(quarantine_days))
        .unit("days")
        .help("Days after which quarantined messages are deleted; 0: never. Counts in a profile's "
              "default action only."),
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
    text("alternate-host", AT(alternate_host)).syntax("host").help("Host to deliver to."),
    text("blind-copy", AT(blind_copy)).syntax("email-list").help("Recipients of blind copies."),
    boolean("archive", AT(archive)).help("Archive the message."),
    reserved("reserved-3421", AT(reserved_3421)),
    number("archive-recipient-id", AT(archive_recipient_id)).help("Number of the archive account."),
    boolean("notify", AT(notify)).help("Send a notice."),
    reserved("reserved-3429", AT(reserved_3429)),
    reference("notification", AT(notification), GID_NOTIFICATION_PROFILE)
        .help("Notification profile of the notice."),
    reference("quarantine-folder", AT(quarantine_folder), GID_QUARANTINE_FOLDER)
        .help("Folder for the disposition system-quarantine."),
};
}  // namespace of_aps_antispam_action
constexpr RecordType kAntispamActionType{"__aps_antispam_action", sizeof(::__aps_antispam_action),
                                         of_aps_antispam_action::kFields};
static_assert(coversEveryByte(kAntispamActionType) && isWellFormed(kAntispamActionType));

namespace of_aps_fasmilter {
using Record = ::__aps_fasmilter;
constexpr Field kFields[] = {
    number("level", AT(level))
        .defaultsTo(7)
        .help("Level of the analysis, 1 to 9; anything else counts as 7."),
    real("confidence", AT(confidence))
        .defaultsTo(95.0)
        .unit("%")
        .help("Confidence from which a message is spam, above 0 up to 100; anything else counts as "
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
        .defaultsTo("release-ctrl")
        .syntax("local-part")
        .help("Local part of the first quarantine control mailbox."),
    text("quarantine-control-2", AT(quarantine_control_2))
        .defaultsTo("delete-ctrl")
        .syntax("local-part")
        .help("Local part of the second quarantine control mailbox."),
    text("bayesian-domain", AT(bayesian_domain))
        .syntax("domain")
        .help("Domain of the Bayesian training mailboxes."),
    text("bayesian-control-4", AT(bayesian_control_4))
        .syntax("local-part")
        .help("Local part of the fourth Bayesian control mailbox."),
    text("bayesian-control-3", AT(bayesian_control_3))
        .syntax("local-part")
        .help("Local part of the third Bayesian control mailbox."),
    text("bayesian-control-2", AT(bayesian_control_2))
        .syntax("local-part")
        .help("Local part of the second Bayesian control mailbox."),
    text("bayesian-control-1", AT(bayesian_control_1))
        .syntax("local-part")
        .help("Local part of the first Bayesian control mailbox."),
};
}  // namespace of_aps_sys_antispam
constexpr RecordType kSystemAntispamType{"__aps_sys_antispam", sizeof(::__aps_sys_antispam),
                                         of_aps_sys_antispam::kFields};
static_assert(coversEveryByte(kSystemAntispamType) && isWellFormed(kSystemAntispamType));

namespace of_aps_ip_mask_string {
using Record = ::__aps_ip_mask_string;
constexpr Field kFields[] = {
    text("address", AT(text))
        .required()
        .syntax("ip-mask")
        .help("Address, prefix, netmask or range."),
    ownId("id", AT(id)),
};
}  // namespace of_aps_ip_mask_string
constexpr RecordType kTrustedRelayType{"__aps_ip_mask_string", sizeof(::__aps_ip_mask_string),
                                       of_aps_ip_mask_string::kFields};
static_assert(coversEveryByte(kTrustedRelayType) && isWellFormed(kTrustedRelayType));

}  // namespace Kestrav::Config

#include "platform/config/records/SessionRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

namespace of_qv_ip_profile {
using Record = ::__qv_ip_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which policies refer to the profile."),
    ownId("id", AT(id)),
    reserved("reserved-260", AT(reserved_260)),
    number("moving-total-1", AT(moving_total_1))
        .help("First value of the moving total of connections."),
    number("moving-total-2", AT(moving_total_2))
        .help("Second value of the moving total of connections."),
    number("moving-total-3", AT(moving_total_3))
        .help("Third value of the moving total of connections."),
    signedNumber("max-concurrent", AT(max_concurrent))
        .help("Concurrent connections of one client."),
    reserved("reserved-312", AT(reserved_312)),
    bit("refuse-invalid-helo-domain", AT(domain_checks), Record::kRefuseInvalidHeloDomain)
        .help("Refuse a HELO domain that is no valid name."),
    bit("resolve-sender-domain", AT(domain_checks), Record::kResolveSenderDomain)
        .help("Refuse senders whose domain does not resolve."),
    bit("resolve-recipient-domain", AT(domain_checks), Record::kResolveRecipientDomain)
        .help("Refuse recipients whose domain does not resolve."),
    bit("refuse-empty-domains", AT(command_checks), Record::kRefuseEmptyDomains)
        .help("Refuse addresses without a domain."),
    bit("strict-commands", AT(command_checks), Record::kStrictCommands)
        .help("Insist on strict SMTP syntax."),
    bit("three-way-domain-check", AT(command_checks), Record::kThreeWayDomainCheck)
        .help("Compare HELO, sender and client domains."),
    bit("sender-validation-1", AT(validation_checks), Record::kSenderValidation1)
        .help("First switch of sender validation."),
    bit("dkim-1", AT(validation_checks), Record::kDkim1).help("First switch of DKIM signing."),
    bit("dkim-2", AT(validation_checks), Record::kDkim2).help("Second switch of DKIM signing."),
    bit("sender-validation-2", AT(validation_checks), Record::kSenderValidation2)
        .help("Second switch of sender validation."),
    bit("sender-validation-3", AT(validation_checks), Record::kSenderValidation3)
        .help("Third switch of sender validation."),
    bit("use-sender-allow-list", AT(validation_checks), Record::kUseSenderAllowList)
        .help("Apply the list of allowed senders."),
    bit("use-sender-discard-list", AT(validation_checks), Record::kUseSenderDiscardList)
        .help("Apply the list of discarded senders."),
    bit("use-recipient-allow-list", AT(list_checks), Record::kUseRecipientAllowList)
        .help("Apply the list of allowed recipients."),
    bit("use-recipient-discard-list", AT(list_checks), Record::kUseRecipientDiscardList)
        .help("Apply the list of discarded recipients."),
    bit("remove-headers", AT(list_checks), Record::kRemoveHeaders)
        .help("Remove the listed headers."),
    bit("hide-received", AT(list_checks), Record::kHideReceived).help("Hide Received headers."),
    bit("sender-reputation", AT(list_checks), Record::kSenderReputation)
        .help("Score senders by reputation."),
    bit("mms-sender-reputation", AT(list_checks), Record::kMmsSenderReputation)
        .help("Score MMS senders by reputation."),
    reserved("reserved-320", AT(reserved_320)),
    number("sender-validation-value", AT(sender_validation_value))
        .help("Value of sender validation."),
    number("reputation-1", AT(reputation_1)).help("First value of sender reputation."),
    number("reputation-2", AT(reputation_2)).help("Second value of sender reputation."),
    number("reputation-3", AT(reputation_3)).help("Third value of sender reputation."),
    number("reputation-4", AT(reputation_4)).help("Fourth value of sender reputation."),
    number("reputation-5", AT(reputation_5)).help("Fifth value of sender reputation."),
    boolean("block-pgp", AT(block_pgp)).help("Refuse messages encrypted with PGP."),
    boolean("mms-reputation-off", AT(mms_reputation_off))
        .help("Turns the second switch of MMS sender reputation off."),
    reserved("reserved-350", AT(reserved_350)),
    boolean("check-client-ip-quick", AT(check_client_ip_quick))
        .help("Check the client's address as soon as it connects."),
    number("queue-index", AT(queue_index)).range(0, 255).help("Delivery queue."),
    reserved("reserved-354", AT(reserved_354)),
    number("mms-reputation-1", AT(mms_reputation_1)).help("First value of MMS sender reputation."),
    number("mms-reputation-2", AT(mms_reputation_2)).help("Second value of MMS sender reputation."),
    reserved("reserved-364", AT(reserved_364)),
    signedNumber("max-recipients", AT(max_recipients)).help("Recipients of one message."),
    reserved("reserved-372", AT(reserved_372)),
    signedNumber("max-messages", AT(max_messages)).help("Messages of one connection."),
    signedNumber("max-message-size", AT(max_message_size)).help("Size of a message."),
    reserved("reserved-384", AT(reserved_384)),
    list("remove-header-list", offsetof(Record, remove_header_count), &kHeaderNameType)
        .help("Headers to remove."),
    list("sender-allow-list", offsetof(Record, sender_allow_count), &kAddressEntryType)
        .help("Senders that are let in unchecked."),
    list("sender-discard-list", offsetof(Record, sender_discard_count), &kAddressEntryType)
        .help("Senders whose mail is discarded."),
    list("recipient-allow-list", offsetof(Record, recipient_allow_count), &kAddressEntryType)
        .help("Recipients that are let in unchecked."),
    list("recipient-discard-list", offsetof(Record, recipient_discard_count), &kAddressEntryType)
        .help("Recipients whose mail is discarded."),
    bit("rewrite-envelope-from", AT(rewrite_targets), Record::kRewriteEnvelopeFrom)
        .help("Rewrite the envelope sender."),
    bit("rewrite-header-from", AT(rewrite_targets), Record::kRewriteHeaderFrom)
        .help("Rewrite From headers."),
    bit("rewrite-header-reply-to", AT(rewrite_targets), Record::kRewriteHeaderReplyTo)
        .help("Rewrite Reply-To headers."),
    bit("rewrite-envelope-recipient", AT(rewrite_targets), Record::kRewriteEnvelopeRecipient)
        .help("Rewrite the envelope recipient."),
    bit("rewrite-header-to-and-cc", AT(rewrite_targets), Record::kRewriteHeaderToAndCc)
        .help("Rewrite To and Cc headers."),
    reserved("reserved-497", AT(reserved_497)),
    reference("recipient-address-map", AT(recipient_address_map), GID_ADDRESS_MAP)
        .help("Address map for recipients."),
    reference("sender-address-map", AT(sender_address_map), GID_ADDRESS_MAP)
        .help("Address map for senders."),
    reserved("reserved-544", AT(reserved_544)),
    reference("access-rules", AT(acl_ruleset), GID_ACL_RULESET).help("Access control rule set."),
    signedNumber("remote-syslog-id", AT(remote_syslog_id)).help("Number of the remote log target."),
    reference("bounce", AT(bounce_profile), GID_BOUNCE_PROFILE).help("Bounce profile."),
    boolean("sender-validation-4", AT(sender_validation_4))
        .help("Fourth switch of sender validation."),
    reserved("reserved-561", AT(reserved_561)),
    number("sender-validation-value-2", AT(sender_validation_value_2))
        .help("Second value of sender validation."),
};
}  // namespace of_qv_ip_profile
constexpr RecordType kSessionProfileType{"__qv_ip_profile", sizeof(::__qv_ip_profile),
                                         of_qv_ip_profile::kFields};
static_assert(coversEveryByte(kSessionProfileType) && isWellFormed(kSessionProfileType));

namespace of_aps_vip_map_entry {
using Record = ::__aps_vip_map_entry;
constexpr Field kFields[] = {
    reserved("reserved-0", AT(reserved_0)),
    text("pattern", AT(pattern))
        .required()
        .syntax("pattern")
        .help("Pattern of the addresses to rewrite."),
    text("replacement", AT(replacement))
        .required()
        .syntax("rewrite-template")
        .help("What they become; %%LOCAL%% and %%DOMAIN%% stand for the parts of the address."),
};
}  // namespace of_aps_vip_map_entry
constexpr RecordType kAddressMapEntryType{"__aps_vip_map_entry", sizeof(::__aps_vip_map_entry),
                                          of_aps_vip_map_entry::kFields};
static_assert(coversEveryByte(kAddressMapEntryType) && isWellFormed(kAddressMapEntryType));

namespace of_aps_vip_map {
using Record = ::__aps_vip_map;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which session profiles refer to the map."),
    ownId("id", AT(id)),
    list("entries", offsetof(Record, entry_count), &kAddressMapEntryType)
        .help("Rules, the first match counts."),
};
}  // namespace of_aps_vip_map
constexpr RecordType kAddressMapType{"__aps_vip_map", sizeof(::__aps_vip_map),
                                     of_aps_vip_map::kFields};
static_assert(coversEveryByte(kAddressMapType) && isWellFormed(kAddressMapType));

constexpr Choice kAclAddressKinds[] = {
    {"wildcard", 0},
    {"regex", 1},
    {"group", 2},
    {"external", 3},
};

constexpr Choice kAclPeerKinds[] = {
    {"mask", 0},
    {"group", 1},
};

namespace of_aps_acl_rule {
using Record = ::__aps_acl_rule;
constexpr Field kFields[] = {
    text("from-text", AT(sender)).defaultsTo("*").part("from").help("Sender pattern."),
    text("to-text", AT(recipient)).defaultsTo("*").part("to").help("Recipient pattern."),
    text("reverse-dns-text", AT(reverse_dns))
        .defaultsTo("*")
        .part("reverse-dns")
        .help("Pattern of the client's host name."),
    addressMask("client-mask", AT(ip))
        .defaultsTo("any")
        .part("client")
        .help("Client address or mask."),
    words("ip-kind", AT(ip_kind), kAclPeerKinds).part("client").help("How the client is given."),
    words("sender-kind", AT(sender_kind), kAclAddressKinds)
        .part("from")
        .help("How the sender is given."),
    words("recipient-kind", AT(recipient_kind), kAclAddressKinds)
        .part("to")
        .help("How the recipient is given."),
    boolean("reverse-dns-regex", AT(reverse_dns_regex))
        .part("reverse-dns")
        .help("The host name pattern is a regular expression."),
    number("action", AT(action))
        .range(0, 255)
        .help("What becomes of the transaction, as the access control library numbers it."),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The rule is applied."),
    reserved("reserved-423", AT(reserved_423)),
    reference("sender-group", AT(sender_group), GID_EMAIL_ADDRESS_GROUP)
        .part("from")
        .help("Group of senders."),
    reference("recipient-group", AT(recipient_group), GID_EMAIL_ADDRESS_GROUP)
        .part("to")
        .help("Group of recipients."),
    reference("client-group", AT(ip_group), GID_IP_ADDRESS_GROUP)
        .part("client")
        .help("Group of client addresses."),
    number("sender-external-group-id", AT(sender_external_group_id))
        .help("Number of an external group of senders."),
    text("sender-external-group", AT(sender_external_group))
        .part("from")
        .help("Name of an external group of senders."),
    number("recipient-external-group-id", AT(recipient_external_group_id))
        .help("Number of an external group of recipients."),
    text("recipient-external-group", AT(recipient_external_group))
        .part("to")
        .help("Name of an external group of recipients."),
    number("tls-profile-id", AT(tls_profile_id)).help("Number of a TLS profile."),
    number("authentication", AT(authentication)).help("Authentication that is asked for."),
    signedNumber("value", AT(value)).help("Value handed to the daemons."),
    reserved("reserved-712", AT(reserved_712)),
};
constexpr Criterion::Form kAddressForms[] = {{Criterion::kWildcard, 0},
                                             {Criterion::kRegex, 1},
                                             {Criterion::kGroup, 2},
                                             {Criterion::kExternal, 3}};
constexpr Criterion::Form kPeerForms[] = {{Criterion::kMask, 0}, {Criterion::kGroup, 1}};
constexpr Criterion::Form kPatternForms[] = {{Criterion::kWildcard, 0}, {Criterion::kRegex, 1}};
constexpr Criterion kCriteria[] = {
    {.name = "from",
     .kind = "sender-kind",
     .text = "from-text",
     .group = "sender-group",
     .external = "sender-external-group",
     .forms = kAddressForms,
     .help = "Senders."},
    {.name = "to",
     .kind = "recipient-kind",
     .text = "to-text",
     .group = "recipient-group",
     .external = "recipient-external-group",
     .forms = kAddressForms,
     .help = "Recipients."},
    {.name = "client",
     .kind = "ip-kind",
     .text = "client-mask",
     .group = "client-group",
     .forms = kPeerForms,
     .help = "Addresses of clients."},
    {.name = "reverse-dns",
     .kind = "reverse-dns-regex",
     .text = "reverse-dns-text",
     .forms = kPatternForms,
     .help = "Host names of clients."},
};
}  // namespace of_aps_acl_rule
constexpr RecordType kAclRuleType{"__aps_acl_rule", sizeof(::__aps_acl_rule),
                                  of_aps_acl_rule::kFields, of_aps_acl_rule::kCriteria};
static_assert(coversEveryByte(kAclRuleType) && isWellFormed(kAclRuleType));

namespace of_aps_acl_ruleset {
using Record = ::__aps_acl_ruleset;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which session profiles refer to the rule set."),
    ownId("id", AT(id)),
    list("rules", offsetof(Record, rule_count), &kAclRuleType).help("Rules in order."),
};
}  // namespace of_aps_acl_ruleset
constexpr RecordType kAclRulesetType{"__aps_acl_ruleset", sizeof(::__aps_acl_ruleset),
                                     of_aps_acl_ruleset::kFields};
static_assert(coversEveryByte(kAclRulesetType) && isWellFormed(kAclRulesetType));

namespace of_vexa_bounce_profile {
using Record = ::__vexa_bounce_profile;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name by which session profiles refer to the profile."),
    ownId("id", AT(id)),
    number("warn-after", AT(warn_after))
        .defaultsTo(240)
        .unit("minutes")
        .help("Time after which the sender is warned; 0: never."),
    number("give-up-after", AT(give_up_after))
        .defaultsTo(120)
        .unit("hours")
        .help("Time after which mail is returned."),
};
}  // namespace of_vexa_bounce_profile
constexpr RecordType kBounceProfileType{"__vexa_bounce_profile", sizeof(::__vexa_bounce_profile),
                                        of_vexa_bounce_profile::kFields};
static_assert(coversEveryByte(kBounceProfileType) && isWellFormed(kBounceProfileType));

}  // namespace Kestrav::Config

#include "platform/config/records/PolicyRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kPeerKinds[] = {
    {"any", 0},
    {"mask", 1},
    {"group", 2},
};

constexpr Choice kAddressKinds[] = {
    {"any", 0},      {"address", 1}, {"domain", 2}, {"domain-with-subdomains", 3},
    {"wildcard", 4}, {"regex", 5},   {"group", 6},
};

namespace of_qv_ip_policy {
using Record = ::__qv_ip_policy;
constexpr Field kFields[] = {
    ownId("id", AT(id)),
    text("name", AT(name)).required().help("Name of the policy."),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The policy takes part in the choice."),
    words("client-kind", AT(client_kind), kPeerKinds)
        .part("client")
        .help("How the client is given."),
    words("server-kind", AT(server_kind), kPeerKinds)
        .part("server")
        .help("How the server is given."),
    reserved("reserved-71", AT(reserved_71)),
    boolean("auth-flag-3", AT(auth_flag_3)).help("Third authentication flag."),
    reference("session", AT(session_profile), GID_SESSION_PROFILE)
        .help("Session profile, for receipt and for delivery."),
    reference("antivirus", AT(antivirus_profile), GID_ANTIVIRUS_PROFILE).help("Antivirus profile."),
    reference("antispam", AT(antispam_profile), GID_ANTISPAM_PROFILE).help("Antispam profile."),
    reference("content", AT(content_profile), GID_CONTENT_PROFILE).help("Content profile."),
    reference("dlp", AT(dlp_profile), GID_DLP_PROFILE).help("Data loss prevention profile."),
    reference("client-group", AT(client_group), GID_IP_ADDRESS_GROUP)
        .part("client")
        .help("Group of client addresses."),
    reference("server-group", AT(server_group), GID_IP_ADDRESS_GROUP)
        .part("server")
        .help("Group of server addresses."),
    number("auth-value", AT(auth_value)).help("Authentication value handed to the daemons."),
    bit("exclusive", AT(flags), Record::kExclusive).help("Recipient policies are not consulted."),
    bit("auth-flag-1", AT(flags), Record::kAuthFlag1).help("First authentication flag."),
    bit("auth-flag-2", AT(flags), Record::kAuthFlag2).help("Second authentication flag."),
    reserved("reserved-113", AT(reserved_113)),
    ownDomain("ngid", AT(ngid)),
    text("client-text", AT(client)).part("client").help("Client address, mask or range."),
    text("server-text", AT(server)).part("server").help("Server address, mask or range."),
};
constexpr Criterion::Form kPeerForms[] = {
    {Criterion::kAny, 0}, {Criterion::kMask, 1}, {Criterion::kGroup, 2}};
constexpr Criterion kCriteria[] = {
    {.name = "client",
     .kind = "client-kind",
     .text = "client-text",
     .group = "client-group",
     .forms = kPeerForms,
     .help = "Addresses of clients."},
    {.name = "server",
     .kind = "server-kind",
     .text = "server-text",
     .group = "server-group",
     .forms = kPeerForms,
     .help = "Addresses of the gateway that clients connect to."},
};
}  // namespace of_qv_ip_policy
constexpr RecordType kIpPolicyType{"__qv_ip_policy", sizeof(::__qv_ip_policy),
                                   of_qv_ip_policy::kFields, of_qv_ip_policy::kCriteria};
static_assert(coversEveryByte(kIpPolicyType) && isWellFormed(kIpPolicyType));

namespace of_vexa_recipient_policy {
using Record = ::__vexa_recipient_policy;
constexpr Field kFields[] = {
    ownId("id", AT(id)),
    text("name", AT(name)).required().help("Name of the policy."),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("The policy takes part in the choice."),
    words("sender-kind", AT(sender_kind), kAddressKinds)
        .part("from")
        .help("How the sender is given."),
    words("recipient-kind", AT(recipient_kind), kAddressKinds)
        .part("to")
        .help("How the recipient is given."),
    reserved("reserved-71", AT(reserved_71)),
    reference("sender-group", AT(sender_group), GID_EMAIL_ADDRESS_GROUP)
        .part("from")
        .help("Group of senders."),
    reference("recipient-group", AT(recipient_group), GID_EMAIL_ADDRESS_GROUP)
        .part("to")
        .help("Group of recipients."),
    text("from-text", AT(sender)).part("from").help("Sender address, domain or pattern."),
    text("to-text", AT(recipient)).part("to").help("Recipient address, domain or pattern."),
    reserved("reserved-594", AT(reserved_594)),
    boolean("auth-flag-3", AT(auth_flag_3)).help("Third authentication flag."),
    reserved("reserved-1033", AT(reserved_1033)),
    reference("antispam", AT(antispam_profile), GID_ANTISPAM_PROFILE).help("Antispam profile."),
    reference("antivirus", AT(antivirus_profile), GID_ANTIVIRUS_PROFILE).help("Antivirus profile."),
    reserved("reserved-1048", AT(reserved_1048)),
    reference("content", AT(content_profile), GID_CONTENT_PROFILE).help("Content profile."),
    reference("dlp", AT(dlp_profile), GID_DLP_PROFILE).help("Data loss prevention profile."),
    reserved("reserved-1060", AT(reserved_1060)),
    number("auth-value", AT(auth_value)).help("Authentication value handed to the daemons."),
    reserved("reserved-1076", AT(reserved_1076)),
    bit("auth-flag-1", AT(auth_flags), Record::kAuthFlag1).help("First authentication flag."),
    boolean("auth-flag-2", AT(auth_flag_2)).help("Second authentication flag."),
    reserved("reserved-1080", AT(reserved_1080)),
    ownDomain("ngid", AT(ngid)),
};
constexpr Criterion::Form kAddressForms[] = {
    {Criterion::kAny, 0},      {Criterion::kAddress, 1},
    {Criterion::kDomain, 2},   {Criterion::kDomainWithSubdomains, 3},
    {Criterion::kWildcard, 4}, {Criterion::kRegex, 5},
    {Criterion::kGroup, 6}};
constexpr Criterion kCriteria[] = {
    {.name = "from",
     .kind = "sender-kind",
     .text = "from-text",
     .group = "sender-group",
     .forms = kAddressForms,
     .help = "Envelope senders."},
    {.name = "to",
     .kind = "recipient-kind",
     .text = "to-text",
     .group = "recipient-group",
     .forms = kAddressForms,
     .help = "Envelope recipients."},
};
}  // namespace of_vexa_recipient_policy
constexpr RecordType kRecipientPolicyType{
    "__vexa_recipient_policy", sizeof(::__vexa_recipient_policy), of_vexa_recipient_policy::kFields,
    of_vexa_recipient_policy::kCriteria};
static_assert(coversEveryByte(kRecipientPolicyType) && isWellFormed(kRecipientPolicyType));

}  // namespace Kestrav::Config

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
    text("name", AT(name)).needed().says("Name of the policy."),
    boolean("enabled", AT(enabled)).byDefault(1).says("The policy takes part in the choice."),
    words("client-kind", AT(client_kind), kPeerKinds)
        .partOf("client")
        .says("How the client is given."),
    words("server-kind", AT(server_kind), kPeerKinds)
        .partOf("server")
        .says("How the server is given."),
    reserved("reserved-71", AT(reserved_71)),
    boolean("auth-flag-3", AT(auth_flag_3)).says("Third authentication flag."),
    reference("session", AT(session_profile), GID_SESSION_PROFILE)
        .says("Session profile, for receipt and for delivery."),
    reference("antivirus", AT(antivirus_profile), GID_ANTIVIRUS_PROFILE).says("Antivirus profile."),
    reference("antispam", AT(antispam_profile), GID_ANTISPAM_PROFILE).says("Antispam profile."),
    reference("content", AT(content_profile), GID_CONTENT_PROFILE).says("Content profile."),
    reference("dlp", AT(dlp_profile), GID_DLP_PROFILE).says("Data loss prevention profile."),
    reference("client-group", AT(client_group), GID_IP_ADDRESS_GROUP)
        .partOf("client")
        .says("Group of client addresses."),
    reference("server-group", AT(server_group), GID_IP_ADDRESS_GROUP)
        .partOf("server")
        .says("Group of server addresses."),
    number("auth-value", AT(auth_value)).says("Authentication value handed to the daemons."),
    bit("exclusive", AT(flags), 0).says("Recipient policies are not consulted."),
    bit("auth-flag-1", AT(flags), 1).says("First authentication flag."),
    bit("auth-flag-2", AT(flags), 2).says("Second authentication flag."),
    reserved("reserved-113", AT(reserved_113)),
    ownDomain("ngid", AT(ngid)),
    text("client-text", AT(client)).partOf("client").says("Client address, mask or range."),
    text("server-text", AT(server)).partOf("server").says("Server address, mask or range."),
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
    text("name", AT(name)).needed().says("Name of the policy."),
    boolean("enabled", AT(enabled)).byDefault(1).says("The policy takes part in the choice."),
    words("sender-kind", AT(sender_kind), kAddressKinds)
        .partOf("from")
        .says("How the sender is given."),
    words("recipient-kind", AT(recipient_kind), kAddressKinds)
        .partOf("to")
        .says("How the recipient is given."),
    reserved("reserved-71", AT(reserved_71)),
    reference("sender-group", AT(sender_group), GID_EMAIL_ADDRESS_GROUP)
        .partOf("from")
        .says("Group of senders."),
    reference("recipient-group", AT(recipient_group), GID_EMAIL_ADDRESS_GROUP)
        .partOf("to")
        .says("Group of recipients."),
    text("from-text", AT(sender)).partOf("from").says("Sender address, domain or pattern."),
    text("to-text", AT(recipient)).partOf("to").says("Recipient address, domain or pattern."),
    reserved("reserved-594", AT(reserved_594)),
    boolean("auth-flag-3", AT(auth_flag_3)).says("Third authentication flag."),
    reserved("reserved-1033", AT(reserved_1033)),
    reference("antispam", AT(antispam_profile), GID_ANTISPAM_PROFILE).says("Antispam profile."),
    reference("antivirus", AT(antivirus_profile), GID_ANTIVIRUS_PROFILE).says("Antivirus profile."),
    reserved("reserved-1048", AT(reserved_1048)),
    reference("content", AT(content_profile), GID_CONTENT_PROFILE).says("Content profile."),
    reference("dlp", AT(dlp_profile), GID_DLP_PROFILE).says("Data loss prevention profile."),
    reserved("reserved-1060", AT(reserved_1060)),
    number("auth-value", AT(auth_value)).says("Authentication value handed to the daemons."),
    reserved("reserved-1076", AT(reserved_1076)),
    bit("auth-flag-1", AT(auth_flags), 2).says("First authentication flag."),
    boolean("auth-flag-2", AT(auth_flag_2)).says("Second authentication flag."),
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

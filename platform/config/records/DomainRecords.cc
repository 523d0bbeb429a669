#include "platform/config/records/DomainRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kDisclaimerModes[] = {
    {"none", 0},
    {"system", 1},
    {"own", 2},
};

namespace of_aps_mail_disclaimer {
using Record = ::__aps_mail_disclaimer;
constexpr Field kFields[] = {
    boolean("first-header-enabled", AT(first_header_enabled)).help("Use the first header."),
    boolean("first-text-enabled", AT(first_text_enabled)).help("Use the first texts."),
    text("first-text", AT(first_text)).syntax("text").help("First disclaimer in plain text."),
    text("first-html", AT(first_html)).syntax("text").help("First disclaimer in HTML."),
    number("first-option", AT(first_option)).help("Option of the first disclaimer; on for 1 only."),
    boolean("second-header-enabled", AT(second_header_enabled)).help("Use the second header."),
    boolean("second-text-enabled", AT(second_text_enabled)).help("Use the second texts."),
    text("second-text", AT(second_text)).syntax("text").help("Second disclaimer in plain text."),
    text("second-html", AT(second_html)).syntax("text").help("Second disclaimer in HTML."),
    number("second-option", AT(second_option))
        .help("Option of the second disclaimer; on for 1 only."),
    boolean("exclusions-enabled", AT(exclusions_enabled))
        .help("Apply the list of exclusions; counts in the gateway's own disclaimer only."),
    text("first-name", AT(first_name)).syntax("header-name").help("Name of the first header."),
    text("first-value", AT(first_value)).syntax("header-value").help("Value of the first header."),
    text("second-name", AT(second_name)).syntax("header-name").help("Name of the second header."),
    text("second-value", AT(second_value))
        .syntax("header-value")
        .help("Value of the second header."),
    reserved("reserved-12577", AT(reserved_12577)),
};
}  // namespace of_aps_mail_disclaimer
constexpr RecordType kDisclaimerType{"__aps_mail_disclaimer", sizeof(::__aps_mail_disclaimer),
                                     of_aps_mail_disclaimer::kFields};
static_assert(coversEveryByte(kDisclaimerType) && isWellFormed(kDisclaimerType));

namespace of_aps_gw_server {
using Record = ::__aps_gw_server;
constexpr Field kFields[] = {
    text("name", AT(name)).required().syntax("domain").help("The domain."),
    ownId("id", AT(id)),
    textReference("alias-of", AT(alias_of), GID_PROTECTED_DOMAIN)
        .help("The protected domain of which this one is an alias."),
    reserved("reserved-516", AT(reserved_516)),
    words("disclaimer-mode", AT(disclaimer_mode), kDisclaimerModes)
        .defaultsTo(1)
        .help("Whose disclaimer the domain's messages get."),
    embedded("disclaimer", AT(disclaimer), &kDisclaimerType).help("The domain's own disclaimer."),
    reserved("reserved-15324", AT(reserved_15324)),
    configurationDomain("configuration-domain", AT(configuration_domain))
        .help("Number of the domain's own configuration."),
};
}  // namespace of_aps_gw_server
constexpr RecordType kProtectedDomainType{"__aps_gw_server", sizeof(::__aps_gw_server),
                                          of_aps_gw_server::kFields};
static_assert(coversEveryByte(kProtectedDomainType) && isWellFormed(kProtectedDomainType));

namespace of_aps_mail_disclaimer_exclude {
using Record = ::__aps_mail_disclaimer_exclude;
constexpr Field kFields[] = {
    ownId("id", AT(id)),
    reserved("reserved-4", AT(reserved_4)),
    text("sender", AT(sender)).defaultsTo("*").syntax("pattern").help("Pattern of senders."),
    text("recipient", AT(recipient))
        .defaultsTo("*")
        .syntax("pattern")
        .help("Pattern of recipients."),
};
}  // namespace of_aps_mail_disclaimer_exclude
constexpr RecordType kDisclaimerExclusionType{"__aps_mail_disclaimer_exclude",
                                              sizeof(::__aps_mail_disclaimer_exclude),
                                              of_aps_mail_disclaimer_exclude::kFields};
static_assert(coversEveryByte(kDisclaimerExclusionType) && isWellFormed(kDisclaimerExclusionType));

}  // namespace Kestrav::Config

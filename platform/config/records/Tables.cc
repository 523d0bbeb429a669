#include "platform/config/records/Tables.h"

#include <cstddef>

#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/GroupRecords.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"

namespace Kestrav::Config {
namespace {

const Table kTables[] = {
    {GID_SYSTEM_GLOBAL, "system", "system settings", &kSystemGlobalType, Scope::kSystemSingle, 0,
     kNoName, "Switches of the whole gateway."},
    {GID_MAIL_SERVER, "mail-server", "mail server settings", &kMailServerType, Scope::kSystemSingle,
     0, kNoName, "Settings of the mail server."},
    {GID_SYSTEM_ANTISPAM, "antispam-settings", "antispam settings", &kSystemAntispamType,
     Scope::kSystemSingle, 0, kNoName,
     "The gateway's own mailboxes for quarantine control and Bayesian training."},
    {GID_DEEP_HEADER, "deep-header", "deep header settings", &kDeepHeaderType, Scope::kSystemSingle,
     0, kNoName, "Settings of the deep header analysis."},
    {GID_SANDBOX, "sandbox", "sandbox settings", &kSandboxType, Scope::kSystemSingle, 0, kNoName,
     "Which attachments are submitted to the sandbox."},
    {GID_MAIL_DISCLAIMER, "disclaimer", "disclaimer", &kDisclaimerType, Scope::kSystemSingle, 0,
     kNoName, "The gateway's disclaimers."},
    {GID_DISCLAIMER_EXCLUDE, "disclaimer-exclusions", "disclaimer exclusion",
     &kDisclaimerExclusionType, Scope::kSystemList, offsetof(__aps_mail_disclaimer_exclude, id),
     kNoName, "Messages that get no disclaimer."},
    {GID_TRUSTED_MTA, "trusted-relays", "trusted relay", &kTrustedRelayType, Scope::kSystemList,
     offsetof(__aps_ip_mask_string, id), offsetof(__aps_ip_mask_string, text),
     "Mail transfer agents whose Received headers are believed."},
    {GID_TRUSTED_ANTISPAM_MTA, "trusted-antispam-relays", "trusted antispam relay",
     &kTrustedRelayType, Scope::kSystemList, offsetof(__aps_ip_mask_string, id),
     offsetof(__aps_ip_mask_string, text),
     "Mail transfer agents whose spam verdicts are believed."},
    {GID_PROTECTED_DOMAIN, "domains", "protected domain", &kProtectedDomainType, Scope::kSystemList,
     offsetof(__aps_gw_server, id), offsetof(__aps_gw_server, name),
     "Domains that the gateway protects."},
    {GID_EMAIL_ADDRESS_GROUP, "email-groups", "e-mail address group", &kEmailGroupType,
     Scope::kSystemList, offsetof(__vexa_email_address_group, id),
     offsetof(__vexa_email_address_group, name), "Groups of e-mail addresses."},
    {GID_IP_ADDRESS_GROUP, "ip-groups", "IP address group", &kIpGroupType, Scope::kSystemList,
     offsetof(__vexa_ip_address_group, id), offsetof(__vexa_ip_address_group, name),
     "Groups of IP addresses."},
    {GID_IP_POLICY, "ip-policies", "IP policy", &kIpPolicyType, Scope::kSystemList,
     offsetof(__qv_ip_policy, id), offsetof(__qv_ip_policy, name),
     "Policies of connections; the first enabled match wins."},
    {GID_INCOMING_POLICY, "incoming-policies", "incoming policy", &kRecipientPolicyType,
     Scope::kDomainList, offsetof(__vexa_recipient_policy, id),
     offsetof(__vexa_recipient_policy, name),
     "Policies of recipients in protected domains; a domain's own come before the system's."},
    {GID_OUTGOING_POLICY, "outgoing-policies", "outgoing policy", &kRecipientPolicyType,
     Scope::kSystemList, offsetof(__vexa_recipient_policy, id),
     offsetof(__vexa_recipient_policy, name), "Policies of all other recipients."},
    {GID_SESSION_PROFILE, "session-profiles", "session profile", &kSessionProfileType,
     Scope::kSystemList, offsetof(__qv_ip_profile, id), offsetof(__qv_ip_profile, name),
     "What a connection may do, and what is changed on delivery."},
    {GID_ACL_RULESET, "access-rules", "access rule set", &kAclRulesetType, Scope::kSystemList,
     offsetof(__aps_acl_ruleset, id), offsetof(__aps_acl_ruleset, name),
     "Access control rules of session profiles."},
    {GID_ADDRESS_MAP, "address-maps", "address map", &kAddressMapType, Scope::kSystemList,
     offsetof(__aps_vip_map, id), offsetof(__aps_vip_map, name),
     "Address rewriting rules of session profiles."},
    {GID_BOUNCE_PROFILE, "bounce-profiles", "bounce profile", &kBounceProfileType,
     Scope::kSystemList, offsetof(__vexa_bounce_profile, id), offsetof(__vexa_bounce_profile, name),
     "How undeliverable mail is reported."},
    {GID_ANTISPAM_PROFILE, "antispam-profiles", "antispam profile", &kAntispamProfileType,
     Scope::kDomainList, offsetof(__aps_gw_as_profile, id), offsetof(__aps_gw_as_profile, name),
     "Which spam classifiers run, and what each verdict leads to."},
    {GID_ANTISPAM_ACTION, "antispam-actions", "antispam action", &kAntispamActionType,
     Scope::kDomainList, offsetof(__aps_antispam_action, id), offsetof(__aps_antispam_action, name),
     "What is done with spam."},
    {GID_WEB_FILTER_PROFILE, "web-filters", "web filter", &kWebFilterProfileType,
     Scope::kSystemList, offsetof(__aps_as_wf_profile, id), offsetof(__aps_as_wf_profile, name),
     "Categories of links that count as spam."},
    {GID_WEB_CATEGORY, "web-categories", "web category", &kWebCategoryType, Scope::kSystemList,
     offsetof(__aps_wcf_category, id), offsetof(__aps_wcf_category, name),
     "Categories of links, as the cloud rating service numbers them."},
    {GID_ANTIVIRUS_PROFILE, "antivirus-profiles", "antivirus profile", &kAntivirusProfileType,
     Scope::kDomainList, offsetof(__aps_gw_av_profile, id), offsetof(__aps_gw_av_profile, name),
     "Which virus scans run, and what each verdict leads to."},
    {GID_ANTIVIRUS_ACTION, "antivirus-actions", "antivirus action", &kAntivirusActionType,
     Scope::kDomainList, offsetof(aps_antivirus_action, id), offsetof(aps_antivirus_action, name),
     "What is done with infected messages."},
    {GID_CONTENT_PROFILE, "content-profiles", "content profile", &kContentProfileType,
     Scope::kDomainList, offsetof(__aps_gw_content_profile, id),
     offsetof(__aps_gw_content_profile, name),
     "How a message's structure and attachments are treated."},
    {GID_CONTENT_ACTION, "content-actions", "content action", &kContentActionType,
     Scope::kDomainList, offsetof(__aps_content_action, id), offsetof(__aps_content_action, name),
     "What is done with messages that a content or DLP profile marked."},
    {GID_FILE_PATTERN, "file-patterns", "file pattern", &kFilePatternType, Scope::kDomainList,
     offsetof(__attachment_file_pattern, id), offsetof(__attachment_file_pattern, name),
     "File types, by MIME type and file name."},
    {GID_DLP_PROFILE, "dlp-profiles", "DLP profile", &kDlpProfileType, Scope::kDomainList,
     offsetof(__aps_dlp_profile, id), offsetof(__aps_dlp_profile, name),
     "Data loss prevention rules."},
    {GID_DICTIONARY, "dictionaries", "dictionary", &kDictionaryType, Scope::kSystemList,
     offsetof(__vexa_dictionary, id), offsetof(__vexa_dictionary, name),
     "Words and patterns to scan for."},
    {GID_DICTIONARY_ITEM, "dictionary-items", "dictionary item", &kDictionaryItemType,
     Scope::kSystemList, offsetof(__vexa_dictionary_item, id), kNoName,
     "Words and patterns, written inside their dictionary.", GID_DICTIONARY, "dictionary", "items"},
    {GID_DICTIONARY_GROUP, "dictionary-groups", "dictionary group", &kDictionaryGroupType,
     Scope::kSystemList, offsetof(__vexa_dictionary_group, id),
     offsetof(__vexa_dictionary_group, name), "Groups of dictionaries."},
    {GID_DICTIONARY_GROUP_ITEM, "dictionary-group-items", "dictionary group item",
     &kDictionaryGroupItemType, Scope::kSystemList, offsetof(__vexa_dictionary_group_item, id),
     kNoName, "Dictionaries of a group, written inside the group.", GID_DICTIONARY_GROUP, "group",
     "dictionaries"},
    {GID_QUARANTINE_FOLDER, "quarantine-folders", "quarantine folder", &kQuarantineFolderType,
     Scope::kSystemList, offsetof(__aps_systemquarantine_folders, id),
     offsetof(__aps_systemquarantine_folders, name), "Folders of the system quarantine."},
    {GID_ENCRYPTION_PROFILE, "encryption-profiles", "encryption profile", &kEncryptionProfileType,
     Scope::kDomainList, offsetof(__vexa_encryption_profile, id),
     offsetof(__vexa_encryption_profile, name), "How messages are encrypted."},
    {GID_NOTIFICATION_PROFILE, "notification-profiles", "notification profile",
     &kNotificationProfileType, Scope::kDomainList, offsetof(__aps_profile_notification, id),
     offsetof(__aps_profile_notification, name), "Notices that are sent when an action fires."},
    {GID_CUSTOM_MESSAGE, "message-templates", "message template", &kCustomMessageType,
     Scope::kSystemList, offsetof(__aps_cmsg_type, id), offsetof(__aps_cmsg_type, name),
     "Templates of messages that the gateway sends."},
    {GID_CERTIFICATE_BINDING, "certificate-bindings", "certificate binding",
     &kCertificateBindingType, Scope::kSystemList, offsetof(__vexa_certificate_binding, id),
     offsetof(__vexa_certificate_binding, name), "Key pairs and certificates of e-mail addresses."},
    {GID_ATTACHMENT_SIGNATURE, "attachment-signatures", "attachment signature",
     &kAttachmentSignatureType, Scope::kSystemList, offsetof(__aps_attachment_signature, id),
     kNoName, "Hashes of known attachments."},
};

}  // namespace

std::span<const Table> tables() {
  return kTables;
}

const Table* findTable(G_CLI_GID gid) {
  for (const Table& table : kTables) {
    if (table.gid == gid) return &table;
  }
  return nullptr;
}

const Table* findTableByKey(std::string_view key) {
  for (const Table& table : kTables) {
    if (table.key == key) return &table;
  }
  return nullptr;
}

const Table* findNestedTable(G_CLI_GID owner, std::string_view key) {
  for (const Table& table : kTables) {
    if (table.owner == owner && table.keyInOwner == key) return &table;
  }
  return nullptr;
}

}  // namespace Kestrav::Config

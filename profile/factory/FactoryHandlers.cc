#include "profile/factory/FactoryHandlers.h"

#include <exception>

#include "DLPRuleFactory.h"
#include "TrustedMTASet.h"
#include "config/CMF.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "profile/sets/TrustedMTATables.h"

namespace Kestrav {

namespace {

// Forget the whole kind that a record type makes; the argument only selects.
void clearKind(ProfileFactory& factory, const __aps_gw_as_profile*) {
  factory.clearAntispamProfiles();
}
void clearKind(ProfileFactory& factory, const __aps_gw_av_profile*) {
  factory.clearAntivirusProfiles();
}
void clearKind(ProfileFactory& factory, const __aps_gw_content_profile*) {
  factory.clearContentProfiles();
}
void clearKind(ProfileFactory& factory, const __aps_dlp_profile*) {
  factory.clearDLPProfiles();
}
void clearKind(ProfileFactory& factory, const __vexa_encryption_profile*) {
  FactoryEvents::clearEncryptionProfiles(factory);
}
void clearKind(ProfileFactory& factory, const __aps_profile_notification*) {
  factory.clearNotificationProfiles();
}
void clearKind(ProfileFactory& factory, const __qv_ip_profile*) {
  factory.clearSessionProfiles();
}
void clearKind(ProfileFactory& factory, const __aps_systemquarantine_folders*) {
  FactoryEvents::clearQuarantineFolders(factory);
}

// Scanners are built into antispam and content profiles.
void dictionariesChanged() {
  DictionaryFactory::instance()->clean();
  ProfileFactory& factory = FactoryEvents::factory();
  factory.clearAntispamProfiles();
  factory.clearContentProfiles();
}

// Follows one change of a trusted address.
void followTrusted(unsigned int table, TrustedAddresses& set, const __aps_ip_mask_string* oldRecord,
                   const __aps_ip_mask_string* newRecord) {
  if (oldRecord != nullptr) {
    if (const auto mask = trustedAddresses(table, *oldRecord)) set.erase(*mask);
  }
  if (newRecord != nullptr) {
    if (const auto mask = trustedAddresses(table, *newRecord)) set.insert(*mask);
  }
}

template <class Handler>
void add() {
  CMF::Event::Dispatcher dispatcher = CMF::Event::Dispatcher::instance("", false, false);
  dispatcher->add(CMF::Event::RefHandler(new Handler, false), 127, 1);
}

}  // namespace

// Within one event the handlers of a table run in this order.
void registerFactoryHandlers() {
  using namespace CMF::Event;
  add<ProfileHandler<__aps_gw_as_profile, GID_ANTISPAM_PROFILE>>();
  add<ProfileHandler<__aps_gw_av_profile, GID_ANTIVIRUS_PROFILE>>();
  add<DeepheaderHandler>();
  add<ProfileHandler<__aps_dlp_profile, GID_DLP_PROFILE>>();
  add<ProfileHandler<__vexa_encryption_profile, GID_ENCRYPTION_PROFILE>>();
  add<ProfileHandler<__aps_profile_notification, GID_NOTIFICATION_PROFILE>>();
  add<ProfileHandler<__aps_gw_content_profile, GID_CONTENT_PROFILE>>();
  add<ProfileHandler<__qv_ip_profile, GID_SESSION_PROFILE>>();
  add<QV_DICTIONARY_GROUP>();
  add<QV_DICTIONARY_GDEFINE>();
  add<QV_DICTIONARY>();
  add<QV_DICTIONAY_ITEM>();
  add<AntiSpamActionHandler>();
  add<AntiVirusActionHandler>();
  add<ContentActionHandler>();
  add<FilePatternHandler>();
  add<CustomMessageHandler>();
  add<MailSettingHandler>();
  add<SessionAddressMapHandler>();
  add<SessionACLHandler>();
  add<BounceRulesHandler>();
  add<WebFilterHandler>();
  add<AntiSpamTrustedMTAHandler>();
  add<AntiSpamTrustedAntiSpamMTAHandler>();
}

void registerQuarantineFolderHandler() {
  add<CMF::Event::ProfileHandler<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>>();
}

}  // namespace Kestrav

namespace Kestrav::CMF::Event {

template <class Rec, unsigned int GID>
void ProfileHandler<Rec, GID>::message(unsigned int domain, const Rec* oldRecord,
                                       const Rec* newRecord) {
  const Rec* named = oldRecord != nullptr ? oldRecord : newRecord;
  if (named == nullptr) return;
  FactoryEvents::factory().update(domain, static_cast<int>(named->id), newRecord);
}

template <class Rec, unsigned int GID>
void ProfileHandler<Rec, GID>::resync() {
  clearKind(FactoryEvents::factory(), static_cast<const Rec*>(nullptr));
}

template class ProfileHandler<__aps_gw_as_profile, GID_ANTISPAM_PROFILE>;
template class ProfileHandler<__aps_gw_av_profile, GID_ANTIVIRUS_PROFILE>;
template class ProfileHandler<__aps_dlp_profile, GID_DLP_PROFILE>;
template class ProfileHandler<__vexa_encryption_profile, GID_ENCRYPTION_PROFILE>;
template class ProfileHandler<__aps_profile_notification, GID_NOTIFICATION_PROFILE>;
template class ProfileHandler<__aps_gw_content_profile, GID_CONTENT_PROFILE>;
template class ProfileHandler<__qv_ip_profile, GID_SESSION_PROFILE>;
template class ProfileHandler<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>;

void DeepheaderHandler::message(unsigned int, const __aps_fasmilter*, const __aps_fasmilter*) {
  FactoryEvents::factory().clearAntispamProfiles();
}

void QV_DICTIONARY_GROUP::message(unsigned int, const __vexa_dictionary_group*,
                                  const __vexa_dictionary_group*) {
  dictionariesChanged();
}

void QV_DICTIONARY_GDEFINE::message(unsigned int, const __vexa_dictionary_group_item*,
                                    const __vexa_dictionary_group_item*) {
  dictionariesChanged();
}

void QV_DICTIONARY::message(unsigned int, const __vexa_dictionary*, const __vexa_dictionary*) {
  dictionariesChanged();
}

void QV_DICTIONAY_ITEM::message(unsigned int, const __vexa_dictionary_item*,
                                const __vexa_dictionary_item*) {
  dictionariesChanged();
}

void AntiSpamActionHandler::message(unsigned int, const __aps_antispam_action*,
                                    const __aps_antispam_action*) {
  FactoryEvents::factory().clearAntispamProfiles();
}

void AntiVirusActionHandler::message(unsigned int, const aps_antivirus_action*,
                                     const aps_antivirus_action*) {
  FactoryEvents::factory().clearAntivirusProfiles();
}

void ContentActionHandler::message(unsigned int, const __aps_content_action*,
                                   const __aps_content_action*) {
  ProfileFactory& factory = FactoryEvents::factory();
  factory.clearContentProfiles();
  factory.clearDLPProfiles();
}

void FilePatternHandler::message(unsigned int, const __attachment_file_pattern*,
                                 const __attachment_file_pattern*) {
  ProfileFactory& factory = FactoryEvents::factory();
  factory.clearFilePatternProfiles();
  factory.clearContentProfiles();
  try {
    DLPRuleFactory::instance()->clearDLPRules();
  } catch (const std::exception& failure) {
    // The rules are a daemon's own code; its failure must not keep stale profiles.
    Logger::instance(false).log(LogCode::kHandlerFailed, "%u\x01%s",
                                static_cast<unsigned int>(GID_FILE_PATTERN), failure.what());
  }
  factory.clearDLPProfiles();
}

void CustomMessageHandler::message(unsigned int, const __aps_cmsg_type*, const __aps_cmsg_type*) {
  FactoryEvents::factory().clearNotificationProfiles();
}

void MailSettingHandler::message(unsigned int, const __aps_mailserver*,
                                 const __aps_mailserver* newRecord) {
  ProfileFactory& factory = FactoryEvents::factory();
  factory.clearContentProfiles();
  factory.updateDeferPeriod(newRecord);
}

void MailSettingHandler::resync() {
  const ObjectQuery<__aps_mailserver, GID_MAIL_SERVER> settings;
  message(0, static_cast<const __aps_mailserver*>(nullptr), settings.update());
}

void SessionAddressMapHandler::message(unsigned int, const __aps_vip_map*, const __aps_vip_map*) {
  FactoryEvents::factory().clearSessionProfiles();
}

void SessionACLHandler::message(unsigned int, const __aps_acl_ruleset*, const __aps_acl_ruleset*) {
  FactoryEvents::factory().clearSessionProfiles();
}

void BounceRulesHandler::message(unsigned int, const __vexa_bounce_profile*,
                                 const __vexa_bounce_profile*) {
  FactoryEvents::factory().clearSessionProfiles();
}

void WebFilterHandler::message(unsigned int, const __aps_as_wf_profile*,
                               const __aps_as_wf_profile*) {
  // In this order: an antispam profile made in between holds a new web filter profile.
  ProfileFactory& factory = FactoryEvents::factory();
  factory.clearWebFilterProfiles();
  factory.clearAntispamProfiles();
}

void AntiSpamTrustedMTAHandler::message(unsigned int, const __aps_ip_mask_string* oldRecord,
                                        const __aps_ip_mask_string* newRecord) {
  followTrusted(GID_TRUSTED_MTA, TrustedMTASetRef::instance(false)->trustedMTAs(), oldRecord,
                newRecord);
}

void AntiSpamTrustedMTAHandler::resync() {
  replaceTrusted<GID_TRUSTED_MTA>(TrustedMTASetRef::instance(false)->trustedMTAs());
}

void AntiSpamTrustedAntiSpamMTAHandler::message(unsigned int, const __aps_ip_mask_string* oldRecord,
                                                const __aps_ip_mask_string* newRecord) {
  followTrusted(GID_TRUSTED_ANTISPAM_MTA, TrustedMTASetRef::instance(false)->trustedAntispamMTAs(),
                oldRecord, newRecord);
}

void AntiSpamTrustedAntiSpamMTAHandler::resync() {
  replaceTrusted<GID_TRUSTED_ANTISPAM_MTA>(
      TrustedMTASetRef::instance(false)->trustedAntispamMTAs());
}

}  // namespace Kestrav::CMF::Event

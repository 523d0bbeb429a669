#include "FactoryHandlers.h"

#include <array>
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
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "profile/factory/FactoryEvents.h"
#include "profile/sets/TrustedMTATables.h"

namespace Kestrav {

namespace {

using Step = void (*)(ProfileFactory&);

template <void (ProfileFactory::*kClear)()>
void clear(ProfileFactory& factory) {
  (factory.*kClear)();
}
constexpr Step kAntispam = clear<&ProfileFactory::clearAntispamProfiles>;
constexpr Step kAntivirus = clear<&ProfileFactory::clearAntivirusProfiles>;
constexpr Step kContent = clear<&ProfileFactory::clearContentProfiles>;
constexpr Step kDlp = clear<&ProfileFactory::clearDLPProfiles>;
constexpr Step kFilePatterns = clear<&ProfileFactory::clearFilePatternProfiles>;
constexpr Step kNotification = clear<&ProfileFactory::clearNotificationProfiles>;
constexpr Step kSession = clear<&ProfileFactory::clearSessionProfiles>;
constexpr Step kWebFilters = clear<&ProfileFactory::clearWebFilterProfiles>;
constexpr Step kEncryption = FactoryEvents::clearEncryptionProfiles;
constexpr Step kQuarantineFolders = FactoryEvents::clearQuarantineFolders;

void cleanDictionaries(ProfileFactory&) { DictionaryFactory::instance()->clean(); }

void clearDlpRules(ProfileFactory&) {
  try {
    DLPRuleFactory::instance()->clearDLPRules();
  } catch (const std::exception& failure) {
    // The rules are a daemon's own code. Its failure must not leave stale profiles in the caches.
    Logger::instance(false).log(LogCode::kHandlerFailed, "%u\x01%s",
                                static_cast<unsigned int>(GID_FILE_PATTERN), failure.what());
  }
}

// What depends on a table. The steps run in this order: a profile that another thread makes between
// two of them must not hold anything that a later step would clear.
struct Dependents {
  unsigned int table;
  std::array<Step, 4> steps;
};

constexpr Dependents kDependents[] = {
    {GID_ANTISPAM_PROFILE, {kAntispam}},
    {GID_ANTIVIRUS_PROFILE, {kAntivirus}},
    {GID_DEEP_HEADER, {kAntispam}},
    {GID_DLP_PROFILE, {kDlp}},
    {GID_ENCRYPTION_PROFILE, {kEncryption}},
    {GID_NOTIFICATION_PROFILE, {kNotification}},
    {GID_CONTENT_PROFILE, {kContent}},
    {GID_SESSION_PROFILE, {kSession}},
    // Scanners of dictionaries are built into antispam and content profiles.
    {GID_DICTIONARY_GROUP, {cleanDictionaries, kAntispam, kContent}},
    {GID_DICTIONARY_GROUP_ITEM, {cleanDictionaries, kAntispam, kContent}},
    {GID_DICTIONARY, {cleanDictionaries, kAntispam, kContent}},
    {GID_DICTIONARY_ITEM, {cleanDictionaries, kAntispam, kContent}},
    {GID_ANTISPAM_ACTION, {kAntispam}},
    {GID_ANTIVIRUS_ACTION, {kAntivirus}},
    {GID_CONTENT_ACTION, {kContent, kDlp}},
    {GID_FILE_PATTERN, {kFilePatterns, kContent, clearDlpRules, kDlp}},
    {GID_CUSTOM_MESSAGE, {kNotification}},
    {GID_MAIL_SERVER, {kContent}},
    {GID_ADDRESS_MAP, {kSession}},
    {GID_ACL_RULESET, {kSession}},
    {GID_BOUNCE_PROFILE, {kSession}},
    {GID_WEB_FILTER_PROFILE, {kWebFilters, kAntispam}},
    {GID_QUARANTINE_FOLDER, {kQuarantineFolders}},
};

template <class Handler>
void add() {
  CMF::Event::Dispatcher dispatcher = CMF::Event::Dispatcher::instance("", false, false);
  dispatcher->add(CMF::Event::RefHandler(new Handler, false), 127, 1);
}

}  // namespace

void clearProfilesOfTable(unsigned int table) {
  ProfileFactory& factory = FactoryEvents::factory();
  for (const Dependents& dependents : kDependents) {
    if (dependents.table != table) continue;
    for (const Step step : dependents.steps) {
      if (step != nullptr) step(factory);
    }
  }
}

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
  clearProfilesOfTable(GID);
  if constexpr (GID == GID_QUARANTINE_FOLDER) {
    FactoryEvents::readFolderIdsOfAnotherStore(FactoryEvents::factory());
  }
}

template class ProfileHandler<__aps_gw_as_profile, GID_ANTISPAM_PROFILE>;
template class ProfileHandler<__aps_gw_av_profile, GID_ANTIVIRUS_PROFILE>;
template class ProfileHandler<__aps_dlp_profile, GID_DLP_PROFILE>;
template class ProfileHandler<__vexa_encryption_profile, GID_ENCRYPTION_PROFILE>;
template class ProfileHandler<__aps_profile_notification, GID_NOTIFICATION_PROFILE>;
template class ProfileHandler<__aps_gw_content_profile, GID_CONTENT_PROFILE>;
template class ProfileHandler<__qv_ip_profile, GID_SESSION_PROFILE>;
template class ProfileHandler<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>;

void MailSettingHandler::message(unsigned int domain, const __aps_mailserver* oldRecord,
                                 const __aps_mailserver* newRecord) {
  ClearingHandler::message(domain, oldRecord, newRecord);
  FactoryEvents::factory().updateDeferPeriod(newRecord);
}

void MailSettingHandler::resync() {
  const ObjectQuery<__aps_mailserver, GID_MAIL_SERVER> settings;
  message(0, static_cast<const __aps_mailserver*>(nullptr), settings.update());
}

template <unsigned int GID>
void TrustedAddressHandler<GID>::message(unsigned int, const __aps_ip_mask_string* oldRecord,
                                         const __aps_ip_mask_string* newRecord) {
  TrustedAddresses& set = trustedSet<GID>();
  if (oldRecord != nullptr) {
    if (const auto mask = trustedAddresses(GID, *oldRecord)) set.erase(*mask);
  }
  if (newRecord != nullptr) {
    if (const auto mask = trustedAddresses(GID, *newRecord)) set.insert(*mask);
  }
}

template <unsigned int GID>
void TrustedAddressHandler<GID>::resync() {
  replaceTrusted<GID>();
}

template class TrustedAddressHandler<GID_TRUSTED_MTA>;
template class TrustedAddressHandler<GID_TRUSTED_ANTISPAM_MTA>;

}  // namespace Kestrav::CMF::Event

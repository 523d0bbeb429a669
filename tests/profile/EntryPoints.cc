#include "tests/profile/EntryPoints.h"

#include <iterator>
#include <utility>

#include "ActionContainer.h"
#include "DLPRuleFactory.h"
#include "DeferPeriod.h"
#include "EmailAddressRewriter.h"
#include "FactoryHandlers.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileGlobalSettings.h"
#include "TrustedMTASet.h"
#include "config/CMF.h"
#include "config/ClientSideCache.h"
#include "config/Event.h"
#include "config/ServerCache.h"
#include "platform/common/Exception.h"
#include "platform/common/Logger.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/StatusArea.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/Events.h"
#include "tests/support/WebFilterRecords.h"

namespace Kestrav::Testing {
namespace {

using namespace CMF;
using Config::ChangeSet;
using Config::ConfigStore;
using Folders = TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>;

const EmailAddress kSender = EmailAddress::rfc5321Parse("sender@elsewhere.example", true);
const EmailAddress kRecipient = EmailAddress::rfc5321Parse("someone@fork.example", false);

void append(std::vector<EntryPoint>& to, std::vector<EntryPoint> more) {
  std::move(more.begin(), more.end(), std::back_inserter(to));
}

// Null when the store does not help.
PolicyIPAddress policyOf(__qv_ip_policy& record) {
  try {
    return PolicyIPAddress(record);
  } catch (const Exception&) {
    return {};
  }
}

}  // namespace

std::vector<EntryPoint> storeEntryPoints(const std::function<ProfileFactory*()>& factory,
                                         std::uint32_t id, Config::ConfigStore* store) {
  static __qv_ip_policy record{};
  static __vexa_recipient_policy recipientRecord{};
  static const PolicyIPAddress ip = policyOf(record);
  static const PolicyRecipient other(kSender, kRecipient, true, false);
  const int number = static_cast<int>(id);
  std::vector<EntryPoint> all = {
      {"PolicyIPAddress by addresses",
       [] { PolicyIPAddress(IPAddress("192.0.2.1"), IPAddress("192.0.2.2")); }},
      {"PolicyIPAddress by record", [] { PolicyIPAddress{record}; }},
      {"PolicyRecipient by addresses", [] { PolicyRecipient(kSender, kRecipient, false, false); }},
      {"PolicyRecipient without policy", [] { PolicyRecipient(kSender, kRecipient, true, false); }},
      {"PolicyRecipient by IP policy", [] { PolicyRecipient(kSender, kRecipient, ip); }},
      {"PolicyRecipient by another", [] { PolicyRecipient(kRecipient, other); }},
      {"cfg_ip_policy_match",
       [] {
         cfg_ip_policy_match(IPAddress("192.0.2.1").asIpAddr(), IPAddress("192.0.2.2").asIpAddr(),
                             &record);
       }},
      {"cfg_get_incoming_policy",
       [] { cfg_get_incoming_policy(nullptr, "someone@fork.example", &recipientRecord); }},
      {"cfg_get_outgoing_policy",
       [] { cfg_get_outgoing_policy(nullptr, "someone@elsewhere.example", &recipientRecord); }},
      {"ProfileFactory::instance", [] { ProfileFactory::instance(); }},
      {"createProfileAntiSpam", [=] { factory()->createProfileAntiSpam(number, 0); }},
      {"createProfileWebFilter", [=] { factory()->createProfileWebFilter(number); }},
      {"createProfileQuarantineFolder",
       [=] { factory()->createProfileQuarantineFolder(number, 0); }},
      {"ProfileAntiSpam by record", [=] { ProfileAntiSpam(0, number, AntispamRecord(id).data()); }},
      {"ProfileWebFilter by record", [=] { ProfileWebFilter(WebFilterRecord(id).data()); }},
      {"createProfileScanner",
       [] { DictionaryFactory::instance()->createProfileScanner("anything"); }},
      {"createGroupScanner", [] { DictionaryFactory::instance()->createGroupScanner("anything"); }},
      {"clearAntispamProfiles", [=] { factory()->clearAntispamProfiles(); }},
      {"deferredPeriod", [=] { factory()->deferredPeriod(); }},
      {"ProfileGlobalSettings::deferredPeriod", [] { ProfileGlobalSettings::deferredPeriod(); }},
      {"quarantineControlSettings", [] { ProfileAntiSpam::quarantineControlSettings(false); }},
      {"bayesianSystemSettings", [] { ProfileAntiSpam::bayesianSystemSettings(false); }},
      {"controlAccountType", [] { ProfileAntiSpam::controlAccountType(kSender); }},
#define KESTRAV_ROW(Rec, GID, Type) \
  {"client-side cache of " #Rec, [] { RefApsSysClientSideCache<Rec, GID>::instance(false); }},
      KESTRAV_CLIENT_SIDE_CACHES(KESTRAV_ROW)
#undef KESTRAV_ROW
          {"RefApsGwServerCache::instance", [] { RefApsGwServerCache::instance(false); }},
      {"TrustedMTASetRef::instance", [] { TrustedMTASetRef::instance(false); }},
      {"initializeTrustedMTASet", [] { initializeTrustedMTASet(); }},
      {"waitApplied", [] { dispatcher()->waitApplied(1, 0); }},
  };
  if (store == nullptr) return all;
  append(all, {
                  {"snapshot", [=] { store->snapshot(); }},
                  {"commit", [=] { store->commit({}); }},
                  {"commitAt", [=] { store->commitAt(1, {}); }},
                  {"revision", [=] { store->revision(); }},
                  {"waitForRevision", [=] { store->waitForRevision(0, 0); }},
                  {"journal", [=] { store->journal(0, 1, [](const Config::JournalEntry&) {}); }},
                  {"registerProcess", [=] { store->registerProcess("child"); }},
                  {"applied", [=] { store->applied(1); }},
                  {"processes", [=] { store->processes(); }},
                  {"status", [=] { store->status(); }},
                  {"wakeWaiting", [=] { store->wakeWaiting(); }},
                  {"statistics", [=] { store->statistics(); }},
                  {"clearDeadReaders", [=] { store->clearDeadReaders(); }},
              });
  return all;
}

std::vector<EntryPoint> plainEntryPoints(std::uint32_t id) {
  return {
      {"a table",
       [=] {
         Folders folders;
         for (auto at = folders.begin(); at != folders.end(); ++at) at->id;
         find(folders, id);
         find(folders, std::string("Bulk"));
       }},
      {"TableQuery::commit",
       [] {
         Folders folders;
         *folders.begin();
         folders.commit();
       }},
      {"a commit of an older revision",
       [] {
         const Lock pin(true);
         Folders folders;
         *folders.begin();
         if (const auto store = ConfigStore::attached()) {
           ChangeSet changes;
           WebFilterRecord(7).name("other").put(changes);
           store->commit(std::move(changes));
         }
         folders.commit();
       }},
      {"ObjectQuery", [] { *ObjectQuery<__aps_mailserver, GID_MAIL_SERVER>(); }},
      {"ObjectQueryById",
       [=] { *ObjectQueryById<__aps_as_wf_profile, GID_WEB_FILTER_PROFILE>(id); }},
      {"Object", [] { *Object<__aps_mail_disclaimer, GID_MAIL_DISCLAIMER>(); }},
      {"Object of a table",
       [] { *Object<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>(); }},
      {"nCfg_query", [] { cmf_query_update(nCfg_query(GID_QUARANTINE_FOLDER)); }},
      {"cmf_shm_read_lock",
       [] {
         cmf_shm_read_lock();
         cmf_shm_read_unlock();
       }},
      {"emptySnapshot", [] { ConfigStore::emptySnapshot().size(GID_MAIL_SERVER, 0); }},
      {"currentZone", [] { Config::StatusArea(Config::currentZone()).contentInspection(); }},
      {"Logger::log", [] { Logger::instance(false).log(0, nullptr); }},
      {"Logger::toFile", [] { Logger::instance(false).toFile("/nowhere/\xff"); }},
      {"Logger::toFile of a folder", [] { Logger::instance(false).toFile("/"); }},
      {"Logger::toFile without a name", [] { Logger::instance(false).toFile(""); }},
      {"Logger::toStderr", [] { Logger::instance(false).toStderr(); }},
  };
}

std::vector<EntryPoint> handlerEntryPoints() {
  const auto call = [](Event::Handler* made) {
    Event::RefHandler handler(made, false);
    handler->message(0, nullptr, nullptr);
    handler->resync();
    dispatcher()->add(handler, 0, 0);
    dispatcher()->remove(handler);
  };
  return {
      {"DeepheaderHandler", [=] { call(new Event::DeepheaderHandler); }},
      {"QV_DICTIONARY", [=] { call(new Event::QV_DICTIONARY); }},
      {"AntiSpamActionHandler", [=] { call(new Event::AntiSpamActionHandler); }},
      {"FilePatternHandler", [=] { call(new Event::FilePatternHandler); }},
      {"MailSettingHandler", [=] { call(new Event::MailSettingHandler); }},
      {"WebFilterHandler", [=] { call(new Event::WebFilterHandler); }},
      {"AntiSpamTrustedMTAHandler", [=] { call(new Event::AntiSpamTrustedMTAHandler); }},
      {"ProfileHandler",
       [=] { call(new Event::ProfileHandler<__aps_gw_as_profile, GID_ANTISPAM_PROFILE>); }},
      {"clearProfilesOfTable", [] { clearProfilesOfTable(GID_FILE_PATTERN); }},
      {"a null handler", [] { dispatcher()->add(Event::RefHandler(), 0, 0); }},
      {"an observer", [] { dispatcher()->unobserve(dispatcher()->observe([](const auto&) {})); }},
      {"stop",
       [] {
         dispatcher()->stop();
         dispatcher()->start();
       }},
  };
}

std::vector<EntryPoint> factoryEntryPoints(std::uint32_t id) {
  const auto factory = [] { return ProfileFactory::instance(); };
  const int number = static_cast<int>(id);
  std::vector<EntryPoint> all = {
#define KESTRAV_ROW(Rec) \
  {"update of " #Rec, [=] { factory()->update(0, number, static_cast<const Rec*>(nullptr)); }},
      KESTRAV_ROW(__aps_gw_as_profile) KESTRAV_ROW(__aps_gw_av_profile)
          KESTRAV_ROW(__aps_gw_content_profile) KESTRAV_ROW(__aps_dlp_profile)
              KESTRAV_ROW(__vexa_encryption_profile) KESTRAV_ROW(__aps_profile_notification)
                  KESTRAV_ROW(__attachment_file_pattern) KESTRAV_ROW(__aps_as_wf_profile)
                      KESTRAV_ROW(__qv_ip_profile) KESTRAV_ROW(__aps_systemquarantine_folders)
#undef KESTRAV_ROW
                          {"updateDeferPeriod", [=] { factory()->updateDeferPeriod(nullptr); }},
      {"clearContentProfiles", [=] { factory()->clearContentProfiles(); }},
      {"clearDLPProfiles", [=] { factory()->clearDLPProfiles(); }},
      {"clearFilePatternProfiles", [=] { factory()->clearFilePatternProfiles(); }},
      {"clearNotificationProfiles", [=] { factory()->clearNotificationProfiles(); }},
      {"clearSessionProfiles", [=] { factory()->clearSessionProfiles(); }},
      {"clearWebFilterProfiles", [=] { factory()->clearWebFilterProfiles(); }},
      {"_clearAntispamProfiles", [=] { factory()->_clearAntispamProfiles(); }},
      {"DLPRuleFactory", [] { DLPRuleFactory::instance()->clearDLPRules(); }},
      {"DeferPeriod",
       [] {
         DeferPeriod{0, 1}();
       }},
      {"a trusted set",
       [] {
         TrustedAddresses& set = TrustedMTASetRef::instance(false)->trustedMTAs();
         set.insert(IPAddressMask("192.0.2.0/24"));
         set.matches(IPAddress("192.0.2.1"));
         set.list();
         set.erase(IPAddressMask("192.0.2.0/24"));
       }},
      {"what a recipient's policy holds",
       [] {
         const PolicyRecipient policy(kSender, kRecipient, false, false);
         policy.policyDomain();
         const ProfileAntiSpam& profile = policy.antispamProfile();
         profile.profileWebFilter().isSpam(3);
         for (const Action& action : profile.actions().actions()) {
           action.addressRewriter()(kRecipient);
         }
       }},
      {"what a protected domain holds",
       [] { RefApsGwServerCache::instance(false).find("fork.example")->record(); }},
  };
  return all;
}

}  // namespace Kestrav::Testing

#include "ProfileFactory.h"

#include <atomic>
#include <mutex>
#include <tuple>

#include "config/ClientSideCache.h"
#include "config/Event.h"
#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "profile/factory/FactoryCaches.h"
#include "profile/factory/FactoryHandlers.h"

namespace Kestrav {

std::uint32_t ProfileFactory::spam_folderId = 0;
std::uint32_t ProfileFactory::virus_folderId = 0;
std::uint32_t ProfileFactory::content_folderId = 0;
std::uint32_t ProfileFactory::dlp_folderId = 0;

namespace {

std::mutex s_making;
// The factory from the moment its caches exist: what event handlers work on. Set under s_making.
std::atomic<ProfileFactory*> s_made{nullptr};
// The factory once it has started: what callers get.
std::atomic<ProfileFactory*> s_instance{nullptr};

// Details are traced above this level of the dispatcher.
constexpr unsigned int kTraceLevel = 2;
constexpr std::uint32_t kNotTraced = 0;

// What an update says in the log.
struct UpdateLog {
  std::uint32_t code;  // of the trace line, or kNotTraced
  const char* signature;
};

template <class Record>
void traceUpdate(const UpdateLog& log, int id, const Record* record) {
  if (log.code == kNotTraced) return;
  if (CMF::Event::Dispatcher::instance("", false, false)->trace() <= kTraceLevel) return;
  // A deleted record has no name any more.
  const std::string name(record == nullptr ? "(null)" : boundedText(record->name));
  Logger::instance(false).log(log.code, "%d\x01%s", id, name.c_str());
}

// Forgets the entry `id` of each cache. What it held is destroyed after the lock is released.
template <class Record, class... Handle>
void drop(CacheLock& lock, int id, const Record* record, const UpdateLog& log,
          ProfileCache<Handle>&... caches) {
  try {
    std::tuple<typename ProfileCache<Handle>::Dropped...> dropped;
    const WriteLock writing(lock);
    traceUpdate(log, id, record);
    dropped = std::make_tuple(caches.erase(id)...);
  } catch (const Exception&) {
    Logger::instance(false).log(LogCode::kProfileUpdateFailed, "%s", log.signature);
  }
}

// Forgets every entry of each cache, and takes the stale mark off.
template <class... Handle>
void dropAll(CacheLock& lock, std::uint32_t dirty, ProfileCache<Handle>&... caches) {
  std::tuple<typename ProfileCache<Handle>::Entries...> dropped;
  const WriteLock writing(lock);
  dropped = std::make_tuple(takeAll(caches, dirty)...);
}

// True while this thread makes a profile from a revision that has not been applied yet: what is
// cached may be older than that, and a profile must not be put together from two revisions.
bool makesAheadOfChanges() {
  if (profilesBeingMade == 0) return false;
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  if (store == nullptr) return false;
  return store->snapshot().revision() >
         CMF::Event::Dispatcher::instance("", false, false)->applied();
}

DeferPeriod deferPeriodOf(const __aps_mailserver& settings) {
  constexpr std::int64_t kMinutesPerHour = 60;
  DeferPeriod period;
  period.start = settings.deferred_start_hour * kMinutesPerHour + settings.deferred_start_minute;
  period.end = settings.deferred_end_hour * kMinutesPerHour + settings.deferred_end_minute;
  return period;
}

}  // namespace

ProfileFactory::ProfileFactory() : caches_(std::make_unique<Caches>()) {}

ProfileFactory::~ProfileFactory() = default;

ProfileFactory* ProfileFactory::instance() {
  ProfileFactory* factory = s_instance.load(std::memory_order_acquire);
  if (factory != nullptr) return factory;
  const std::lock_guard making(s_making);
  factory = s_instance.load(std::memory_order_relaxed);
  if (factory != nullptr) return factory;
  factory = s_made.load(std::memory_order_relaxed);
  if (factory == nullptr) {
    factory = new ProfileFactory;
    s_made.store(factory, std::memory_order_release);
  }
  factory->start();
  s_instance.store(factory, std::memory_order_release);
  return factory;
}

ProfileFactory& FactoryEvents::factory() {
  ProfileFactory* made = s_made.load(std::memory_order_acquire);
  return made != nullptr ? *made : *ProfileFactory::instance();
}

void ProfileFactory::start() {
  readFolderIds();
  // A handler that is registered stays so; a start that failed further down goes on from there.
  if (!handlersRegistered_) {
    registerFactoryHandlers();
    handlersRegistered_ = true;
  }
  const auto settings =
      CMF::RefApsSysClientSideCache<__aps_mailserver, GID_MAIL_SERVER>::instance(false);
  {
    const WriteLock writing(caches_->deferPeriod.lock);
    // A change that came in meanwhile is newer than these settings.
    if (!caches_->deferPeriod.followed) {
      caches_->deferPeriod.value = deferPeriodOf(settings->record());
    }
  }
  registerQuarantineFolderHandler();
}

void ProfileFactory::readFolderIds() {
  CMF::TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER> folders(0);
  const struct {
    const char* name;
    std::uint32_t& id;
  } wanted[] = {{"Bulk", spam_folderId},
                {"Dlp", dlp_folderId},
                {"Content", content_folderId},
                {"Virus", virus_folderId}};
  for (const auto& folder : wanted) {
    const auto found = CMF::find(folders, std::string(folder.name));
    if (found == folders.end()) continue;
    if (const __aps_systemquarantine_folders* record = found.operator->()) folder.id = record->id;
  }
}

// ---------------------------------------------------------------------------------------------------

ProfileAntiSpam ProfileFactory::createProfileAntiSpam(int id, unsigned int domain) const {
  return loadFromDomains<AntispamKind>(*caches_, id, domain);
}

Ref<ProfileQuarantineFolder> ProfileFactory::createProfileQuarantineFolder(int id,
                                                                           unsigned int) const {
  return loadFromSystem<QuarantineFolderKind>(*caches_, id);
}

ProfileWebFilter ProfileFactory::createProfileWebFilter(int id) const {
  ProfileCache<ProfileWebFilter>& cache = caches_->webFilter.entries;
  ProfileWebFilter profile;
  const bool ahead = makesAheadOfChanges();
  if (!ahead) {
    const ReadLock reading(caches_->webFilter.lock);
    if (cache.find(id, profile)) return profile;
  }
  // Under the session lock, not its own: kept on purpose.
  LoadLock loading(caches_->session.lock);
  const std::uint64_t ticket = cache.ticket();
  const CMF::Lock store(true);
  cmf_query* query = nCfg_query(GID_WEB_FILTER_PROFILE);
  if (query == nullptr || id == 0) return profile;
  if (cmf_query_do_get_by_gid(query, static_cast<unsigned int>(id)) != 0) return profile;
  const void* record = cmf_query_update(query);
  if (record == nullptr) return profile;
  if (ahead) return ProfileWebFilter(record);
  return makeOnce(loading, cache, ticket, id, [&] { return ProfileWebFilter(record); });
}

// ---------------------------------------------------------------------------------------------------

void ProfileFactory::update(ngid_t, int id, const __aps_gw_as_profile* record) const {
  drop(caches_->antispam.lock, id, record,
       {LogCode::kAntispamProfileUpdate,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_gw_as_profile*) const"},
       caches_->antispam.entries);
}

void ProfileFactory::update(ngid_t, int id, const __aps_gw_av_profile* record) const {
  drop(caches_->antivirus.lock, id, record,
       {kNotTraced,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_gw_av_profile*) const"},
       caches_->antivirus.entries);
}

void ProfileFactory::update(ngid_t, int id, const __vexa_encryption_profile* record) const {
  drop(caches_->encryption.lock, id, record,
       {kNotTraced,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const vexa_encryption_profile*) const"},
       caches_->encryption.entries);
}

void ProfileFactory::update(ngid_t, int id, const __aps_profile_notification* record) const {
  drop(caches_->notification.lock, id, record,
       {kNotTraced,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_profile_notification*) const"},
       caches_->notification.entries);
}

void ProfileFactory::update(ngid_t, int id, const __aps_gw_content_profile* record) const {
  drop(caches_->content.lock, id, record,
       {LogCode::kContentProfileUpdate,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_gw_content_profile*) const"},
       caches_->content.entries);
}

void ProfileFactory::update(ngid_t, int id, const __aps_dlp_profile* record) const {
  drop(caches_->dlp.lock, id, record,
       {LogCode::kDlpProfileUpdate,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_dlp_profile*) const"},
       caches_->dlp.entries);
}

void ProfileFactory::update(ngid_t, int id, const __attachment_file_pattern* record) const {
  // Under the content lock, not its own: kept on purpose.
  drop(caches_->content.lock, id, record,
       {LogCode::kFilePatternUpdate,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const attachment_file_pattern*) const"},
       caches_->filePattern.entries);
}

void ProfileFactory::update(ngid_t, int id, const __aps_as_wf_profile* record) const {
  drop(caches_->webFilter.lock, id, record,
       {LogCode::kWebFilterOrSessionUpdate,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_as_wf_profile*) const"},
       caches_->webFilter.entries);
}

void ProfileFactory::update(ngid_t, int id, const __qv_ip_profile* record) const {
  drop(caches_->session.lock, id, record,
       {LogCode::kWebFilterOrSessionUpdate,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const qv_ip_profile*) const"},
       caches_->session.delivery, caches_->session.receive);
}

void ProfileFactory::update(ngid_t, int id, const __aps_systemquarantine_folders* record) const {
  drop(caches_->quarantineFolder.lock, id, record,
       {kNotTraced,
        "void Kestrav::ProfileFactory::update(ngid_t, int, const aps_systemquarantine_folders*) "
        "const"},
       caches_->quarantineFolder.entries);
}

// ---------------------------------------------------------------------------------------------------

void ProfileFactory::clearAntispamProfiles() {
  dropAll(caches_->antispam.lock, Config::Zone::kAntispamDirty, caches_->antispam.entries);
}

void ProfileFactory::clearAntivirusProfiles() {
  dropAll(caches_->antivirus.lock, 0, caches_->antivirus.entries);
}

void ProfileFactory::clearContentProfiles() {
  dropAll(caches_->content.lock, Config::Zone::kContentDirty, caches_->content.entries);
}

void ProfileFactory::clearDLPProfiles() {
  dropAll(caches_->dlp.lock, 0, caches_->dlp.entries);
}

void ProfileFactory::clearFilePatternProfiles() {
  dropAll(caches_->filePattern.lock, 0, caches_->filePattern.entries);
}

void ProfileFactory::clearNotificationProfiles() {
  dropAll(caches_->notification.lock, 0, caches_->notification.entries);
}

void ProfileFactory::clearSessionProfiles() {
  dropAll(caches_->session.lock, 0, caches_->session.delivery, caches_->session.receive);
}

void ProfileFactory::clearWebFilterProfiles() {
  dropAll(caches_->webFilter.lock, 0, caches_->webFilter.entries);
}

ProfileFactory::Caches& FactoryEvents::caches(ProfileFactory& factory) {
  return *factory.caches_;
}

void FactoryEvents::clearEncryptionProfiles(ProfileFactory& factory) {
  dropAll(caches(factory).encryption.lock, 0, caches(factory).encryption.entries);
}

void FactoryEvents::clearQuarantineFolders(ProfileFactory& factory) {
  dropAll(caches(factory).quarantineFolder.lock, 0, caches(factory).quarantineFolder.entries);
}

void ProfileFactory::_clearAntispamProfiles() const {
  static_cast<void>(takeAll(caches_->antispam.entries, Config::Zone::kAntispamDirty));
}

void ProfileFactory::_clearContentProfiles() const {
  static_cast<void>(takeAll(caches_->content.entries, Config::Zone::kContentDirty));
}

void ProfileFactory::_clearDLPProfiles() const {
  static_cast<void>(takeAll(caches_->dlp.entries, 0));
}

void ProfileFactory::_clearFilePatternProfiles() const {
  static_cast<void>(takeAll(caches_->filePattern.entries, 0));
}

// ---------------------------------------------------------------------------------------------------

int ProfileFactory::deferredPeriod() {
  const ReadLock reading(caches_->deferPeriod.lock);
  return caches_->deferPeriod.value();
}

void ProfileFactory::updateDeferPeriod(const __aps_mailserver* settings) {
  if (settings == nullptr) return;
  const WriteLock writing(caches_->deferPeriod.lock);
  caches_->deferPeriod.value = deferPeriodOf(*settings);
  caches_->deferPeriod.followed = true;
}

}  // namespace Kestrav

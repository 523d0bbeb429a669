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
#include "platform/config/client/StoreAccess.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "platform/config/store/Attachment.h"
#include "platform/config/store/Fork.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "profile/factory/FactoryEvents.h"
#include "profile/factory/ProfileLoading.h"

namespace Kestrav {

std::uint32_t ProfileFactory::spam_folderId = 0;
std::uint32_t ProfileFactory::virus_folderId = 0;
std::uint32_t ProfileFactory::content_folderId = 0;
std::uint32_t ProfileFactory::dlp_folderId = 0;

namespace {

std::mutex s_starting;
// The factory as soon as its caches exist; event handlers use it. Set under s_starting.
std::atomic<ProfileFactory*> s_made{nullptr};
// The factory once it has started; callers get it.
std::atomic<ProfileFactory*> s_instance{nullptr};

// Updates are traced above this level of the dispatcher.
constexpr unsigned int kTraceLevel = 2;
constexpr std::uint32_t kNotTraced = 0;

// What update() logs: the record's name in the signature of the failed function, and the code of
// the trace line.
template <class Record>
struct UpdateLog {
  const char* record;
  std::uint32_t traceCode;
};

constexpr std::tuple kUpdateLogs{
    UpdateLog<__aps_gw_as_profile>{"aps_gw_as_profile", LogCode::kAntispamProfileUpdate},
    UpdateLog<__aps_gw_av_profile>{"aps_gw_av_profile", kNotTraced},
    UpdateLog<__vexa_encryption_profile>{"vexa_encryption_profile", kNotTraced},
    UpdateLog<__aps_profile_notification>{"aps_profile_notification", kNotTraced},
    UpdateLog<__aps_gw_content_profile>{"aps_gw_content_profile", LogCode::kContentProfileUpdate},
    UpdateLog<__aps_dlp_profile>{"aps_dlp_profile", LogCode::kDlpProfileUpdate},
    UpdateLog<__attachment_file_pattern>{"attachment_file_pattern", LogCode::kFilePatternUpdate},
    UpdateLog<__aps_as_wf_profile>{"aps_as_wf_profile", LogCode::kWebFilterOrSessionUpdate},
    UpdateLog<__qv_ip_profile>{"qv_ip_profile", LogCode::kWebFilterOrSessionUpdate},
    UpdateLog<__aps_systemquarantine_folders>{"aps_systemquarantine_folders", kNotTraced},
};

template <class Record>
void traceUpdate(std::uint32_t code, int id, const Record* record) {
  if (code == kNotTraced) return;
  if (CMF::Event::Dispatcher::instance("", false, false)->trace() <= kTraceLevel) return;
  // A deleted record has no name.
  const std::string name(record == nullptr ? "(null)" : boundedText(record->name));
  Logger::instance(false).log(code, "%d\x01%s", id, name.c_str());
}

// Removes the profiles `id` from the caches. They are destroyed after the lock is released.
template <class Record, class Caches>
void drop(CacheLock& lock, Caches& caches, int id, const Record* record) {
  constexpr UpdateLog<Record> log = std::get<UpdateLog<Record>>(kUpdateLogs);
  try {
    decltype(caches.take(id)) dropped;
    const WriteLock writing(lock);
    traceUpdate(log.traceCode, id, record);
    dropped = caches.take(id);
  } catch (const Exception&) {
    const std::string signature =
        std::string("void Kestrav::ProfileFactory::update(ngid_t, int, const ") + log.record +
        "*) const";
    Logger::instance(false).log(LogCode::kProfileUpdateFailed, "%s", signature.c_str());
  }
}

template <class Record, class Caches>
void drop(Caches& caches, int id, const Record* record) {
  drop(caches.lock, caches, id, record);
}

// Removes all profiles. They are destroyed after the lock is released.
template <class Caches>
void dropAll(Caches& caches) {
  decltype(caches.takeAll()) dropped;
  const WriteLock writing(caches.lock);
  dropped = caches.takeAll();
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
  Config::refuseParentsStore();
  ProfileFactory* factory = s_instance.load(std::memory_order_acquire);
  if (factory != nullptr) return factory;
  const std::lock_guard starting(s_starting);
  factory = s_instance.load(std::memory_order_relaxed);
  if (factory != nullptr) return factory;
  factory = s_made.load(std::memory_order_relaxed);
  if (factory == nullptr) {
    factory = new ProfileFactory;
    s_made.store(factory, std::memory_order_release);
  }
  // This thread may have pinned a revision from before the registration of the handlers.
  Config::Client::atNewestRevision([factory] { factory->start(); });
  s_instance.store(factory, std::memory_order_release);
  return factory;
}

ProfileFactory& FactoryEvents::factory() {
  ProfileFactory* made = s_made.load(std::memory_order_acquire);
  return made != nullptr ? *made : *ProfileFactory::instance();
}

void ProfileFactory::start() {
  readFolderIds();
  // Handlers stay registered when a later step fails; the next call does not register them again.
  if (!handlersRegistered_) {
    registerFactoryHandlers();
    forgetEarlierRevisions();
    handlersRegistered_ = true;
  }
  const auto settings =
      CMF::RefApsSysClientSideCache<__aps_mailserver, GID_MAIL_SERVER>::instance(false);
  {
    const WriteLock writing(caches_->deferPeriod.lock);
    // A change that arrived meanwhile is newer than these settings.
    if (!caches_->deferPeriod.followed) {
      caches_->deferPeriod.value = deferPeriodOf(settings->record());
    }
  }
  registerQuarantineFolderHandler();
  dropAll(caches_->quarantineFolder);
}

// Nothing announces changes of revisions before the registration of the handlers. A load that has
// read such a revision must not be kept.
void ProfileFactory::forgetEarlierRevisions() {
  DictionaryFactory::instance().clean();
  clearAntispamProfiles();
  clearAntivirusProfiles();
  clearContentProfiles();
  clearDLPProfiles();
  clearFilePatternProfiles();
  clearNotificationProfiles();
  clearSessionProfiles();
  clearWebFilterProfiles();
  dropAll(caches_->encryption);
}

void ProfileFactory::readFolderIds() {
  folderIdsReadAt_ = Config::attachmentNumber();
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
  return load<AntispamKind>(*caches_, id, {0, domain});
}

Ref<ProfileQuarantineFolder> ProfileFactory::createProfileQuarantineFolder(int id,
                                                                           unsigned int) const {
  return load<QuarantineFolderKind>(*caches_, id, {0});
}

ProfileWebFilter ProfileFactory::createProfileWebFilter(int id) const {
  Config::refuseParentsStore();
  auto& cache = caches_->webFilter.of<ProfileWebFilter>();
  ProfileWebFilter profile;
  {
    const ReadLock reading(caches_->webFilter.lock);
    if (cache.find(id, profile)) return profile;
  }
  if (!Config::RevisionScope::mayRead()) return profile;
  const std::uint64_t ticket = cache.ticket();
  const CMF::Lock store(true);
  LoadLock loading(caches_->session.lock);  // not its own: kept on purpose
  cmf_query* query = nCfg_query(GID_WEB_FILTER_PROFILE);
  if (query == nullptr || id == 0) return profile;
  if (cmf_query_do_get_by_gid(query, static_cast<unsigned int>(id)) != 0) return profile;
  const void* record = cmf_query_update(query);
  if (record == nullptr) return profile;
  return makeOnce(loading, cache, ticket, id, [&] { return ProfileWebFilter(record); });
}

// ---------------------------------------------------------------------------------------------------

void ProfileFactory::update(ngid_t, int id, const __aps_gw_as_profile* record) const {
  drop(caches_->antispam, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __aps_gw_av_profile* record) const {
  drop(caches_->antivirus, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __vexa_encryption_profile* record) const {
  drop(caches_->encryption, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __aps_profile_notification* record) const {
  drop(caches_->notification, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __aps_gw_content_profile* record) const {
  drop(caches_->content, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __aps_dlp_profile* record) const {
  drop(caches_->dlp, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __attachment_file_pattern* record) const {
  // The content lock, not its own: kept on purpose.
  drop(caches_->content.lock, caches_->filePattern, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __aps_as_wf_profile* record) const {
  drop(caches_->webFilter, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __qv_ip_profile* record) const {
  drop(caches_->session, id, record);
}
void ProfileFactory::update(ngid_t, int id, const __aps_systemquarantine_folders* record) const {
  drop(caches_->quarantineFolder, id, record);
}

// ---------------------------------------------------------------------------------------------------

void ProfileFactory::clearAntispamProfiles() { dropAll(caches_->antispam); }
void ProfileFactory::clearAntivirusProfiles() { dropAll(caches_->antivirus); }
void ProfileFactory::clearContentProfiles() { dropAll(caches_->content); }
void ProfileFactory::clearDLPProfiles() { dropAll(caches_->dlp); }
void ProfileFactory::clearFilePatternProfiles() { dropAll(caches_->filePattern); }
void ProfileFactory::clearNotificationProfiles() { dropAll(caches_->notification); }
void ProfileFactory::clearSessionProfiles() { dropAll(caches_->session); }
void ProfileFactory::clearWebFilterProfiles() { dropAll(caches_->webFilter); }
ProfileFactory::Caches& FactoryEvents::caches(ProfileFactory& factory) { return *factory.caches_; }
void FactoryEvents::clearEncryptionProfiles(ProfileFactory& factory) {
  dropAll(caches(factory).encryption);
}
// The ids are plain numbers that any thread reads: they are read again only for another store,
// while no other thread uses the library.
void FactoryEvents::readFolderIdsOfAnotherStore(ProfileFactory& factory) {
  if (factory.folderIdsReadAt_ == Config::attachmentNumber()) return;
  ProfileFactory::spam_folderId = ProfileFactory::virus_folderId = 0;
  ProfileFactory::content_folderId = ProfileFactory::dlp_folderId = 0;
  factory.readFolderIds();
}

void FactoryEvents::clearQuarantineFolders(ProfileFactory& factory) {
  dropAll(caches(factory).quarantineFolder);
}

void ProfileFactory::_clearAntispamProfiles() const {
  static_cast<void>(caches_->antispam.takeAll());
}
void ProfileFactory::_clearContentProfiles() const {
  static_cast<void>(caches_->content.takeAll());
}
void ProfileFactory::_clearDLPProfiles() const { static_cast<void>(caches_->dlp.takeAll()); }
void ProfileFactory::_clearFilePatternProfiles() const {
  static_cast<void>(caches_->filePattern.takeAll());
}

// ---------------------------------------------------------------------------------------------------

int ProfileFactory::deferredPeriod() {
  Config::refuseParentsStore();
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

// The profile factory's caches, and how each kind is loaded.
//
// Each kind has a lock of its own, but that both session kinds share one, the web filter profiles
// are loaded under the session lock, and a single file pattern profile is dropped under the content
// lock; these pairings are kept on purpose, and safe because the caches guard themselves. No
// operation holds two of the locks at once, but for a load whose profile asks the factory for
// another one: antispam may wait for session.
#pragma once

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <cstdint>

#include "DeferPeriod.h"
#include "ProfSessionDelivery.h"
#include "ProfSessionReceive.h"
#include "ProfileAntiSpam.h"
#include "ProfileAntiVirus.h"
#include "ProfileContent.h"
#include "ProfileDLP.h"
#include "ProfileEncryption.h"
#include "ProfileFactory.h"
#include "ProfileFilePattern.h"
#include "ProfileNotification.h"
#include "ProfileQuarantineFolder.h"
#include "ProfileWebFilter.h"
#include "config/CMF.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/store/StatusArea.h"
#include "profile/factory/ProfileCache.h"

namespace Kestrav {

using CacheLock = boost::shared_mutex;
using ReadLock = boost::shared_lock<CacheLock>;
using LoadLock = boost::upgrade_lock<CacheLock>;
using StoreLock = boost::upgrade_to_unique_lock<CacheLock>;
using WriteLock = boost::unique_lock<CacheLock>;

struct ProfileFactory::Caches {
  template <class Handle>
  struct Kind {
    CacheLock lock;
    ProfileCache<Handle> entries;
  };

  Kind<ProfileAntiSpam> antispam;
  Kind<ProfileAntiVirus> antivirus;
  Kind<ProfileEncryption> encryption;
  Kind<ProfileNotification> notification;
  Kind<ProfileContent> content;
  struct {
    CacheLock lock;
    ProfileCache<ProfSessionReceive> receive;
    ProfileCache<ProfSessionDelivery> delivery;
  } session;
  Kind<ProfileWebFilter> webFilter;
  Kind<ProfileDLP> dlp;
  Kind<ProfileFilePattern> filePattern;
  struct {
    CacheLock lock;
    // Guarded by lock.
    DeferPeriod value;
    bool followed = false;  // a change has set the value
  } deferPeriod;
  Kind<Ref<ProfileQuarantineFolder>> quarantineFolder;
};

// A kind of profile that the factory makes: its record and table, its cache, the bit of the status
// area's flag word that says that the cache is stale (0 for none), and how one is made.

struct AntispamKind {
  using Record = __aps_gw_as_profile;
  using Handle = ProfileAntiSpam;
  static constexpr unsigned int kTable = GID_ANTISPAM_PROFILE;
  static constexpr std::uint32_t kDirty = Config::Zone::kAntispamDirty;
  static auto& kind(ProfileFactory::Caches& caches) { return caches.antispam; }
  static Handle make(ngid_t domain, int id, const Record* record) {
    return Handle(static_cast<int>(domain), id, record);
  }
};

struct QuarantineFolderKind {
  using Record = __aps_systemquarantine_folders;
  using Handle = Ref<ProfileQuarantineFolder>;
  static constexpr unsigned int kTable = GID_QUARANTINE_FOLDER;
  static constexpr std::uint32_t kDirty = 0;
  static auto& kind(ProfileFactory::Caches& caches) { return caches.quarantineFolder; }
  static Handle make(ngid_t, int, const Record* record) {
    return Handle(new ProfileQuarantineFolder(record));
  }
};

// Takes the stale mark off and returns what was cached. Whatever was being loaded meanwhile is kept
// out. Under whatever lock the caller holds.
template <class Handle>
[[nodiscard]] typename ProfileCache<Handle>::Entries takeAll(ProfileCache<Handle>& cache,
                                                             std::uint32_t dirty) {
  // First the mark: one that is set again from here on asks for another round.
  if (dirty != 0) Config::StatusArea(Config::currentZone()).clearDirty(dirty);
  return cache.clear();
}

// The cached profile, or false. Drops the whole kind first when it is marked stale.
template <class Kind>
bool lookUp(ProfileFactory::Caches& caches, int id, typename Kind::Handle& out) {
  auto& kind = Kind::kind(caches);
  typename ProfileCache<typename Kind::Handle>::Entries stale;
  const ReadLock reading(kind.lock);
  if constexpr (Kind::kDirty != 0) {
    if ((Config::StatusArea(Config::currentZone()).dirtyFlags() & Kind::kDirty) != 0) {
      stale = takeAll(kind.entries, Kind::kDirty);
    }
  }
  return kind.entries.find(id, out);
}

// How many profiles the calling thread is making.
inline thread_local int profilesBeingMade = 0;

struct Making {
  Making() { ++profilesBeingMade; }
  ~Making() { --profilesBeingMade; }
  Making(const Making&) = delete;
  Making& operator=(const Making&) = delete;
};

// What `make` makes, kept under `id`; or what another thread has put there meanwhile. Profiles are
// made under the upgrade lock, so that lookups go on; only keeping one excludes them. REQUIRES: the
// store is still being read, at the state that `make` reads.
template <class Handle, class Make>
Handle makeOnce(LoadLock& loading, ProfileCache<Handle>& cache, std::uint64_t ticket, int id,
                const Make& make) {
  Handle profile;
  if (cache.find(id, profile)) return profile;
  {
    const Making making;
    profile = make();
  }
  const Config::Revision read = pinnedRevision();
  const StoreLock storing(loading);
  return cache.publish(ticket, read, id, profile);
}

// Looks in the system domain only.
template <class Kind>
typename Kind::Handle loadFromSystem(ProfileFactory::Caches& caches, int id) {
  typename Kind::Handle cached;
  if (lookUp<Kind>(caches, id, cached)) return cached;

  auto& kind = Kind::kind(caches);
  LoadLock loading(kind.lock);
  const std::uint64_t ticket = kind.entries.ticket();
  CMF::TableQuery<typename Kind::Record, Kind::kTable> system(0);
  const auto found = CMF::find(system, static_cast<unsigned int>(id));
  const typename Kind::Record* record = found == system.end() ? nullptr : found.operator->();
  if (record == nullptr) return typename Kind::Handle();
  return makeOnce(loading, kind.entries, ticket, id, [&] { return Kind::make(0, id, record); });
}

// Looks in the system domain, then in `domain`.
template <class Kind>
typename Kind::Handle loadFromDomains(ProfileFactory::Caches& caches, int id, ngid_t domain) {
  typename Kind::Handle cached;
  if (lookUp<Kind>(caches, id, cached)) return cached;

  auto& kind = Kind::kind(caches);
  LoadLock loading(kind.lock);
  const std::uint64_t ticket = kind.entries.ticket();
  CMF::TableQuery<typename Kind::Record, Kind::kTable> system(0);
  const auto found = CMF::find(system, static_cast<unsigned int>(id));
  if (found != system.end()) {
    const typename Kind::Record* record = found.operator->();
    if (record == nullptr) return typename Kind::Handle();
    return makeOnce(loading, kind.entries, ticket, id, [&] { return Kind::make(0, id, record); });
  }
  CMF::TableQuery<typename Kind::Record, Kind::kTable> own(domain);
  const auto ownFound = CMF::find(own, static_cast<unsigned int>(id));
  const typename Kind::Record* record = ownFound == own.end() ? nullptr : ownFound.operator->();
  if (record == nullptr) return typename Kind::Handle();
  return makeOnce(loading, kind.entries, ticket, id,
                  [&] { return Kind::make(domain, id, record); });
}

}  // namespace Kestrav

// How the factory looks up a profile and loads a missing one.
//
// A kind of profile is described by a struct such as AntispamKind: its record and table, its
// caches, and how a profile is made from a record. The factory's create function is then one line.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "config/CMF.h"
#include "platform/config/client/OneRevision.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/store/Fork.h"
#include "profile/factory/FactoryCaches.h"

namespace Kestrav {

struct AntispamKind {
  using Record = __aps_gw_as_profile;
  using Handle = ProfileAntiSpam;
  static constexpr unsigned int kTable = GID_ANTISPAM_PROFILE;
  static constexpr auto kCaches = &ProfileFactory::Caches::antispam;
  static Handle make(ngid_t domain, int id, const Record* record) {
    return Handle(static_cast<int>(domain), id, record);
  }
};

struct QuarantineFolderKind {
  using Record = __aps_systemquarantine_folders;
  using Handle = Ref<ProfileQuarantineFolder>;
  static constexpr unsigned int kTable = GID_QUARANTINE_FOLDER;
  static constexpr auto kCaches = &ProfileFactory::Caches::quarantineFolder;
  static Handle make(ngid_t, int, const Record* record) {
    return Handle(new ProfileQuarantineFolder(record));
  }
};

// Makes a profile and keeps it under `id`, or returns the one that another thread kept meanwhile.
// The upgrade lock lets lookups go on while the profile is made; only keeping it excludes them.
// REQUIRES: the store is still being read, at the state that `make` reads.
template <class Handle, class Make>
Handle makeOnce(LoadLock& loading, ProfileCache<Handle>& cache, std::uint64_t ticket, int id,
                const Make& make) {
  const Config::Client::MadeAtOneRevision made;
  Handle profile;
  if (cache.find(id, profile)) return profile;
  profile = make();
  const StoreLock storing(loading);
  return cache.publish(ticket, made.revision(), id, profile);
}

// The cached profile, or the one of the first domain in `domains` that has a record of this id;
// null when none has, and when the thread's decision will be made again. Caches that are marked
// stale are cleared first.
template <class Kind>
typename Kind::Handle load(ProfileFactory::Caches& all, int id,
                           std::initializer_list<ngid_t> domains) {
  Config::refuseParentsStore();
  using Handle = typename Kind::Handle;
  auto& kind = all.*Kind::kCaches;
  ProfileCache<Handle>& cache = kind.template of<Handle>();
  {
    decltype(kind.takeAll()) stale;  // destroyed without the lock
    const ReadLock reading(kind.lock);
    if (kind.markedStale()) stale = kind.takeAll();
    if (Handle cached; cache.find(id, cached)) return cached;
  }
  if (!Config::RevisionScope::mayRead()) return Handle();

  const std::uint64_t ticket = cache.ticket();
  // All that the profile is made from is read at one revision. Pinned before the lock is taken: a
  // decision that has pinned may wait for the lock, and a growing map for the decision.
  const CMF::Lock store(true);
  LoadLock loading(kind.lock);
  for (const ngid_t domain : domains) {
    CMF::TableQuery<typename Kind::Record, Kind::kTable> table(domain);
    const auto found = CMF::find(table, static_cast<unsigned int>(id));
    if (found == table.end()) continue;
    const typename Kind::Record* record = found.operator->();
    if (record == nullptr) break;
    return makeOnce(loading, cache, ticket, id, [&] { return Kind::make(domain, id, record); });
  }
  return Handle();
}

}  // namespace Kestrav

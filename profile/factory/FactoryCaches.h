// The profile factory's caches and their locks.
//
// Each kind of profile has its own lock. Exceptions, kept on purpose: both session kinds share one,
// web filter profiles are loaded under the session lock, and a single file pattern profile is
// dropped under the content lock. These are safe because each cache guards itself. No operation
// holds two of the locks, except a load whose profile asks the factory for another one: antispam
// may wait for session.
#pragma once

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <cstdint>
#include <tuple>

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
#include "platform/config/store/Fork.h"
#include "platform/config/store/StatusArea.h"
#include "profile/factory/ProfileCache.h"

namespace Kestrav {

using CacheLock = boost::shared_mutex;
using ReadLock = boost::shared_lock<CacheLock>;
using LoadLock = boost::upgrade_lock<CacheLock>;
using StoreLock = boost::upgrade_to_unique_lock<CacheLock>;
using WriteLock = boost::unique_lock<CacheLock>;

// The caches of the profiles that one record type makes. `kDirty` is the bit of the status area's
// flag word that marks them stale, 0 for none.
template <std::uint32_t kDirty, class... Handle>
struct KindCaches {
  CacheLock lock;
  std::tuple<ProfileCache<Handle>...> caches;

  template <class Kept>
  ProfileCache<Kept>& of() {
    return std::get<ProfileCache<Kept>>(caches);
  }

  static bool markedStale() {
    if constexpr (kDirty == 0) return false;
    return (Config::StatusArea(Config::currentZone()).dirtyFlags() & kDirty) != 0;
  }

  // Both return what they removed. Profiles that are being loaded meanwhile will not be kept. The
  // caller holds whichever lock its operation prescribes.
  [[nodiscard]] auto takeAll() {
    Config::refuseParentsStore();  // the mark is shared with the parent
    // The mark is cleared first: when it is set again from here on, the caches are cleared again.
    if constexpr (kDirty != 0) Config::StatusArea(Config::currentZone()).clearDirty(kDirty);
    return std::apply([](auto&... cache) { return std::tuple(cache.clear()...); }, caches);
  }
  [[nodiscard]] auto take(int id) {
    return std::apply([id](auto&... cache) { return std::tuple(cache.erase(id)...); }, caches);
  }
};

struct ProfileFactory::Caches {
  KindCaches<Config::Zone::kAntispamDirty, ProfileAntiSpam> antispam;
  KindCaches<0, ProfileAntiVirus> antivirus;
  KindCaches<0, ProfileEncryption> encryption;
  KindCaches<0, ProfileNotification> notification;
  KindCaches<Config::Zone::kContentDirty, ProfileContent> content;
  KindCaches<0, ProfSessionReceive, ProfSessionDelivery> session;
  KindCaches<0, ProfileWebFilter> webFilter;
  KindCaches<0, ProfileDLP> dlp;
  KindCaches<0, ProfileFilePattern> filePattern;
  struct {
    CacheLock lock;
    // Guarded by lock.
    DeferPeriod value;
    bool followed = false;  // a change has set the value
  } deferPeriod;
  KindCaches<0, Ref<ProfileQuarantineFolder>> quarantineFolder;
};

}  // namespace Kestrav

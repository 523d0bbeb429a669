// Which of the factory's locks each operation holds, and how. Some pairings look like mistakes and
// are not: other threads go by them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Factory.h"
#include "Gateway.h"
#include "Hooks.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "profile/factory/FactoryCaches.h"
#include "profile/factory/FactoryHandlers.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

// The locks that are held, by name: "shared", "upgrade" or "unique".
using Held = std::map<std::string, std::string>;

std::string stateOf(CacheLock& lock) {
  if (lock.try_lock()) {
    lock.unlock();
    return "free";
  }
  if (lock.try_lock_upgrade()) {
    lock.unlock_upgrade();
    return "shared";
  }
  if (lock.try_lock_shared()) {
    lock.unlock_shared();
    return "upgrade";
  }
  return "unique";
}

// As another thread meets them.
Held heldNow() {
  ProfileFactory::Caches& caches = FactoryEvents::caches(factory());
  const std::map<std::string, CacheLock*> locks = {
      {"antispam", &caches.antispam.lock},
      {"antivirus", &caches.antivirus.lock},
      {"encryption", &caches.encryption.lock},
      {"notification", &caches.notification.lock},
      {"content", &caches.content.lock},
      {"session", &caches.session.lock},
      {"webFilter", &caches.webFilter.lock},
      {"dlp", &caches.dlp.lock},
      {"filePattern", &caches.filePattern.lock},
      {"deferPeriod", &caches.deferPeriod.lock},
      {"quarantineFolder", &caches.quarantineFolder.lock},
  };
  Held held;
  std::thread([&] {
    for (const auto& [name, lock] : locks) {
      if (const std::string state = stateOf(*lock); state != "free") held[name] = state;
    }
  }).join();
  return held;
}

// Handlers are kept out, so that only the test itself is in the factory.
class FactoryLocks : public testing::Test {
 protected:
  void SetUp() override { factory(); }
  void TearDown() override { EXPECT_THAT(heldNow(), IsEmpty()); }

  // The locks that `operation` holds where it asks which store is attached: whatever drops or
  // publishes profiles does so, in the middle of it.
  static Held during(const std::function<void()>& operation) {
    const EventsHeld noEvents;
    Held held;
    bool looking = false;
    const Before<&Config::ConfigStore::attached> look([&] {
      if (looking) return;
      looking = true;
      held = heldNow();
      looking = false;
    });
    operation();
    return held;
  }
};

template <class Rec>
void update() {
  factory().update(0, 1, static_cast<const Rec*>(nullptr));
}

}  // namespace

TEST_F(FactoryLocks, UpdatesHoldTheLockOfTheirKindButForFilePatterns) {
  struct Case {
    void (*update)();
    const char* lock;
  };
  for (const Case& row : {
           Case{&update<__aps_gw_as_profile>, "antispam"},
           Case{&update<__aps_gw_av_profile>, "antivirus"},
           Case{&update<__vexa_encryption_profile>, "encryption"},
           Case{&update<__aps_profile_notification>, "notification"},
           Case{&update<__aps_gw_content_profile>, "content"},
           Case{&update<__aps_dlp_profile>, "dlp"},
           Case{&update<__attachment_file_pattern>, "content"},
           Case{&update<__aps_as_wf_profile>, "webFilter"},
           Case{&update<__qv_ip_profile>, "session"},
           Case{&update<__aps_systemquarantine_folders>, "quarantineFolder"},
       }) {
    SCOPED_TRACE(row.lock);
    EXPECT_THAT(during(row.update), ElementsAre(Pair(row.lock, "unique")));
  }
}

TEST_F(FactoryLocks, ClearsHoldTheLockOfTheirKind) {
  struct Case {
    void (*clear)();
    const char* lock;
  };
  for (const Case& row : {
           Case{[] { factory().clearAntispamProfiles(); }, "antispam"},
           Case{[] { factory().clearAntivirusProfiles(); }, "antivirus"},
           Case{[] { factory().clearContentProfiles(); }, "content"},
           Case{[] { factory().clearDLPProfiles(); }, "dlp"},
           Case{[] { factory().clearFilePatternProfiles(); }, "filePattern"},
           Case{[] { factory().clearNotificationProfiles(); }, "notification"},
           Case{[] { factory().clearSessionProfiles(); }, "session"},
           Case{[] { factory().clearWebFilterProfiles(); }, "webFilter"},
       }) {
    SCOPED_TRACE(row.lock);
    EXPECT_THAT(during(row.clear), ElementsAre(Pair(row.lock, "unique")));
  }
}

TEST_F(FactoryLocks, InnerClearsHoldNone) {
  EXPECT_THAT(during([] { factory()._clearAntispamProfiles(); }), IsEmpty());
  EXPECT_THAT(during([] { factory()._clearContentProfiles(); }), IsEmpty());
  EXPECT_THAT(during([] { factory()._clearDLPProfiles(); }), IsEmpty());
  EXPECT_THAT(during([] { factory()._clearFilePatternProfiles(); }), IsEmpty());
}

TEST_F(FactoryLocks, StaleProfilesAreDroppedUnderTheSharedLock) {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id));
  factory().createProfileAntiSpam(static_cast<int>(id), 0);
  const EventsHeld noEvents;
  std::vector<Held> held;
  bool looking = false;
  const Before<&Config::ConfigStore::attached> look([&] {
    if (std::exchange(looking, true)) return;
    held.push_back(heldNow());
    looking = false;
  });
  store().status().setDirty(Config::Zone::kAntispamDirty);
  factory().createProfileAntiSpam(static_cast<int>(id), 0);
  ASSERT_FALSE(held.empty());
  EXPECT_THAT(held.front(), ElementsAre(Pair("antispam", "shared")));
}

TEST_F(FactoryLocks, LoadsHoldTheUpgradeLockOfTheirKind) {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id).dictionary("no such dictionary"), QuarantineFolderRecord(id, "Box"));
  const int number = static_cast<int>(id);
  EXPECT_THAT(during([number] { factory().createProfileQuarantineFolder(number, 0); }),
              ElementsAre(Pair("quarantineFolder", "upgrade")));

  const LogCapture log;
  const EventsHeld noEvents;
  Held held;
  const Before<&DictionaryFactory::createProfileScanner> look([&](auto&&...) { held = heldNow(); });
  factory().createProfileAntiSpam(number, 0);
  EXPECT_THAT(held, ElementsAre(Pair("antispam", "upgrade")));
}

TEST_F(FactoryLocks, WebFilterLoadsHoldTheSessionsLock) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).categories({1}), AntispamRecord(id).norbex().uriCategoryCheck(id));
  const int number = static_cast<int>(id);
  const EventsHeld noEvents;
  std::map<unsigned int, Held> held;
  const Before<&nCfg_query> look([&](unsigned int gid) { held[gid] = heldNow(); });
  factory().createProfileWebFilter(number);
  const auto session = ElementsAre(Pair("session", "upgrade"));
  EXPECT_THAT(held,
              ElementsAre(Pair(GID_WEB_CATEGORY, session), Pair(GID_WEB_FILTER_PROFILE, session)));

  // The one load within another.
  factory().clearWebFilterProfiles();
  factory().createProfileAntiSpam(number, 0);
  EXPECT_THAT(held[GID_WEB_FILTER_PROFILE],
              ElementsAre(Pair("antispam", "upgrade"), Pair("session", "upgrade")));
}

TEST_F(FactoryLocks, HitsGoOnBesideOtherHolders) {
  const std::uint32_t id = freshId();
  const int number = static_cast<int>(id);
  put(AntispamRecord(id), WebFilterRecord(id), QuarantineFolderRecord(id, "Box"));
  factory().createProfileAntiSpam(number, 0);
  factory().createProfileWebFilter(number);
  factory().createProfileQuarantineFolder(number, 0);
  const EventsHeld noEvents;
  ProfileFactory::Caches& caches = FactoryEvents::caches(factory());
  const LoadLock antispam(caches.antispam.lock);
  const LoadLock webFilter(caches.webFilter.lock);
  const LoadLock folder(caches.quarantineFolder.lock);
  const WriteLock session(caches.session.lock);  // only a web filter that is missing needs it
  const LoadLock period(caches.deferPeriod.lock);
  std::thread([number] {
    EXPECT_FALSE(factory().createProfileAntiSpam(number, 0).isNull());
    EXPECT_FALSE(factory().createProfileWebFilter(number).isNull());
    EXPECT_FALSE(factory().createProfileQuarantineFolder(number, 0).isNull());
    factory().deferredPeriod();
  }).join();
}

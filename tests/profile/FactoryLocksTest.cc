// Which of the factory's locks each operation holds, and in which mode. Some pairings look like
// mistakes, but other threads rely on them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "profile/factory/FactoryCaches.h"
#include "profile/factory/FactoryEvents.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Hooks.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/WebFilterRecords.h"

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

// As another thread finds them.
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

class FactoryLocks : public testing::Test {
 protected:
  void SetUp() override { factory(); }
  void TearDown() override { EXPECT_THAT(heldNow(), IsEmpty()); }

  // The locks that `operation` holds when it asks for the attached store, as every drop and every
  // publication of a profile does. Events are held: no handler uses the factory meanwhile.
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

}  // namespace

TEST_F(FactoryLocks, UpdatesHoldTheLockOfTheirKindExceptThoseOfFilePatterns) {
  struct Case {
    void (*drop)(std::uint32_t id);
    const char* lock;
  };
  for (const Case& row : {
           Case{&drop<__aps_gw_as_profile>, "antispam"},
           Case{&drop<__aps_gw_av_profile>, "antivirus"},
           Case{&drop<__vexa_encryption_profile>, "encryption"},
           Case{&drop<__aps_profile_notification>, "notification"},
           Case{&drop<__aps_gw_content_profile>, "content"},
           Case{&drop<__aps_dlp_profile>, "dlp"},
           Case{&drop<__attachment_file_pattern>, "content"},
           Case{&drop<__aps_as_wf_profile>, "webFilter"},
           Case{&drop<__qv_ip_profile>, "session"},
           Case{&drop<__aps_systemquarantine_folders>, "quarantineFolder"},
       }) {
    SCOPED_TRACE(row.lock);
    EXPECT_THAT(during([&row] { row.drop(1); }), ElementsAre(Pair(row.lock, "unique")));
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
  antispam(id);
  const EventsHeld noEvents;
  std::vector<Held> held;
  bool looking = false;
  const Before<&Config::ConfigStore::attached> look([&] {
    if (std::exchange(looking, true)) return;
    held.push_back(heldNow());
    looking = false;
  });
  store().status().setDirty(Config::Zone::kAntispamDirty);
  antispam(id);
  ASSERT_FALSE(held.empty());
  EXPECT_THAT(held.front(), ElementsAre(Pair("antispam", "shared")));
}

TEST_F(FactoryLocks, LoadsHoldTheLockOfTheirKindForUpgrade) {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id).dictionary("no such dictionary"), QuarantineFolderRecord(id, "Box"));
  EXPECT_THAT(during([id] { folder(id); }), ElementsAre(Pair("quarantineFolder", "upgrade")));

  const LogCapture log;
  const EventsHeld noEvents;
  Held held;
  const Before<&DictionaryFactory::createProfileScanner> look([&](auto&&...) { held = heldNow(); });
  antispam(id);
  EXPECT_THAT(held, ElementsAre(Pair("antispam", "upgrade")));
}

TEST_F(FactoryLocks, WebFilterLoadsHoldTheSessionsLock) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).categories({1}), AntispamRecord(id).cloud().uriCategoryCheck(id));
  const EventsHeld noEvents;
  std::map<unsigned int, Held> held;
  const Before<&nCfg_query> look([&](unsigned int gid) { held[gid] = heldNow(); });
  webFilter(id);
  const auto session = ElementsAre(Pair("session", "upgrade"));
  EXPECT_THAT(held,
              ElementsAre(Pair(GID_WEB_CATEGORY, session), Pair(GID_WEB_FILTER_PROFILE, session)));

  // The only load within another one.
  factory().clearWebFilterProfiles();
  antispam(id);
  EXPECT_THAT(held[GID_WEB_FILTER_PROFILE],
              ElementsAre(Pair("antispam", "upgrade"), Pair("session", "upgrade")));
}

TEST_F(FactoryLocks, HitsDoNotWaitForLoads) {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id), WebFilterRecord(id), QuarantineFolderRecord(id, "Box"));
  antispam(id);
  webFilter(id);
  folder(id);
  const EventsHeld noEvents;
  ProfileFactory::Caches& caches = FactoryEvents::caches(factory());
  const LoadLock antispamLoad(caches.antispam.lock);
  const LoadLock webFilterLoad(caches.webFilter.lock);
  const LoadLock folderLoad(caches.quarantineFolder.lock);
  const WriteLock session(caches.session.lock);  // taken only to load a missing web filter
  const LoadLock periodLoad(caches.deferPeriod.lock);
  std::thread([id] {
    EXPECT_FALSE(antispam(id).isNull());
    EXPECT_FALSE(webFilter(id).isNull());
    EXPECT_FALSE(folder(id).isNull());
    factory().deferredPeriod();
  }).join();
}

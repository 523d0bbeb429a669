// Loads during which the record changes. The caller that started the load may get the old profile,
// but no later one does.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Hooks.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

// While it lives, calls `meanwhile` once: during the next load of an antispam profile that has a
// dictionary.
class DuringAntispamLoad {
 public:
  explicit DuringAntispamLoad(std::function<void()> meanwhile)
      : hook_([this, meanwhile = std::move(meanwhile)](auto&&...) {
          if (!std::exchange(done_, true)) meanwhile();
        }) {}
  ~DuringAntispamLoad() { EXPECT_TRUE(done_); }

 private:
  bool done_ = false;
  const Before<&DictionaryFactory::createProfileScanner> hook_;
};

// The same for a web filter profile that has categories.
class DuringWebFilterLoad {
 public:
  explicit DuringWebFilterLoad(std::function<void()> meanwhile)
      : hook_([this, meanwhile = std::move(meanwhile)](unsigned int gid) {
          if (gid == GID_WEB_CATEGORY && !std::exchange(done_, true)) meanwhile();
        }) {}
  ~DuringWebFilterLoad() { EXPECT_TRUE(done_); }

 private:
  bool done_ = false;
  const Before<&nCfg_query> hook_;
};

AntispamRecord slowRecord(std::uint32_t id, const char* name) {
  return AntispamRecord(id).name(name).dictionary("no such dictionary");
}

class OverlappedLoad : public testing::Test {
 protected:
  void SetUp() override { factory(); }
  const LogCapture log_;  // keeps the messages on the missing dictionary off the terminal
};

}  // namespace

TEST_F(OverlappedLoad, AntispamProfileOlderThanAChangeIsNotServed) {
  const std::uint32_t id = freshId();
  put(slowRecord(id, "old"));
  const DuringAntispamLoad load([&] { putUnapplied(slowRecord(id, "new")); });
  antispam(id);
  awaitApplied(store().revision());
  EXPECT_EQ(antispam(id).name(), "new");
  EXPECT_EQ(antispam(id).name(), "new");
}

TEST_F(OverlappedLoad, AntispamProfileOlderThanAStaleMarkIsNotServed) {
  const std::uint32_t id = freshId();
  put(slowRecord(id, "old"));
  EventsHeld held;
  const DuringAntispamLoad load([&] {
    held.put(slowRecord(id, "new"));
    store().status().setDirty(Config::Zone::kAntispamDirty);
    // Another thread finds the mark and clears it.
    std::thread([] { factory()._clearAntispamProfiles(); }).join();
  });
  antispam(id);
  EXPECT_EQ(antispam(id).name(), "new");
}

TEST_F(OverlappedLoad, WebFilterAntispamProfileOlderThanAChangeIsNotServed) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).name("old").categories({1}));
  // The handlers finish before the load ends: they take another lock.
  const DuringWebFilterLoad load([&] { put(WebFilterRecord(id).name("new").categories({1})); });
  webFilter(id);
  EXPECT_EQ(webFilter(id).name(), "new");
}

TEST_F(OverlappedLoad, WebFilterOlderThanAnUpdateIsNotServed) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).name("old").categories({1}));
  EventsHeld held;
  const DuringWebFilterLoad load([&] {
    held.put(WebFilterRecord(id).name("new").categories({1}));
    drop<__aps_as_wf_profile>(id);
  });
  webFilter(id);
  EXPECT_EQ(webFilter(id).name(), "new");
}

TEST_F(OverlappedLoad, WebFilterOlderThanAClearIsNotServed) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).name("old").categories({1}));
  EventsHeld held;
  const DuringWebFilterLoad load([&] {
    held.put(WebFilterRecord(id).name("new").categories({1}));
    factory().clearWebFilterProfiles();
  });
  webFilter(id);
  EXPECT_EQ(webFilter(id).name(), "new");
}

TEST_F(OverlappedLoad, AntispamProfileOlderThanAChangeOfItsWebFilterIsNotServed) {
  const std::uint32_t filter = freshId();
  const std::uint32_t id = freshId();
  put(WebFilterRecord(filter).name("old").categories({1}),
      AntispamRecord(id).cloud().uriCategoryCheck(filter));
  const auto filterName = [&] { return antispam(id).profileWebFilter().name(); };
  const DuringWebFilterLoad load(
      [&] { putUnapplied(WebFilterRecord(filter).name("new").categories({1})); });
  filterName();
  awaitApplied(store().revision());
  EXPECT_EQ(filterName(), "new");
}

TEST_F(OverlappedLoad, HitsGoOnDuringALoad) {
  const std::uint32_t slow = freshId();
  const std::uint32_t cached = freshId();
  put(slowRecord(slow, "slow"), AntispamRecord(cached).name("cached"));
  ASSERT_EQ(antispam(cached).name(), "cached");
  const DuringAntispamLoad load([&] {
    // A load holds its lock for upgrade, which admits hits.
    std::thread([&] { EXPECT_EQ(antispam(cached).name(), "cached"); }).join();
  });
  EXPECT_EQ(antispam(slow).name(), "slow");
}

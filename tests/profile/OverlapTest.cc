// Loads that are overtaken by a change: what was read before it may be handed to the caller who
// asked before it, but is not served again.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "Factory.h"
#include "Gateway.h"
#include "Hooks.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr int kPatience = 60'000;  // ms

// Calls `meanwhile` once, in the middle of the next load of a profile that has a dictionary.
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

// The same for web filter profiles: their categories are read while they are made.
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

std::string antispamName(std::uint32_t id) {
  return factory().createProfileAntiSpam(static_cast<int>(id), 0).name();
}
std::string webFilterName(std::uint32_t id) {
  return factory().createProfileWebFilter(static_cast<int>(id)).name();
}

class Overlap : public testing::Test {
 protected:
  void SetUp() override { factory(); }
  const LogCapture log_;  // keeps the missing dictionary off the terminal
};

}  // namespace

TEST_F(Overlap, LoadOvertakenByAChangeIsNotServedAgain) {
  const std::uint32_t id = freshId();
  put(slowRecord(id, "old"));
  const DuringAntispamLoad load([&] {
    Config::ChangeSet changes;
    slowRecord(id, "new").put(changes);
    store().commit(std::move(changes));
  });
  antispamName(id);
  ASSERT_TRUE(dispatcher()->waitApplied(store().revision(), kPatience));
  EXPECT_EQ(antispamName(id), "new");
  EXPECT_EQ(antispamName(id), "new");
}

TEST_F(Overlap, LoadOvertakenByTheStaleMarkIsNotServedAgain) {
  const std::uint32_t id = freshId();
  put(slowRecord(id, "old"));
  EventsHeld held;
  const DuringAntispamLoad load([&] {
    held.put(slowRecord(id, "new"));
    store().status().setDirty(Config::Zone::kAntispamDirty);
    // Another thread meets the mark and takes it off.
    std::thread([] { factory()._clearAntispamProfiles(); }).join();
  });
  antispamName(id);
  EXPECT_EQ(antispamName(id), "new");
}

TEST_F(Overlap, WebFilterLoadOvertakenByAChangeIsNotServedAgain) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).name("old").categories({1}));
  // The change is through with its handlers before the load ends: they take another lock.
  const DuringWebFilterLoad load([&] { put(WebFilterRecord(id).name("new").categories({1})); });
  webFilterName(id);
  EXPECT_EQ(webFilterName(id), "new");
}

TEST_F(Overlap, WebFilterLoadOvertakenByAnUpdateIsNotServedAgain) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).name("old").categories({1}));
  EventsHeld held;
  const DuringWebFilterLoad load([&] {
    held.put(WebFilterRecord(id).name("new").categories({1}));
    factory().update(0, static_cast<int>(id), static_cast<const __aps_as_wf_profile*>(nullptr));
  });
  webFilterName(id);
  EXPECT_EQ(webFilterName(id), "new");
}

TEST_F(Overlap, WebFilterLoadOvertakenByAClearIsNotServedAgain) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id).name("old").categories({1}));
  EventsHeld held;
  const DuringWebFilterLoad load([&] {
    held.put(WebFilterRecord(id).name("new").categories({1}));
    factory().clearWebFilterProfiles();
  });
  webFilterName(id);
  EXPECT_EQ(webFilterName(id), "new");
}

// The web filter is found as it is now, while the antispam profile around it is of before.
TEST_F(Overlap, AntispamLoadOvertakenByItsWebFilterIsNotServedAgain) {
  const std::uint32_t filter = freshId();
  const std::uint32_t id = freshId();
  put(WebFilterRecord(filter).name("old").categories({1}),
      AntispamRecord(id).norbex().uriCategoryCheck(filter));
  const auto filterName = [&] {
    return factory().createProfileAntiSpam(static_cast<int>(id), 0).profileWebFilter().name();
  };
  const DuringWebFilterLoad load([&] {
    Config::ChangeSet changes;
    WebFilterRecord(filter).name("new").categories({1}).put(changes);
    store().commit(std::move(changes));
  });
  filterName();
  ASSERT_TRUE(dispatcher()->waitApplied(store().revision(), kPatience));
  EXPECT_EQ(filterName(), "new");
}

TEST_F(Overlap, LoadsOfOtherProfilesGoOnDuringALoad) {
  const std::uint32_t slow = freshId();
  const std::uint32_t cached = freshId();
  put(slowRecord(slow, "slow"), AntispamRecord(cached).name("cached"));
  ASSERT_EQ(antispamName(cached), "cached");
  const DuringAntispamLoad load([&] {
    // A hit needs the lock that the load holds for those who fill only.
    std::thread([&] { EXPECT_EQ(antispamName(cached), "cached"); }).join();
  });
  EXPECT_EQ(antispamName(slow), "slow");
}

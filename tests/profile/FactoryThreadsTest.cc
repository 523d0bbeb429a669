// The factory under many threads: loads, changes, stale marks and clears at once.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "TrustedMTASet.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Together.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/SystemRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr int kRounds = 60;

// Calls `read` on several threads without pause while `write` runs.
void readWhile(const std::function<void()>& read, const std::function<void()>& write) {
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      while (!done) read();
    });
  }
  write();
  done = true;
  for (std::thread& thread : threads) thread.join();
}

template <class Handle>
void expectOne(const std::vector<Handle>& handles) {
  for (const Handle& handle : handles) {
    ASSERT_FALSE(handle.isNull());
    EXPECT_TRUE(handle == handles.front());
  }
}

}  // namespace

TEST(FactoryThreads, ConcurrentMissesMakeOneProfile) {
  factory();
  for (int round = 0; round < kRounds; ++round) {
    const std::uint32_t id = freshId();
    put(AntispamRecord(id), WebFilterRecord(id), QuarantineFolderRecord(id, "Together"));
    std::vector<ProfileAntiSpam> profiles(kThreads);
    std::vector<ProfileWebFilter> webFilters(kThreads);
    std::vector<Ref<ProfileQuarantineFolder>> folders(kThreads);
    together([&](int thread) {
      const auto at = static_cast<std::size_t>(thread);
      profiles[at] = antispam(id, static_cast<ngid_t>(thread));
      webFilters[at] = webFilter(id);
      folders[at] = folder(id, static_cast<ngid_t>(thread));
    });
    expectOne(profiles);
    expectOne(webFilters);
    expectOne(folders);
  }
}

TEST(FactoryThreads, NothingOldIsServedOnceAChangeIsApplied) {
  const std::uint32_t id = freshId();
  std::atomic<int> applied{0};
  const auto putRound = [&](int round) {
    const std::string name = std::to_string(round);
    put(AntispamRecord(id).name(name).cloud().uriCategoryCheck(id).rbl({"bl.example"}),
        WebFilterRecord(id).name(name), QuarantineFolderRecord(id, name));
    applied = round;
  };
  factory();
  putRound(1);
  readWhile(
      [&] {
        const int atLeast = applied;
        const ProfileAntiSpam profile = antispam(id, 5);
        EXPECT_GE(std::stoi(profile.name()), atLeast);
        EXPECT_GE(std::stoi(profile.profileWebFilter().name()), atLeast);
        EXPECT_GE(std::stoi(webFilter(id).name()), atLeast);
        EXPECT_GE(std::stoi(folder(id)->name()), atLeast);
      },
      [&] {
        for (int round = 2; round <= kRounds; ++round) putRound(round);
      });
  EXPECT_EQ(antispam(id).name(), std::to_string(kRounds));
}

TEST(FactoryThreads, StaleMarksAndClearsDuringLoads) {
  const std::uint32_t id = freshId();
  factory();
  put(AntispamRecord(id).cloud().uriCategoryCheck(id), WebFilterRecord(id));
  factory().updateDeferPeriod(&MailServerRecord().deferredPeriod(1, 0, 1, 0).record());
  readWhile(
      [&] {
        EXPECT_EQ(antispam(id).id(), static_cast<int>(id));
        EXPECT_FALSE(webFilter(id).isNull());
        EXPECT_EQ(factory().deferredPeriod(), 0);
      },
      [&] {
        for (int round = 0; round < kRounds; ++round) {
          store().status().setDirty(Config::Zone::kAntispamDirty | Config::Zone::kContentDirty);
          antispam(id);
          EXPECT_EQ(store().status().dirtyFlags() & Config::Zone::kAntispamDirty, 0u);
          drop<__aps_gw_as_profile>(id);
          drop<__aps_as_wf_profile>(id);
          drop<__attachment_file_pattern>(id);
          factory().clearWebFilterProfiles();
          factory().clearSessionProfiles();
          factory().clearFilePatternProfiles();
          factory().clearContentProfiles();
          factory().updateDeferPeriod(&MailServerRecord().deferredPeriod(1, 0, 1, 0).record());
        }
      });
}

TEST(FactoryThreads, TrustedSetsFollowTheirTableWhileTheyAreRead) {
  const std::uint32_t id = freshId();
  const IPAddressMask kept(std::string("203.0.113.7"));
  const auto address = [](int round) { return "198.51.100." + std::to_string(round); };
  factory();
  put(TrustedMtaRecord(id, address(0)), TrustedMtaRecord(freshId(), "203.0.113.7"));
  readWhile(
      [&] {
        initializeTrustedMTASet();
        const TrustedMTASetRef sets = TrustedMTASetRef::instance(false);
        EXPECT_TRUE(sets->trustedMTAs().contains(kept));
        EXPECT_TRUE(sets->trustedMTAs().matches(IPAddress("203.0.113.7")));
        EXPECT_GE(sets->trustedMTAs().list().size(), 1u);
      },
      [&] {
        for (int round = 1; round <= kRounds; ++round) put(TrustedMtaRecord(id, address(round)));
      });
  // No reader put back an address that it had read from the table before the change.
  const TrustedMTASetRef sets = TrustedMTASetRef::instance(false);
  EXPECT_TRUE(sets->trustedMTAs().contains(kept));
  for (int round = 0; round <= kRounds; ++round) {
    EXPECT_EQ(sets->trustedMTAs().contains(IPAddressMask(address(round))), round == kRounds)
        << round;
  }
}

// The factory under many threads: loads, changes, stale marks and clears at once.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ProfileFactory.h"
#include "TrustedMTASet.h"
#include "config/Event.h"
#include "platform/config/store/StatusArea.h"
#include "tests/support/Builders.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav {
namespace {

using namespace Testing;

constexpr int kReaders = 4;
constexpr int kRounds = 60;

class ProfileFactoryThreads : public StoreFixture {
 protected:
  void SetUp() override {
    factory_ = ProfileFactory::instance();
    dispatcher()->start();
  }
  void TearDown() override { dispatcher()->stop(); }

  static CMF::Event::Dispatcher dispatcher() {
    return CMF::Event::Dispatcher::instance("", false, false);
  }

  template <class... Builders>
  void commit(const Builders&... records) {
    Config::ChangeSet changes;
    (records.put(changes), ...);
    const Config::Revision revision = store().commit(std::move(changes));
    ASSERT_TRUE(dispatcher()->waitApplied(revision, 60'000));
  }

  // Calls `read` on several threads for as long as `write` runs.
  static void readWhile(const std::function<void()>& read, const std::function<void()>& write) {
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < kReaders; ++i) {
      threads.emplace_back([&] {
        while (!done) read();
      });
    }
    write();
    done = true;
    for (std::thread& thread : threads) thread.join();
  }

  ProfileFactory* factory_ = nullptr;
};

TEST_F(ProfileFactoryThreads, NothingOldIsServedOnceAChangeIsApplied) {
  std::atomic<int> applied{0};
  const auto put = [&](int round) {
    const std::string name = std::to_string(round);
    commit(AntispamRecord(1).name(name).norbex().uriCategoryCheck(2).rbl({"bl.example"}),
           WebFilterRecord(2).name(name), QuarantineFolderRecord(3, name));
    applied = round;
  };
  put(1);
  readWhile(
      [&] {
        const int atLeast = applied;
        const ProfileAntiSpam antispam = factory_->createProfileAntiSpam(1, 5);
        EXPECT_GE(std::stoi(antispam.name()), atLeast);
        EXPECT_GE(std::stoi(antispam.profileWebFilter().name()), atLeast);
        EXPECT_GE(std::stoi(factory_->createProfileWebFilter(2).name()), atLeast);
        EXPECT_GE(std::stoi(factory_->createProfileQuarantineFolder(3, 0)->name()), atLeast);
      },
      [&] {
        for (int round = 2; round <= kRounds; ++round) put(round);
      });
  EXPECT_EQ(factory_->createProfileAntiSpam(1, 0).name(), std::to_string(kRounds));
}

TEST_F(ProfileFactoryThreads, OneProfileIsMadeForAllWhoAskAtOnce) {
  commit(AntispamRecord(1));
  std::vector<ProfileAntiSpam> got(kReaders);
  for (int round = 0; round < kRounds; ++round) {
    factory_->clearAntispamProfiles();
    std::vector<std::thread> threads;
    for (ProfileAntiSpam& mine : got) {
      threads.emplace_back([this, &mine] { mine = factory_->createProfileAntiSpam(1, 0); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const ProfileAntiSpam& one : got) EXPECT_EQ(one, got.front());
  }
}

TEST_F(ProfileFactoryThreads, StaleMarksAndClearsMeetLoads) {
  commit(AntispamRecord(1).norbex().uriCategoryCheck(2), WebFilterRecord(2));
  const __aps_gw_as_profile* const deleted = nullptr;
  const __aps_as_wf_profile* const noFilter = nullptr;
  const __attachment_file_pattern* const noPattern = nullptr;
  readWhile(
      [&] {
        EXPECT_EQ(factory_->createProfileAntiSpam(1, 0).id(), 1);
        EXPECT_FALSE(factory_->createProfileWebFilter(2).isNull());
        EXPECT_EQ(factory_->deferredPeriod(), 0);
      },
      [&] {
        for (int round = 0; round < kRounds; ++round) {
          store().status().setDirty(Config::Zone::kAntispamDirty | Config::Zone::kContentDirty);
          factory_->createProfileAntiSpam(1, 0);
          EXPECT_EQ(store().status().dirtyFlags() & Config::Zone::kAntispamDirty, 0u);
          factory_->update(0, 1, deleted);
          factory_->update(0, 2, noFilter);
          factory_->update(0, 3, noPattern);
          factory_->clearWebFilterProfiles();
          factory_->clearSessionProfiles();
          factory_->clearFilePatternProfiles();
          factory_->clearContentProfiles();
          factory_->updateDeferPeriod(MailServerRecord().deferredPeriod(1, 0, 1, 0).operator->());
        }
      });
}

TEST_F(ProfileFactoryThreads, TrustedAddressesFollowTheirTableWhateverReadsIt) {
  commit(TrustedMtaRecord(1, "192.0.2.1"), TrustedMtaRecord(2, "192.0.2.2"));
  readWhile(
      [&] {
        initializeTrustedMTASet();
        EXPECT_TRUE(
            TrustedMTASetRef::instance(false)->trustedMTAs().matches(IPAddress("192.0.2.2")));
      },
      [&] {
        for (int round = 1; round <= kRounds; ++round) {
          commit(TrustedMtaRecord(1, "198.51.100." + std::to_string(round)));
        }
      });
  const TrustedMTASetRef sets = TrustedMTASetRef::instance(false);
  EXPECT_EQ(sets->trustedMTAs().size(), 2u);
  EXPECT_TRUE(sets->trustedMTAs().contains(IPAddressMask("198.51.100." + std::to_string(kRounds))));
}

}  // namespace
}  // namespace Kestrav

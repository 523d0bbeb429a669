// The places that many threads reach at once.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ActionContainer.h"
#include "EmailAddressRewriter.h"
#include "Factory.h"
#include "Gateway.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "TrustedMTASet.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr int kThreads = 4;

// Runs `work` in several threads, begun together.
void together(const std::function<void(int thread)>& work) {
  std::barrier begin(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      begin.arrive_and_wait();
      work(i);
    });
  }
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

TEST(LibraryThreads, MissesOnOneProfileMakeOne) {
  factory();
  for (int round = 0; round < 30; ++round) {
    const std::uint32_t id = freshId();
    put(AntispamRecord(id), WebFilterRecord(id), QuarantineFolderRecord(id, "Together"));
    std::vector<ProfileAntiSpam> antispam(kThreads);
    std::vector<ProfileWebFilter> webFilters(kThreads);
    std::vector<Ref<ProfileQuarantineFolder>> folders(kThreads);
    together([&](int thread) {
      const auto at = static_cast<std::size_t>(thread);
      antispam[at] = factory().createProfileAntiSpam(static_cast<int>(id), at);
      webFilters[at] = factory().createProfileWebFilter(static_cast<int>(id));
      folders[at] = factory().createProfileQuarantineFolder(static_cast<int>(id), at);
    });
    expectOne(antispam);
    expectOne(webFilters);
    expectOne(folders);
  }
}

TEST(LibraryThreads, RewriterServesEachCallerItsOwnAddress) {
  const EmailAddressRewriter shared("%%LOCAL%%@archive.%%DOMAIN%%");
  std::atomic<int> wrong{0};
  together([&](int thread) {
    const std::string number = std::to_string(thread);
    const EmailAddress own =
        EmailAddress::rfc5321Parse("user" + number + "@d" + number + ".example", false);
    const std::string expected = "user" + number + "@archive.d" + number + ".example";
    const EmailAddressRewriter copy = shared;
    for (int i = 0; i < 300; ++i) {
      if (copy(own).address() != expected) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(LibraryThreads, ActionsAreReadTogether) {
  for (int round = 0; round < 50; ++round) {
    ActionContainer shared;
    shared.add(Action(0x8));
    shared.add(Action(0x10));
    together([&](int) {
      const ActionContainer copy = shared;
      EXPECT_EQ(copy.aggregate(), 0x18u);
      EXPECT_EQ(copy.find(0x10).type(), 0x10u);
    });
  }
}

TEST(LibraryThreads, ParsingIsAskedForTogether) {
  const std::uint32_t spam = freshId();
  put(AntispamRecord(spam).dmarc());
  for (int round = 0; round < 50; ++round) {
    IpPolicyRecord record = IpPolicyRecord(1).antispam(spam);
    const PolicyIPAddress shared(record.record());
    together([&](int) {
      const PolicyIPAddress copy = shared;
      EXPECT_TRUE(copy.messageParsingRequired());
    });
  }
}

TEST(LibraryThreads, SystemSettingsAreFirstAskedForTogether) {
  put(SystemAntispamRecord().quarantineControl("release", "delete"));
  together([&](int) {
    EXPECT_NE(ProfileAntiSpam::quarantineControlSettings(false), nullptr);
    EXPECT_NE(ProfileAntiSpam::bayesianSystemSettings(false), nullptr);
    EXPECT_EQ(ProfileAntiSpam::controlAccountType(
                  EmailAddress::rfc5321Parse("delete@example.com", false)),
              2u);
  });
}

TEST(LibraryThreads, TrustedSetsAreReadWhileTheyChange) {
  factory();
  const std::uint32_t id = freshId();
  const IPAddressMask kept(std::string("203.0.113.7"));
  put(TrustedMtaRecord(freshId(), "203.0.113.7"));
  initializeTrustedMTASet();
  together([&](int thread) {
    const TrustedMTASetRef sets = TrustedMTASetRef::instance(false);
    for (int i = 0; i < 20; ++i) {
      if (thread == 0) {
        put(TrustedMtaRecord(id, "10.1.0." + std::to_string(i)));
      } else if (thread == 1) {
        initializeTrustedMTASet();
      } else {
        EXPECT_TRUE(sets->trustedMTAs().contains(kept));
        EXPECT_TRUE(sets->trustedMTAs().matches(IPAddress("203.0.113.7")));
        EXPECT_GE(sets->trustedMTAs().list().size(), 1u);
      }
    }
  });
  // What was replaced is gone, though it was read from the table meanwhile.
  for (int i = 0; i < 19; ++i) {
    EXPECT_FALSE(TrustedMTASetRef::instance(false)->trustedMTAs().contains(
        IPAddressMask("10.1.0." + std::to_string(i))))
        << i;
  }
}

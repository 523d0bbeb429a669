// Values that many threads share: reading them together, the first time included.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "ActionContainer.h"
#include "EmailAddressRewriter.h"
#include "PolicyIPAddress.h"
#include "ProfileAntiSpam.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Together.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/PolicyRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

TEST(SharedValues, RewriterServesEachCallerItsOwnAddress) {
  const EmailAddressRewriter shared("%%LOCAL%%@archive.%%DOMAIN%%");
  std::atomic<int> wrong{0};
  together([&](int thread) {
    const std::string number = std::to_string(thread);
    const EmailAddress own = address("user" + number + "@d" + number + ".example");
    const std::string expected = "user" + number + "@archive.d" + number + ".example";
    const EmailAddressRewriter copy = shared;
    for (int i = 0; i < 300; ++i) {
      if (copy(own).address() != expected) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(SharedValues, ActionsAreReadTogether) {
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

TEST(SharedValues, ParsingIsFirstAskedForTogether) {
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

TEST(SharedValues, SystemSettingsAreFirstAskedForTogether) {
  put(SystemAntispamRecord().quarantineControl("release", "delete"));
  together([&](int) {
    // Read, so that the sanitizers see an object that another thread's first call would destroy.
    EXPECT_LE(ProfileAntiSpam::quarantineControlSettings(false)->first.size(), 35u);
    EXPECT_LE(ProfileAntiSpam::bayesianSystemSettings(false)->account1.size(), 35u);
    EXPECT_EQ(ProfileAntiSpam::controlAccountType(address("delete@example.com")), 2u);
  });
}

// What was read before the factory, the caches or the handlers existed is not served after a
// change.
//
// Each test runs in a process of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <string>
#include <utility>
#include <vector>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "config/CMF.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/SystemRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr int kProfile = 7;

// Events are delivered from here on, but the factory does not exist.
void startEvents() {
  const PolicyRecipient policy(EmailAddress(), address("user@b.example"), true, true);
  ASSERT_EQ(policy.direction(), PolicyRecipient::kOutgoing);
  contentInspection(true);
}

IpPolicyRecord policy() {
  return IpPolicyRecord(1).client("192.0.2.1").antispam(kProfile);
}

std::string decidedProfile() {
  const PolicyIPAddress decision(IPAddress("192.0.2.1"), IPAddress("192.0.2.2"));
  return decision.antispamProfile().name();
}

}  // namespace

TEST(FirstUse, OfTheFactoryOnAThreadWithAnOlderReadLock) {
  put(AntispamRecord(kProfile).name("old"), policy());
  startEvents();
  {
    const CMF::Lock pin(true);
    put(AntispamRecord(kProfile).name("new"));
    EXPECT_EQ(ProfileFactory::instance()->createProfileAntiSpam(kProfile, 0).name(), "old");
  }
  EXPECT_EQ(ProfileFactory::instance()->createProfileAntiSpam(kProfile, 0).name(), "new");
  EXPECT_EQ(decidedProfile(), "new");
}

// The settings and the profile change while the first decision compiles the policies.
TEST(FirstUse, OfTheFactoryByADecisionDuringAChange) {
  put(AntispamRecord(kProfile).name("old"), policy(), IpPolicyRecord(2).client("no mask"),
      MailServerRecord().deferredPeriod(0, 0, 0, 0));
  startEvents();
  bool changed = false;
  {
    const auto capture = Logger::instance().capture([&](const Logger::Message& message) {
      if (message.code != LogCode::kPolicyRecordSkipped || std::exchange(changed, true)) return;
      std::async(std::launch::async, [] {
        put(AntispamRecord(kProfile).name("new"), MailServerRecord().deferredPeriod(0, 0, 24, 0));
      }).get();
    });
    EXPECT_THAT(decidedProfile(), testing::AnyOf("old", "new"));
  }
  ASSERT_TRUE(changed);
  EXPECT_EQ(decidedProfile(), "new");
  EXPECT_NE(ProfileFactory::instance()->deferredPeriod(), 0) << "the period of the whole day";
}

TEST(FirstUse, OfAScannerBeforeTheFactory) {
  put(DictionaryRecord(1, "words"), DictionaryItemRecord(2, 1, "old"),
      AntispamRecord(kProfile).dictionary("words"));
  startEvents();
  const auto before = DictionaryFactory::instance().createProfileScanner("words");
  put(DictionaryItemRecord(2, 1, "new"));
  const ProfileAntiSpam profile = ProfileFactory::instance()->createProfileAntiSpam(kProfile, 0);
  EXPECT_FALSE(profile.dictionaryScanner() == before);
}

// A handler that was registered before the caches decides while a store is attached.
TEST(FirstUse, OfTheCachesByAHandlerOfAnAttachment) {
  class OnResync : public CMF::Event::Handler {
   public:
    explicit OnResync(std::function<void()> call)
        : Handler(GID_CUSTOM_MESSAGE), call_(std::move(call)) {}
    void message(unsigned int, const void*, const void*) override {}
    void resync() override { call_(); }

   private:
    const std::function<void()> call_;
  };
  std::vector<std::string> decisions;
  const auto decide = [&] {
    const PolicyRecipient policy(EmailAddress(), address("user@protected.example"), false, false);
    decisions.push_back(policy.isNull() ? "none" : policy.name());
  };
  bool asked = false;
  const CMF::Event::RefHandler handler(new OnResync([&] {
                                         if (asked) decide();
                                       }),
                                       false);
  dispatcher()->add(handler, 127, 1);
  put(ProtectedDomainRecord(1, "protected.example"), IncomingPolicyRecord(1).name("incoming"),
      OutgoingPolicyRecord(1).name("outgoing"));
  const auto attached = Config::ConfigStore::attached();
  Config::ConfigStore::detach();
  decide();  // the caches know of no domain
  asked = true;
  Config::ConfigStore::attach(attached);
  asked = false;
  decide();
  dispatcher()->remove(handler);
  EXPECT_THAT(decisions, testing::ElementsAre("none", "incoming", "incoming"));
}

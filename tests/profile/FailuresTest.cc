// Failures inside the library: which ones are logged and swallowed, and which ones reach the
// caller.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Hooks.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;

namespace {

[[noreturn]] void fail() {
  throw Exception("the store is gone", 77, "Store", 12);
}

struct Kind {
  const char* record;  // as the signature names it
  void (*drop)(std::uint32_t id);
  bool asksTheDispatcher;
};

const Kind kKinds[] = {
    {"aps_gw_as_profile", &drop<__aps_gw_as_profile>, true},
    {"aps_gw_av_profile", &drop<__aps_gw_av_profile>, false},
    {"vexa_encryption_profile", &drop<__vexa_encryption_profile>, false},
    {"aps_profile_notification", &drop<__aps_profile_notification>, false},
    {"aps_gw_content_profile", &drop<__aps_gw_content_profile>, true},
    {"aps_dlp_profile", &drop<__aps_dlp_profile>, true},
    {"attachment_file_pattern", &drop<__attachment_file_pattern>, true},
    {"aps_as_wf_profile", &drop<__aps_as_wf_profile>, true},
    {"qv_ip_profile", &drop<__qv_ip_profile>, true},
    {"aps_systemquarantine_folders", &drop<__aps_systemquarantine_folders>, false},
};

std::string signature(const char* record) {
  return std::string("void Kestrav::ProfileFactory::update(ngid_t, int, const ") + record +
         "*) const";
}

}  // namespace

TEST(FactoryFailure, OfAnUpdateIsLoggedWithItsSignatureAndSwallowed) {
  factory();
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.record);
    const LogCapture log;
    {
      const EventsHeld noEvents;
      const Before<&Config::ConfigStore::attached> failing(fail);
      EXPECT_NO_THROW(kind.drop(1));
    }
    EXPECT_THAT(log.codes(), ElementsAre(LogCode::kProfileUpdateFailed));
    EXPECT_THAT(log.fields(0x30001C2), ElementsAre(ElementsAre(signature(kind.record))));
  }
}

TEST(FactoryFailure, OfTheDispatcherIsLoggedByTheKindsThatAskIt) {
  factory();
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.record);
    const LogCapture log;
    {
      const Before<&CMF::Event::Dispatcher::instance> failing(
          [](const std::string& name, bool first, bool second) {
            EXPECT_EQ(name, "");
            EXPECT_FALSE(first);
            EXPECT_FALSE(second);
            fail();
          });
      EXPECT_NO_THROW(kind.drop(1));
    }
    EXPECT_EQ(log.fields(0x30001C2).size(), kind.asksTheDispatcher ? 1u : 0u);
  }
}

TEST(FactoryFailure, OfAnUpdateLeavesTheLockFree) {
  const std::uint32_t id = freshId();
  factory();
  put(AntispamRecord(id));
  const LogCapture log;
  {
    const Before<&CMF::Event::Dispatcher::instance> failing([](auto&&...) { fail(); });
    drop<__aps_gw_as_profile>(1);
  }
  EXPECT_FALSE(antispam(id).isNull());
  factory().clearAntispamProfiles();
}

// --- Profiles

TEST(ProfileFailure, OfADictionaryOrACategoryReachesTheCallerAndNothingIsCached) {
  const std::uint32_t id = freshId();
  factory();
  put(WebFilterRecord(id).categories({1}),
      AntispamRecord(id).cloud().uriCategoryCheck(id).dictionary("no such dictionary"));
  const LogCapture log;
  {
    const Before<&nCfg_query> failing([](unsigned int gid) {
      if (gid == GID_WEB_CATEGORY) fail();
    });
    EXPECT_THROW(webFilter(id), Exception);
    EXPECT_THROW(antispam(id), Exception);
  }
  {
    const Before<&DictionaryFactory::createProfileScanner> failing([](auto&&...) { fail(); });
    EXPECT_THROW(antispam(id), Exception);
  }
  const ProfileAntiSpam made = antispam(id);
  ASSERT_FALSE(made.isNull());
  EXPECT_FALSE(made.profileWebFilter().isNull());
}

// --- The event thread

TEST(EventThread, GoesOnWhenTheStoreCannotBeRead) {
  const std::uint32_t id = freshId();
  factory();
  put(AntispamRecord(id).name("old"));
  EXPECT_EQ(antispam(id).name(), "old");
  const LogCapture log;
  {
    std::atomic<bool> journalFailed{false};
    const Before<&Config::ConfigStore::journal> noJournal([&](auto&&...) {
      journalFailed = true;
      fail();
    });
    const Before<&Config::ConfigStore::revision> noRevision([&](auto&&...) {
      if (journalFailed.exchange(false)) fail();
    });
    put(AntispamRecord(id).name("new"));
  }
  EXPECT_EQ(antispam(id).name(), "new");
}

// --- Policies

namespace {

// A recipient whose outgoing policy names an antispam profile.
std::string recipientWithProfile() {
  const std::string name = "f" + std::to_string(freshId()) + ".example";
  put(OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(freshId()));
  return "user@" + name;
}

const EmailAddress kSender = address("from@sender.example");

}  // namespace

TEST(PolicyFailure, OfARecipientsPolicyIsLoggedAndGivesNone) {
  const EmailAddress recipient = address(recipientWithProfile());
  const LogCapture log;
  const Before<&ProfileFactory::createProfileAntiSpam> failing([](auto&&...) { fail(); });
  EXPECT_TRUE(PolicyRecipient(kSender, recipient, false, true).isNull());
  EXPECT_THAT(log.codes(), ElementsAre(0x030001BDu));
  EXPECT_THAT(log.fields(0x030001BD),
              ElementsAre(ElementsAre(Exception("the store is gone", 77, "Store", 12).asString())));
}

TEST(PolicyFailure, OfTheProtectedDomainsIsLoggedByEachConstructorThatAsksThem) {
  IpPolicyRecord record(1);
  const PolicyIPAddress ip(record.record());
  const EmailAddress recipient = address("user@nowhere.example");
  const Before<&CMF::RefApsGwServerCache::instance> failing([](bool) { fail(); });
  {
    const LogCapture log;
    EXPECT_TRUE(PolicyRecipient(kSender, recipient, false, true).isNull());
    EXPECT_EQ(log.fields(0x030001BD).size(), 1u);
  }
  {
    const LogCapture log;
    EXPECT_TRUE(PolicyRecipient(kSender, recipient, ip).isNull());
    EXPECT_EQ(log.fields(0x030001BD).size(), 1u);
  }
  {
    const LogCapture log;
    EXPECT_TRUE(PolicyRecipient(kSender, recipient, true, true).isNull());
    EXPECT_EQ(log.fields(0x030001BD).size(), 1u);
  }
  {
    const LogCapture log;  // the last flag: does not ask
    EXPECT_FALSE(PolicyRecipient(kSender, recipient, true, false).isNull());
    EXPECT_TRUE(log.codes().empty());
  }
}

TEST(PolicyFailure, OfAnotherTypeReachesTheCaller) {
  const EmailAddress recipient = address(recipientWithProfile());
  const LogCapture log;
  const Before<&ProfileFactory::createProfileAntiSpam> failing(
      [](auto&&...) { throw std::runtime_error("not ours"); });
  EXPECT_THROW(PolicyRecipient(kSender, recipient, false, true), std::runtime_error);
  EXPECT_TRUE(log.codes().empty());
}

TEST(PolicyFailure, OfTheProtectedDomainsWithAnotherTypeReachesTheCaller) {
  IpPolicyRecord record(1);
  const PolicyIPAddress ip(record.record());
  const EmailAddress recipient = address("user@nowhere.example");
  const LogCapture log;
  const Before<&CMF::RefApsGwServerCache::instance> failing(
      [](bool) { throw std::runtime_error("not ours"); });
  EXPECT_THROW(PolicyRecipient(kSender, recipient, false, true), std::runtime_error);
  EXPECT_THROW(PolicyRecipient(kSender, recipient, ip), std::runtime_error);
  EXPECT_THROW(PolicyRecipient(kSender, recipient, true, true), std::runtime_error);
  EXPECT_TRUE(log.codes().empty());
}

TEST(PolicyFailure, OfAConnectionsPolicyReachesTheCaller) {
  IpPolicyRecord record(1);
  const LogCapture log;
  const Before<&ProfileFactory::createProfileAntiSpam> failing([](auto&&...) { fail(); });
  EXPECT_THROW(PolicyIPAddress(record.record()), Exception);
  EXPECT_TRUE(log.codes().empty());
}

TEST(PolicyFailure, RewritingTextThatDoesNotCompileTakesNoPolicyDown) {
  const std::uint32_t action = freshId();
  const std::uint32_t spam = freshId();
  const std::string name = "f" + std::to_string(freshId()) + ".example";
  put(AntispamActionRecord(action).rewrite(3, "%%LOCAL", 0, ""),
      AntispamRecord(spam).defaultAction(action),
      OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(spam));
  const LogCapture log;
  const PolicyRecipient policy(kSender, address("user@" + name), false, true);
  ASSERT_FALSE(policy.isNull());
  EXPECT_TRUE(policy.antispamProfile().actions().find(0x400).addressRewriter()(kSender).isNull());
  IpPolicyRecord record = IpPolicyRecord(1).antispam(spam);
  EXPECT_FALSE(PolicyIPAddress(record.record()).antispamProfile().isNull());
  EXPECT_TRUE(log.fields(0x030001BD).empty());
}

// What becomes of failures inside the library: which are logged and swallowed, and which are the
// caller's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "Factory.h"
#include "Gateway.h"
#include "Hooks.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/SessionRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;

namespace {

[[noreturn]] void fail() {
  throw Exception("the store is gone", 77, "Store", 12);
}

EmailAddress address(const std::string& text) {
  return EmailAddress::rfc5321Parse(text, false);
}

template <class Rec>
void update() {
  factory().update(0, 1, static_cast<const Rec*>(nullptr));
}

struct Kind {
  const char* record;  // as the signature names it
  void (*update)();
  bool asksTheDispatcher;
};

const Kind kKinds[] = {
    {"aps_gw_as_profile", &update<__aps_gw_as_profile>, true},
    {"aps_gw_av_profile", &update<__aps_gw_av_profile>, false},
    {"vexa_encryption_profile", &update<__vexa_encryption_profile>, false},
    {"aps_profile_notification", &update<__aps_profile_notification>, false},
    {"aps_gw_content_profile", &update<__aps_gw_content_profile>, true},
    {"aps_dlp_profile", &update<__aps_dlp_profile>, true},
    {"attachment_file_pattern", &update<__attachment_file_pattern>, true},
    {"aps_as_wf_profile", &update<__aps_as_wf_profile>, true},
    {"qv_ip_profile", &update<__qv_ip_profile>, true},
    {"aps_systemquarantine_folders", &update<__aps_systemquarantine_folders>, false},
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
      EXPECT_NO_THROW(kind.update());
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
      EXPECT_NO_THROW(kind.update());
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
    factory().update(0, 1, static_cast<const __aps_gw_as_profile*>(nullptr));
  }
  EXPECT_FALSE(factory().createProfileAntiSpam(static_cast<int>(id), 0).isNull());
  factory().clearAntispamProfiles();
}

// --- Profiles

TEST(ProfileFailure, OfADictionaryOrACategoryIsTheCallersAndNothingIsKept) {
  const std::uint32_t id = freshId();
  const int number = static_cast<int>(id);
  factory();
  put(WebFilterRecord(id).categories({1}),
      AntispamRecord(id).norbex().uriCategoryCheck(id).dictionary("no such dictionary"));
  const LogCapture log;
  {
    const Before<&nCfg_query> failing([](unsigned int gid) {
      if (gid == GID_WEB_CATEGORY) fail();
    });
    EXPECT_THROW(factory().createProfileWebFilter(number), Exception);
    EXPECT_THROW(factory().createProfileAntiSpam(number, 0), Exception);
  }
  {
    const Before<&DictionaryFactory::createProfileScanner> failing([](auto&&...) { fail(); });
    EXPECT_THROW(factory().createProfileAntiSpam(number, 0), Exception);
  }
  const ProfileAntiSpam made = factory().createProfileAntiSpam(number, 0);
  ASSERT_FALSE(made.isNull());
  EXPECT_FALSE(made.profileWebFilter().isNull());
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

TEST(PolicyFailure, OfTheProtectedDomainsIsLoggedByAllWhoAskThem) {
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
    const LogCapture log;  // this one does not ask them
    EXPECT_FALSE(PolicyRecipient(kSender, recipient, true, false).isNull());
    EXPECT_TRUE(log.codes().empty());
  }
}

TEST(PolicyFailure, OfAnotherTypeIsTheCallers) {
  const EmailAddress recipient = address(recipientWithProfile());
  const LogCapture log;
  const Before<&ProfileFactory::createProfileAntiSpam> failing(
      [](auto&&...) { throw std::runtime_error("not ours"); });
  EXPECT_THROW(PolicyRecipient(kSender, recipient, false, true), std::runtime_error);
  EXPECT_TRUE(log.codes().empty());
}

TEST(PolicyFailure, OfAnotherTypeIsTheCallersHoweverThePolicyIsMade) {
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

TEST(PolicyFailure, OfAConnectionsPolicyIsTheCallers) {
  IpPolicyRecord record(1);
  const LogCapture log;
  const Before<&ProfileFactory::createProfileAntiSpam> failing([](auto&&...) { fail(); });
  EXPECT_THROW(PolicyIPAddress(record.record()), Exception);
  EXPECT_TRUE(log.codes().empty());
}

// The same with nothing in between: an action whose address rewriting rule does not compile.
TEST(PolicyFailure, BadActionOfAProfileGivesNoPolicy) {
  const std::uint32_t action = freshId();
  const std::uint32_t spam = freshId();
  const std::string name = "f" + std::to_string(freshId()) + ".example";
  put(AntispamActionRecord(action).rewrite(3, "%%LOCAL", 0, ""),
      AntispamRecord(spam).defaultAction(action),
      OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(spam));
  const LogCapture log;
  EXPECT_TRUE(PolicyRecipient(kSender, address("user@" + name), false, true).isNull());
  EXPECT_EQ(log.fields(0x030001BD).size(), 1u);
  IpPolicyRecord record = IpPolicyRecord(1).antispam(spam);
  EXPECT_THROW(PolicyIPAddress(record.record()), Exception);
}

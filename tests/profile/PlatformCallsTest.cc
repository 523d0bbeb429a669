// The calls that the policies' constructors make to the platform and the factory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "platform/common/IPAddress.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Hooks.h"
#include "tests/support/Addresses.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class PlatformCalls : public testing::Test {
 protected:
  void TearDown() override { contentInspection(true); }

  std::vector<std::string> calls;
  int domainLookups = 0;
  std::vector<std::pair<int, unsigned int>> antispamRequests;

 private:
  void recipientCall(const char* what, const char* sender, const char* recipient) {
    calls.push_back(std::string(what) + " " + (sender == nullptr ? "null" : sender) + " " +
                    recipient);
  }

  const Before<&cfg_ip_policy_match> ipPolicy_{
      [this](const ip_addr_t& server, const ip_addr_t& client, auto*) {
        calls.push_back("server " + IPAddress(server).asString() + " client " +
                        IPAddress(client).asString());
      }};
  const Before<&cfg_get_incoming_policy> incoming_{
      [this](const char* sender, const char* recipient, auto*) {
        recipientCall("incoming", sender, recipient);
      }};
  const Before<&cfg_get_outgoing_policy> outgoing_{
      [this](const char* sender, const char* recipient, auto*) {
        recipientCall("outgoing", sender, recipient);
      }};
  const Before<&CMF::RefApsGwServerCache::instance> domains_{[this](bool) { ++domainLookups; }};
  const Before<&ProfileFactory::createProfileAntiSpam> antispam_{
      [this](const ProfileFactory&, int id, unsigned int domain) {
        antispamRequests.emplace_back(id, domain);
      }};
};

const EmailAddress kSender = address("from@sender.example");

}  // namespace

TEST_F(PlatformCalls, MatcherIsAskedForTheServerAndThenTheClient) {
  PolicyIPAddress(IPAddress("192.0.2.1"), IPAddress("2001:db8::25"));
  EXPECT_THAT(calls, ElementsAre("server 2001:db8::25 client 192.0.2.1"));
}

TEST_F(PlatformCalls, MatcherIsNotAskedAboutNullAddresses) {
  EXPECT_TRUE(PolicyIPAddress(IPAddress(), IPAddress("192.0.2.1")).isNull());
  EXPECT_TRUE(PolicyIPAddress(IPAddress("192.0.2.1"), IPAddress()).isNull());
  EXPECT_TRUE(PolicyIPAddress(IPAddress(), IPAddress()).isNull());
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(PlatformCalls, MatcherIsNotAskedForARecordAtHand) {
  IpPolicyRecord record(1);
  EXPECT_FALSE(PolicyIPAddress(record.record()).isNull());
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(PlatformCalls, OutgoingPoliciesAreAskedAboutOtherDomains) {
  PolicyRecipient(kSender, address("user@nowhere.example"), false, true);
  EXPECT_THAT(calls, ElementsAre("outgoing from@sender.example user@nowhere.example"));
}

TEST_F(PlatformCalls, IncomingPoliciesAreAskedAboutProtectedDomains) {
  const std::string name = "p" + std::to_string(freshId()) + ".example";
  put(ProtectedDomainRecord(freshId(), name));
  PolicyRecipient(kSender, address("user@" + name), false, false);
  EXPECT_THAT(calls, ElementsAre("incoming from@sender.example user@" + name));
}

TEST_F(PlatformCalls, NullSenderIsPassedAsNull) {
  const std::string name = "p" + std::to_string(freshId()) + ".example";
  put(ProtectedDomainRecord(freshId(), name));
  PolicyRecipient(EmailAddress(), address("user@nowhere.example"), false, true);
  PolicyRecipient(EmailAddress(), address("user@" + name), false, true);
  EXPECT_THAT(calls,
              ElementsAre("outgoing null user@nowhere.example", "incoming null user@" + name));
}

TEST_F(PlatformCalls, NullRecipientIsAnsweredWithoutAsking) {
  IpPolicyRecord record(1);
  const PolicyIPAddress ip(record.record());
  const PolicyRecipient other(kSender, address("user@nowhere.example"), true, false);
  domainLookups = 0;
  EXPECT_TRUE(PolicyRecipient(kSender, EmailAddress(), false, true).isNull());
  EXPECT_TRUE(PolicyRecipient(kSender, EmailAddress(), true, true).isNull());
  EXPECT_TRUE(PolicyRecipient(kSender, EmailAddress(), ip).isNull());
  EXPECT_TRUE(PolicyRecipient(EmailAddress(), other).isNull());
  EXPECT_TRUE(
      PolicyRecipient(kSender, address("user@nowhere.example"), PolicyIPAddress()).isNull());
  EXPECT_THAT(calls, IsEmpty());
  EXPECT_EQ(domainLookups, 0);
}

TEST_F(PlatformCalls, NoPolicyIsAskedForWhenNoneIsWanted) {
  PolicyRecipient(kSender, address("user@nowhere.example"), true, true);
  EXPECT_EQ(domainLookups, 1);
  PolicyRecipient(kSender, address("user@nowhere.example"), true, false);
  EXPECT_EQ(domainLookups, 1);
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(PlatformCalls, DerivedPoliciesAskForNone) {
  IpPolicyRecord record(1);
  const PolicyIPAddress ip(record.record());
  antispamRequests.clear();
  const PolicyRecipient derived(kSender, address("user@nowhere.example"), ip);
  PolicyRecipient(address("two@nowhere.example"), derived);
  EXPECT_THAT(calls, IsEmpty());
  EXPECT_THAT(antispamRequests, IsEmpty());
}

TEST_F(PlatformCalls, ConnectionsAskForTheirProfileEvenWhenItsIdIsZero) {
  IpPolicyRecord record(1);
  PolicyIPAddress(record.record());
  PolicyIPAddress(record.antispam(17).ngid(9).record());
  EXPECT_THAT(antispamRequests, ElementsAre(Pair(0, 0u), Pair(17, 0u)));
}

TEST_F(PlatformCalls, ProfilesAreNotAskedForWithoutContentInspection) {
  const std::string name = "p" + std::to_string(freshId()) + ".example";
  put(OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(17));
  contentInspection(false);
  IpPolicyRecord record = IpPolicyRecord(1).antispam(17);
  PolicyIPAddress(record.record());
  EXPECT_FALSE(PolicyRecipient(kSender, address("user@" + name), false, true).isNull());
  EXPECT_THAT(antispamRequests, IsEmpty());
}

TEST_F(PlatformCalls, RecipientsAskForAProfileOnlyWhenThereIsOne) {
  const std::string without = "p" + std::to_string(freshId()) + ".example";
  const std::string with = "p" + std::to_string(freshId()) + ".example";
  put(OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, without),
      OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, with)
          .antispam(17));
  EXPECT_FALSE(PolicyRecipient(kSender, address("user@" + without), false, true).isNull());
  EXPECT_THAT(antispamRequests, IsEmpty());
  EXPECT_FALSE(PolicyRecipient(kSender, address("user@" + with), false, true).isNull());
  EXPECT_THAT(antispamRequests, ElementsAre(Pair(17, 0u)));
}

TEST_F(PlatformCalls, IncomingProfilesAreAskedForInTheDomainsConfiguration) {
  const std::string name = "p" + std::to_string(freshId()) + ".example";
  const ngid_t domain = freshId();
  put(ProtectedDomainRecord(freshId(), name).configurationDomain(domain),
      IncomingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(18));
  EXPECT_FALSE(PolicyRecipient(kSender, address("user@" + name), false, true).isNull());
  EXPECT_THAT(antispamRequests, ElementsAre(Pair(18, domain)));
}

TEST_F(PlatformCalls, WebFiltersAreReadThroughTheSharedQueriesOnce) {
  const std::uint32_t id = freshId();
  const ProfileFactory& factory = *ProfileFactory::instance();
  put(WebFilterRecord(id).categories({1, 0, 2}));
  std::vector<unsigned int> tables;
  const Before<&nCfg_query> reading([&](unsigned int gid) { tables.push_back(gid); });
  EXPECT_FALSE(factory.createProfileWebFilter(static_cast<int>(id)).isNull());
  EXPECT_THAT(tables, ElementsAre(1528, 1524, 1524, 1524));
  EXPECT_FALSE(factory.createProfileWebFilter(static_cast<int>(id)).isNull());
  EXPECT_EQ(tables.size(), 4u);
}

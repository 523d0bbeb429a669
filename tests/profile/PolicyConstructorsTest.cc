// Policies as their constructors make them from the store: which record they use, and what they
// take from it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "platform/config/client/cmf.h"
#include "tests/profile/Gateway.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

// An address that no other test uses.
std::string freshClient() {
  const std::uint32_t number = freshId();
  return "10.9." + std::to_string(number / 256 % 256) + "." + std::to_string(number % 256);
}
std::string freshDomain() {
  return "d" + std::to_string(freshId()) + ".example";
}

const IPAddress kServer("192.0.2.25");
const EmailAddress kSender = address("from@sender.example");

PolicyIPAddress connection(const std::string& client) {
  return PolicyIPAddress(IPAddress(client), kServer);
}
PolicyRecipient policyFor(const std::string& recipient) {
  return PolicyRecipient(kSender, address(recipient), false, true);
}

class PolicySelection : public testing::Test {
 protected:
  void TearDown() override { contentInspection(true); }
};

using PolicyOfConnection = PolicySelection;
using PolicyOfRecipient = PolicySelection;
using NoPolicy = PolicySelection;

std::uint32_t putAntispam(const char* name) {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id).name(name).dmarc());
  return id;
}

}  // namespace

// --- By connection

TEST_F(PolicyOfConnection, CarriesWhatItsRecordSays) {
  const std::string client = freshClient();
  const std::uint32_t id = freshId();
  const std::uint32_t spam = putAntispam("of the connection");
  put(IpPolicyRecord(static_cast<std::int32_t>(id))
          .client(client)
          .antispam(spam)
          .exclusive()
          .authFlag1()
          .authFlag2()
          .authFlag3()
          .authValue(0x89ABCDEF));
  const PolicyIPAddress policy = connection(client);
  ASSERT_FALSE(policy.isNull());
  EXPECT_EQ(policy.id(), static_cast<int>(id));
  EXPECT_EQ(policy.ngid(), 0u);
  EXPECT_EQ(policy.antispamProfile().name(), "of the connection");
  EXPECT_TRUE(policy.antivirusProfile().isNull());
  EXPECT_TRUE(policy.contentProfile().isNull());
  EXPECT_TRUE(policy.dlpProfile().isNull());
  EXPECT_TRUE(policy.exclusive());
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag1);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag2);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag3);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 0x89ABCDEFu);
  EXPECT_TRUE(policy.messageParsingRequired());
}

TEST_F(PolicyOfConnection, DoesNotKeepItsAddresses) {
  const std::string client = freshClient();
  put(IpPolicyRecord(static_cast<std::int32_t>(freshId())).client(client));
  const PolicyIPAddress policy = connection(client);
  ASSERT_FALSE(policy.isNull());
  EXPECT_TRUE(policy.ipClient().isNull());
  EXPECT_TRUE(policy.ipServer().isNull());
}

TEST_F(PolicyOfConnection, IsNullWhenNoPolicyMatches) {
  const std::string client = freshClient();
  EXPECT_TRUE(connection(client).isNull());
}

TEST_F(PolicyOfConnection, MatchesClientAndServerSeparately) {
  const std::string client = freshClient();
  const std::string server = freshClient();
  put(IpPolicyRecord(static_cast<std::int32_t>(freshId())).client(client).server(server));
  EXPECT_FALSE(PolicyIPAddress(IPAddress(client), IPAddress(server)).isNull());
  EXPECT_TRUE(PolicyIPAddress(IPAddress(server), IPAddress(client)).isNull());
}

TEST_F(PolicyOfConnection, EachFlagHasItsOwnBit) {
  for (int flags = 0; flags < 256; ++flags) {
    SCOPED_TRACE(flags);
    IpPolicyRecord record(1);
    record->flags = static_cast<unsigned char>(flags);
    const PolicyIPAddress policy(record.record());
    EXPECT_EQ(policy.exclusive(), (flags & 1) != 0);
    EXPECT_EQ(policy.authenticationAndAccess().authFlag1, (flags & 2) != 0);
    EXPECT_EQ(policy.authenticationAndAccess().authFlag2, (flags & 4) != 0);
    EXPECT_FALSE(policy.authenticationAndAccess().authFlag3);
  }
}

TEST_F(PolicyOfConnection, EachNumberComesFromItsPlace) {
  for (const unsigned char value : {1, 2, 0x80, 0xFF}) {
    IpPolicyRecord record(1);
    reinterpret_cast<unsigned char*>(&record.record())[79] = value;
    EXPECT_TRUE(PolicyIPAddress(record.record()).authenticationAndAccess().authFlag3);
  }
  IpPolicyRecord record(-5);
  record.ngid(216).authValue(108);
  const PolicyIPAddress policy(record.record());
  EXPECT_EQ(policy.id(), -5);
  EXPECT_EQ(policy.ngid(), 216u);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 108u);
}

TEST_F(PolicyOfConnection, WithoutContentInspectionHasNoProfiles) {
  const std::uint32_t spam = putAntispam("not inspected");
  IpPolicyRecord record(77);
  record.antispam(spam).exclusive().authFlag1().authFlag3().authValue(5).ngid(6);
  contentInspection(false);
  const PolicyIPAddress policy(record.record());
  EXPECT_TRUE(policy.antispamProfile().isNull());
  EXPECT_TRUE(policy.antivirusProfile().isNull());
  EXPECT_TRUE(policy.contentProfile().isNull());
  EXPECT_TRUE(policy.dlpProfile().isNull());
  EXPECT_TRUE(policy.receiveProfile().isNull());
  EXPECT_TRUE(policy.deliveryProfile().isNull());
  EXPECT_EQ(policy.id(), 77);
  EXPECT_EQ(policy.ngid(), 6u);
  EXPECT_TRUE(policy.exclusive());
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag1);
  EXPECT_FALSE(policy.authenticationAndAccess().authFlag2);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag3);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 5u);
  contentInspection(true);
  EXPECT_FALSE(PolicyIPAddress(record.record()).antispamProfile().isNull());
}

TEST_F(PolicyOfConnection, ContentInspectionIsTheWordInTheSharedArea) {
  const std::uint32_t spam = putAntispam("switched");
  IpPolicyRecord record = IpPolicyRecord(1).antispam(spam);
  auto* word = reinterpret_cast<volatile std::uint32_t*>(nCfg_debug_zone + 300776);
  *word = 0;
  EXPECT_TRUE(PolicyIPAddress(record.record()).antispamProfile().isNull());
  *word = 0x80000000;
  EXPECT_FALSE(PolicyIPAddress(record.record()).antispamProfile().isNull());
}

TEST_F(PolicyOfConnection, ProfilesAreTheSystems) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  putInto(domain, AntispamRecord(id).name("of a domain"));
  IpPolicyRecord record = IpPolicyRecord(1).antispam(id).ngid(domain);
  EXPECT_TRUE(PolicyIPAddress(record.record()).antispamProfile().isNull());
}

TEST_F(PolicyOfConnection, KeepsAnsweringWithWhatItWasBuiltFrom) {
  const std::string client = freshClient();
  const std::uint32_t spam = putAntispam("before");
  const auto id = static_cast<std::int32_t>(freshId());
  put(IpPolicyRecord(id).client(client).antispam(spam).authValue(1));
  const PolicyIPAddress before = connection(client);
  put(IpPolicyRecord(id).client(client).antispam(spam).authValue(2),
      AntispamRecord(spam).name("after"));
  const PolicyIPAddress after = connection(client);
  EXPECT_EQ(before.authenticationAndAccess().authValue, 1u);
  EXPECT_EQ(before.antispamProfile().name(), "before");
  EXPECT_EQ(after.authenticationAndAccess().authValue, 2u);
  EXPECT_EQ(after.antispamProfile().name(), "after");
}

// --- By recipient

TEST_F(PolicyOfRecipient, IncomingWhenTheDomainIsProtected) {
  const std::string name = freshDomain();
  const auto id = static_cast<std::int32_t>(freshId());
  put(ProtectedDomainRecord(freshId(), name),
      IncomingPolicyRecord(id).recipient(AddressKind::kDomain, name),
      OutgoingPolicyRecord(id + 100'000).recipient(AddressKind::kDomain, name));
  const PolicyRecipient policy = policyFor("user@" + name);
  ASSERT_FALSE(policy.isNull());
  EXPECT_EQ(policy.id(), id);
  EXPECT_EQ(policy.direction(), 1);
  EXPECT_EQ(policy.policyDomain(), name);
  EXPECT_EQ(policy.recipient(), address("user@" + name));
  EXPECT_EQ(policy.sender(), kSender);
}

TEST_F(PolicyOfRecipient, OutgoingOtherwise) {
  const std::string name = freshDomain();
  const auto id = static_cast<std::int32_t>(freshId());
  put(IncomingPolicyRecord(id + 100'000).recipient(AddressKind::kDomain, name),
      OutgoingPolicyRecord(id).recipient(AddressKind::kDomain, name));
  const PolicyRecipient policy = policyFor("user@" + name);
  ASSERT_FALSE(policy.isNull());
  EXPECT_EQ(policy.id(), id);
  EXPECT_EQ(policy.direction(), 2);
  EXPECT_EQ(policy.policyDomain(), "");
}

TEST_F(PolicyOfRecipient, IsNullWhenNoPolicyMatches) {
  const std::string name = freshDomain();
  const LogCapture log;
  EXPECT_TRUE(policyFor("user@" + name).isNull());
  put(ProtectedDomainRecord(freshId(), name));
  EXPECT_TRUE(policyFor("user@" + name).isNull());
  EXPECT_TRUE(log.codes().empty());
}

TEST_F(PolicyOfRecipient, IsNullWithoutARecipient) {
  EXPECT_TRUE(PolicyRecipient(kSender, EmailAddress(), false, false).isNull());
  EXPECT_TRUE(PolicyRecipient(kSender, EmailAddress(), true, true).isNull());
}

TEST_F(PolicyOfRecipient, SenderMayBeNull) {
  const std::string name = freshDomain();
  put(OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name));
  const PolicyRecipient bounce(EmailAddress(), address("user@" + name), false, true);
  ASSERT_FALSE(bounce.isNull());
  EXPECT_TRUE(bounce.sender().isNull());
}

TEST_F(PolicyOfRecipient, IncomingProfilesAreThoseOfTheDomainsOwnConfiguration) {
  const std::string name = freshDomain();
  const ngid_t domain = freshId();
  const std::uint32_t spam = freshId();
  putInto(domain, AntispamRecord(spam).name("the domain's own"));
  put(ProtectedDomainRecord(freshId(), name).configurationDomain(domain));
  putInto(domain, IncomingPolicyRecord(static_cast<std::int32_t>(freshId()))
                      .recipient(AddressKind::kDomain, name)
                      .antispam(spam)
                      .ngid(domain));
  const PolicyRecipient policy = policyFor("user@" + name);
  ASSERT_FALSE(policy.isNull());
  EXPECT_EQ(policy.ngid(), domain);
  ASSERT_FALSE(policy.antispamProfile().isNull());
  EXPECT_EQ(policy.antispamProfile().name(), "the domain's own");
}

TEST_F(PolicyOfRecipient, OutgoingProfilesAreTheSystems) {
  const std::string name = freshDomain();
  const std::uint32_t spam = freshId();
  putInto(freshId(), AntispamRecord(spam));
  const auto id = static_cast<std::int32_t>(freshId());
  put(OutgoingPolicyRecord(id).recipient(AddressKind::kDomain, name).antispam(spam));
  ASSERT_FALSE(policyFor("user@" + name).isNull());
  EXPECT_TRUE(policyFor("user@" + name).antispamProfile().isNull());
  put(AntispamRecord(spam).name("the system's"));
  EXPECT_EQ(policyFor("user@" + name).antispamProfile().name(), "the system's");
}

TEST_F(PolicyOfRecipient, NeverHasSessionProfiles) {
  const std::string name = freshDomain();
  put(OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name));
  EXPECT_TRUE(policyFor("user@" + name).receiveProfile().isNull());
  EXPECT_TRUE(policyFor("user@" + name).deliveryProfile().isNull());
}

TEST_F(PolicyOfRecipient, WithoutContentInspectionHasNoProfiles) {
  const std::string name = freshDomain();
  const auto id = static_cast<std::int32_t>(freshId());
  const std::uint32_t spam = putAntispam("not inspected");
  put(OutgoingPolicyRecord(id)
          .recipient(AddressKind::kDomain, name)
          .antispam(spam)
          .authFlag2()
          .authValue(5));
  contentInspection(false);
  const PolicyRecipient policy = policyFor("user@" + name);
  ASSERT_FALSE(policy.isNull());
  EXPECT_TRUE(policy.antispamProfile().isNull());
  EXPECT_TRUE(policy.antivirusProfile().isNull());
  EXPECT_TRUE(policy.contentProfile().isNull());
  EXPECT_TRUE(policy.dlpProfile().isNull());
  EXPECT_EQ(policy.id(), id);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag2);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 5u);
  contentInspection(true);
  EXPECT_FALSE(policyFor("user@" + name).antispamProfile().isNull());
}

TEST_F(PolicyOfRecipient, EachAccessFlagComesFromItsPlace) {
  struct Case {
    std::size_t offset;
    unsigned char value;
    bool flag1, flag2, flag3;
  };
  for (const Case& row : {
           Case{1078, 0x04, true, false, false},
           Case{1078, 0xFB, false, false, false},
           Case{1079, 0x01, false, true, false},
           Case{1079, 0x80, false, true, false},
           Case{1032, 0x01, false, false, true},
           Case{1032, 0x80, false, false, true},
       }) {
    SCOPED_TRACE(std::to_string(row.offset) + " " + std::to_string(row.value));
    const std::string name = freshDomain();
    OutgoingPolicyRecord record(static_cast<std::int32_t>(freshId()));
    record.recipient(AddressKind::kDomain, name).authValue(0xFEDCBA98);
    reinterpret_cast<unsigned char*>(&record.record())[row.offset] = row.value;
    put(record);
    const PolicyRecipient policy = policyFor("user@" + name);
    ASSERT_FALSE(policy.isNull());
    EXPECT_EQ(policy.authenticationAndAccess().authFlag1, row.flag1);
    EXPECT_EQ(policy.authenticationAndAccess().authFlag2, row.flag2);
    EXPECT_EQ(policy.authenticationAndAccess().authFlag3, row.flag3);
    EXPECT_EQ(policy.authenticationAndAccess().authValue, 0xFEDCBA98u);
  }
}

TEST_F(PolicyOfRecipient, EqualsItsCopiesOnly) {
  const std::string name = freshDomain();
  put(OutgoingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name));
  const PolicyRecipient policy = policyFor("user@" + name);
  const PolicyRecipient copy = policy;
  const PolicyRecipient again = policyFor("user@" + name);
  EXPECT_TRUE(policy == policy);
  EXPECT_TRUE(policy == copy);
  EXPECT_FALSE(policy == again);
  EXPECT_FALSE(policy == PolicyRecipient());
  EXPECT_FALSE(PolicyRecipient() == policy);
  EXPECT_TRUE(PolicyRecipient() == PolicyRecipient());
}

TEST_F(PolicyOfRecipient, OfAFurtherRecipientKeepsSenderAndDirection) {
  const std::string name = freshDomain();
  put(ProtectedDomainRecord(freshId(), name),
      IncomingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(putAntispam("shared")));
  const PolicyRecipient first = policyFor("one@" + name);
  const PolicyRecipient further(address("two@outside.example"), first);
  EXPECT_EQ(further.sender(), kSender);
  EXPECT_EQ(further.direction(), 1);  // that of the first recipient
  EXPECT_EQ(further.id(), 0);
  EXPECT_EQ(further.policyDomain(), "");
  EXPECT_TRUE(further.antispamProfile() == first.antispamProfile());
  EXPECT_TRUE(further.messageParsingRequired());
  EXPECT_FALSE(further == first);
}

TEST_F(PolicyOfRecipient, OfAConnectionGoesByTheRecipientsDomain) {
  const std::string name = freshDomain();
  put(ProtectedDomainRecord(freshId(), name));
  IpPolicyRecord record =
      IpPolicyRecord(9).antispam(putAntispam("connection's")).authFlag1().ngid(4);
  const PolicyIPAddress ip(record.record());
  const PolicyRecipient incoming(kSender, address("user@" + name), ip);
  EXPECT_EQ(incoming.direction(), 1);
  EXPECT_EQ(incoming.policyDomain(), "");
  EXPECT_EQ(incoming.id(), 0);
  EXPECT_EQ(incoming.ngid(), 0u);
  EXPECT_TRUE(incoming.authenticationAndAccess().authFlag1);
  EXPECT_TRUE(incoming.antispamProfile() == ip.antispamProfile());
  EXPECT_EQ(PolicyRecipient(kSender, address("user@elsewhere.example"), ip).direction(), 2);
}

TEST_F(PolicyOfRecipient, OfAConnectionWithoutContentInspectionHasNoProfiles) {
  IpPolicyRecord record = IpPolicyRecord(9).antispam(putAntispam("connection's")).authFlag1();
  const PolicyIPAddress ip(record.record());
  ASSERT_FALSE(ip.antispamProfile().isNull());
  contentInspection(false);
  const PolicyRecipient policy(kSender, address("user@elsewhere.example"), ip);
  EXPECT_TRUE(policy.antispamProfile().isNull());
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag1);
}

TEST_F(NoPolicy, OnlyKnowsItsDirection) {
  const std::string name = freshDomain();
  put(ProtectedDomainRecord(freshId(), name),
      IncomingPolicyRecord(static_cast<std::int32_t>(freshId()))
          .recipient(AddressKind::kDomain, name)
          .antispam(putAntispam("not asked for"))
          .authFlag1());
  struct Case {
    std::string recipient;
    bool lookupDirection;
    int direction;
  };
  for (const Case& row :
       {Case{"user@" + name, true, 1}, Case{"user@" + name, false, 2},
        Case{"user@elsewhere.example", true, 2}, Case{"user@elsewhere.example", false, 2}}) {
    SCOPED_TRACE(row.recipient + (row.lookupDirection ? " looked up" : ""));
    const PolicyRecipient policy(kSender, address(row.recipient), true, row.lookupDirection);
    ASSERT_FALSE(policy.isNull());
    EXPECT_EQ(policy.direction(), row.direction);
    EXPECT_EQ(policy.sender(), kSender);
    EXPECT_EQ(policy.recipient(), address(row.recipient));
    EXPECT_EQ(policy.policyDomain(), "");
    EXPECT_EQ(policy.id(), 0);
    EXPECT_EQ(policy.ngid(), 0u);
    EXPECT_TRUE(policy.antispamProfile().isNull());
    EXPECT_FALSE(policy.authenticationAndAccess().authFlag1);
    EXPECT_FALSE(policy.messageParsingRequired());
  }
}

TEST_F(NoPolicy, SenderMayBeNull) {
  const PolicyRecipient policy(EmailAddress(), address("user@elsewhere.example"), true, true);
  ASSERT_FALSE(policy.isNull());
  EXPECT_TRUE(policy.sender().isNull());
}

// What all policies have in common. Most tests build the implementation by hand, so that a policy
// can hold every kind of profile.
#include "Policy.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "Gateway.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "platform/common/Strings.h"
#include "platform/config/records/PolicyRecords.h"
#include "profile/ProfileImpl.h"
#include "profile/policy/PolicyIPAddressImpl.h"
#include "profile/policy/PolicyImpl.h"
#include "profile/policy/PolicyRecipientImpl.h"
#include "tests/support/PolicyRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

// Makes `handle` hold `impl`, which was just made.
template <class Impl, class Handle>
void hold(Handle& handle, Impl* impl) {
  static_cast<Ref<Impl>&>(handle) = Ref<Impl>(impl);
}

template <class Handle>
Handle profile(std::uint32_t type, std::uint32_t parseType = 0) {
  auto* impl = new ProfileImpl(type);
  impl->messageParseType = parseType;
  Handle made;
  hold<ProfileImpl>(made, impl);
  return made;
}

ProfileAntiSpam antispam(std::uint32_t parseType) {
  return profile<ProfileAntiSpam>(Profile::kAntiSpam, parseType);
}
ProfileContent content(std::uint32_t parseType) {
  return profile<ProfileContent>(Profile::kContent, parseType);
}

Policy policyOf(const std::function<void(PolicyImpl&)>& fill) {
  auto* impl = new PolicyImpl;
  fill(*impl);
  Policy made;
  hold<PolicyImpl>(made, impl);
  return made;
}

void fillWithEverything(PolicyImpl& impl) {
  impl.id = 7;
  impl.ngid = 8;
  impl.antispam = antispam(0);
  impl.antivirus = profile<ProfileAntiVirus>(Profile::kAntiVirus);
  impl.content = content(0);
  impl.dlp = profile<ProfileDLP>(Profile::kDlp);
  impl.receive = profile<ProfSessionReceive>(Profile::kSessionReceive);
  impl.delivery = profile<ProfSessionDelivery>(Profile::kSessionDelivery);
  impl.access.authFlag1 = true;
  impl.access.authFlag3 = true;
  impl.access.authValue = 9;
  impl.name = "strict";
}

}  // namespace

TEST(Policy, AccessorsReturnTheirOwnMember) {
  const Policy policy = policyOf(fillWithEverything);
  EXPECT_EQ(policy.id(), 7);
  EXPECT_EQ(policy.ngid(), 8u);
  EXPECT_EQ(policy.antispamProfile().type(), 1u);
  EXPECT_EQ(policy.antivirusProfile().type(), 2u);
  EXPECT_EQ(policy.contentProfile().type(), 3u);
  EXPECT_EQ(policy.receiveProfile().type(), 4u);
  EXPECT_EQ(policy.deliveryProfile().type(), 5u);
  EXPECT_EQ(policy.dlpProfile().type(), 9u);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag1);
  EXPECT_FALSE(policy.authenticationAndAccess().authFlag2);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag3);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 9u);
  EXPECT_EQ(policy.name(), "strict");
}

TEST(Policy, IsMadeEmpty) {
  const Policy policy = policyOf([](PolicyImpl&) {});
  EXPECT_EQ(policy.id(), 0);
  EXPECT_EQ(policy.ngid(), 0u);
  EXPECT_TRUE(policy.antispamProfile().isNull());
  EXPECT_TRUE(policy.antivirusProfile().isNull());
  EXPECT_TRUE(policy.contentProfile().isNull());
  EXPECT_TRUE(policy.dlpProfile().isNull());
  EXPECT_TRUE(policy.receiveProfile().isNull());
  EXPECT_TRUE(policy.deliveryProfile().isNull());
  EXPECT_FALSE(policy.authenticationAndAccess().authFlag1);
  EXPECT_FALSE(policy.authenticationAndAccess().authFlag2);
  EXPECT_FALSE(policy.authenticationAndAccess().authFlag3);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 0u);
  EXPECT_EQ(policy.name(), "");
}

TEST(Policy, CopiesShareTheImplementation) {
  const Policy policy = policyOf(fillWithEverything);
  Policy copy;
  copy = policy;
  EXPECT_TRUE(copy == policy);
  EXPECT_EQ(&copy.antispamProfile(), &policy.antispamProfile());
}

TEST(PolicyParsing, DependsOnAntispamAndContentProfiles) {
  struct Case {
    const char* what;
    std::function<void(PolicyImpl&)> fill;
    bool required;
  };
  const Case cases[] = {
      {"no profiles", [](PolicyImpl&) {}, false},
      {"antispam asks", [](PolicyImpl& impl) { impl.antispam = antispam(0x400); }, true},
      {"antispam does not ask", [](PolicyImpl& impl) { impl.antispam = antispam(0); }, false},
      {"content asks", [](PolicyImpl& impl) { impl.content = content(1); }, true},
      {"content does not ask", [](PolicyImpl& impl) { impl.content = content(0); }, false},
      {"neither asks",
       [](PolicyImpl& impl) {
         impl.antispam = antispam(0);
         impl.content = content(0);
       },
       false},
      {"only content asks",
       [](PolicyImpl& impl) {
         impl.antispam = antispam(0);
         impl.content = content(2);
       },
       true},
      {"antivirus, DLP and sessions ask",
       [](PolicyImpl& impl) {
         impl.antivirus = profile<ProfileAntiVirus>(Profile::kAntiVirus, 1);
         impl.dlp = profile<ProfileDLP>(Profile::kDlp, 1);
         impl.receive = profile<ProfSessionReceive>(Profile::kSessionReceive, 1);
         impl.delivery = profile<ProfSessionDelivery>(Profile::kSessionDelivery, 1);
       },
       false},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    const Policy policy = policyOf(row.fill);
    EXPECT_EQ(policy.messageParsingRequired(), row.required);
    EXPECT_EQ(policy.messageParsingRequired(), row.required);  // at every call
  }
}

TEST(PolicyParsing, YesIsRememberedByAllCopies) {
  PolicyImpl* impl = nullptr;
  const Policy policy = policyOf([&](PolicyImpl& made) {
    made.antispam = antispam(1);
    impl = &made;
  });
  const Policy copy = policy;
  EXPECT_TRUE(policy.messageParsingRequired());
  impl->antispam = ProfileAntiSpam();
  EXPECT_TRUE(copy.messageParsingRequired());
  EXPECT_TRUE(Policy(copy).messageParsingRequired());
}

TEST(PolicyParsing, NoIsNotRemembered) {
  PolicyImpl* impl = nullptr;
  const Policy policy = policyOf([&](PolicyImpl& made) { impl = &made; });
  EXPECT_FALSE(policy.messageParsingRequired());
  impl->content = content(1);
  EXPECT_TRUE(policy.messageParsingRequired());
}

TEST(PolicyParsing, SelectedPoliciesRememberAlike) {
  auto* impl = new PolicyIPAddressImpl;
  PolicyIPAddress policy;
  hold<PolicyImpl>(policy, impl);
  EXPECT_FALSE(policy.messageParsingRequired());
  impl->antispam = antispam(1);
  EXPECT_TRUE(policy.messageParsingRequired());
}

// --- The policy of a further recipient of the same message

namespace {

EmailAddress address(const char* text) {
  return EmailAddress::rfc5321Parse(text, false);
}

struct First {
  PolicyRecipientImpl* impl =
      new PolicyRecipientImpl(address("from@example.com"), address("one@example.com"));
  PolicyRecipient policy;

  First() {
    fillWithEverything(*impl);
    impl->direction = 1;
    impl->policyDomain = "example.com";
    hold<PolicyImpl>(policy, impl);
  }
};

}  // namespace

TEST(FurtherRecipient, TakesOverTheProfilesButNeitherIdNorNameNorDomain) {
  const First first;
  const PolicyRecipient further(address("two@example.com"), first.policy);
  ASSERT_FALSE(further.isNull());
  EXPECT_EQ(further.recipient(), address("two@example.com"));
  EXPECT_EQ(further.sender(), address("from@example.com"));
  EXPECT_EQ(further.direction(), 1);
  EXPECT_TRUE(further.antispamProfile() == first.policy.antispamProfile());
  EXPECT_TRUE(further.antivirusProfile() == first.policy.antivirusProfile());
  EXPECT_TRUE(further.contentProfile() == first.policy.contentProfile());
  EXPECT_TRUE(further.dlpProfile() == first.policy.dlpProfile());
  EXPECT_TRUE(further.receiveProfile() == first.policy.receiveProfile());
  EXPECT_TRUE(further.deliveryProfile() == first.policy.deliveryProfile());
  EXPECT_TRUE(further.authenticationAndAccess().authFlag1);
  EXPECT_FALSE(further.authenticationAndAccess().authFlag2);
  EXPECT_TRUE(further.authenticationAndAccess().authFlag3);
  EXPECT_EQ(further.authenticationAndAccess().authValue, 9u);
  EXPECT_EQ(further.id(), 0);
  EXPECT_EQ(further.ngid(), 0u);
  EXPECT_EQ(further.name(), "");
  EXPECT_EQ(further.policyDomain(), "");
}

TEST(FurtherRecipient, RemembersThatParsingIsNotRequired) {
  const First first;
  const PolicyRecipient further(address("two@example.com"), first.policy);
  EXPECT_FALSE(further.messageParsingRequired());
  // It does not ask its profiles again; the first policy asks its own.
  auto* impl = const_cast<PolicyImpl*>(static_cast<const Policy&>(further).operator->());
  impl->content = content(1);
  EXPECT_FALSE(further.messageParsingRequired());
  EXPECT_FALSE(first.policy.messageParsingRequired());
  first.impl->content = content(1);
  EXPECT_TRUE(first.policy.messageParsingRequired());
}

TEST(FurtherRecipient, RemembersThatParsingIsRequired) {
  const First first;
  first.impl->antispam = antispam(1);
  const PolicyRecipient further(address("two@example.com"), first.policy);
  auto* impl = const_cast<PolicyImpl*>(static_cast<const Policy&>(further).operator->());
  impl->antispam = ProfileAntiSpam();
  EXPECT_TRUE(further.messageParsingRequired());
}

TEST(FurtherRecipient, IsNullWithoutARecipientOrAFirstPolicy) {
  const First first;
  EXPECT_TRUE(PolicyRecipient(EmailAddress(), first.policy).isNull());
  EXPECT_TRUE(PolicyRecipient(address("two@example.com"), PolicyRecipient()).isNull());
}

TEST(FurtherRecipient, KeepsAnOutgoingDirectionAndANullSender) {
  const First first;
  first.impl->direction = 2;
  first.impl->sender = EmailAddress();
  const PolicyRecipient further(address("two@example.com"), first.policy);
  EXPECT_EQ(further.direction(), 2);
  EXPECT_TRUE(further.sender().isNull());
}

// --- The policy of a connection for a recipient

namespace {

struct Connection {
  PolicyIPAddressImpl* impl = new PolicyIPAddressImpl;
  PolicyIPAddress policy;

  Connection() {
    fillWithEverything(*impl);
    hold<PolicyImpl>(policy, impl);
  }
};

}  // namespace

TEST(RecipientOfConnection, SharesTheProfilesButNotTheSessions) {
  const Connection connection;
  const PolicyRecipient policy(address("from@example.com"), address("to@nowhere.example"),
                               connection.policy);
  ASSERT_FALSE(policy.isNull());
  EXPECT_EQ(policy.sender(), address("from@example.com"));
  EXPECT_EQ(policy.recipient(), address("to@nowhere.example"));
  EXPECT_TRUE(policy.antispamProfile() == connection.policy.antispamProfile());
  EXPECT_TRUE(policy.antivirusProfile() == connection.policy.antivirusProfile());
  EXPECT_TRUE(policy.contentProfile() == connection.policy.contentProfile());
  EXPECT_TRUE(policy.dlpProfile() == connection.policy.dlpProfile());
  EXPECT_TRUE(policy.receiveProfile().isNull());
  EXPECT_TRUE(policy.deliveryProfile().isNull());
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag1);
  EXPECT_TRUE(policy.authenticationAndAccess().authFlag3);
  EXPECT_EQ(policy.authenticationAndAccess().authValue, 9u);
  EXPECT_EQ(policy.id(), 0);
  EXPECT_EQ(policy.ngid(), 0u);
  EXPECT_EQ(policy.name(), "");
  EXPECT_EQ(policy.policyDomain(), "");
}

TEST(RecipientOfConnection, NeedsARecipientAndAPolicyButNoSender) {
  const Connection connection;
  EXPECT_TRUE(
      PolicyRecipient(address("from@example.com"), EmailAddress(), connection.policy).isNull());
  EXPECT_TRUE(
      PolicyRecipient(address("from@example.com"), address("to@nowhere.example"), PolicyIPAddress())
          .isNull());
  const PolicyRecipient bounce(EmailAddress(), address("to@nowhere.example"), connection.policy);
  ASSERT_FALSE(bounce.isNull());
  EXPECT_TRUE(bounce.sender().isNull());
}

// --- The name of the chosen policy

TEST(PolicyName, IsThatOfTheRecord) {
  __qv_ip_policy record{};
  boundedCopy(record.name, "data-centre");
  EXPECT_EQ(PolicyIPAddress(record).name(), "data-centre");
  std::memset(record.name, 'x', sizeof(record.name));  // without a NUL
  EXPECT_EQ(PolicyIPAddress(record).name(), std::string(sizeof(record.name), 'x'));
}

TEST(PolicyName, IsThatOfTheChosenRecipientPolicy) {
  const std::string domain = "d" + std::to_string(freshId()) + ".example";
  OutgoingPolicyRecord record(static_cast<std::int32_t>(freshId()));
  boundedCopy(record->name, "partners");
  put(record.recipient(AddressKind::kDomain, domain));
  const EmailAddress sender = address("from@example.com");
  const EmailAddress recipient = address(("to@" + domain).c_str());
  const PolicyRecipient chosen(sender, recipient, false, true);
  ASSERT_FALSE(chosen.isNull());
  EXPECT_EQ(chosen.name(), "partners");
  EXPECT_EQ(PolicyRecipient(recipient, chosen).name(), "");
  EXPECT_EQ(PolicyRecipient(sender, recipient, true, true).name(), "");
}

TEST(PolicyRecipientMatch, IsAValueThatStartsEmpty) {
  const PolicyRecipientMatch match;
  EXPECT_EQ(match.text, "");
  EXPECT_EQ(match.value1, 0u);
  EXPECT_EQ(match.value2, 0u);
  EXPECT_EQ(match.value3, 0u);
  static_assert(std::has_virtual_destructor_v<PolicyRecipientMatch>);
}

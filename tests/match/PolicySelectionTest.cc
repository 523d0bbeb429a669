#include "platform/config/match/PolicySelection.h"

#include <gtest/gtest.h>

#include <random>

#include "config/Event.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/client/cmf.h"
#include "platform/config/match/ConnectionTraits.h"
#include "platform/config/match/PolicyList.h"
#include "platform/config/match/RecipientTraits.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/GroupRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using namespace Kestrav::Testing;

class PolicySelection : public StoreFixture {
 protected:
  template <class... Builders>
  void commit(const Builders&... builders) {
    ChangeSet changes;
    (builders.put(changes), ...);
    commit(std::move(changes));
  }
  void commit(ChangeSet changes) {
    const Revision revision = store().commit(std::move(changes));
    auto dispatcher = CMF::Event::Dispatcher::instance("", false, false);
    ASSERT_TRUE(dispatcher->waitApplied(revision, 10'000));
  }

  static std::int32_t incoming(const char* sender, const char* recipient) {
    __vexa_recipient_policy record{};
    return cfg_get_incoming_policy(sender, recipient, &record) == 0 ? record.id : 0;
  }
  static std::int32_t outgoing(const char* sender, const char* recipient) {
    __vexa_recipient_policy record{};
    return cfg_get_outgoing_policy(sender, recipient, &record) == 0 ? record.id : 0;
  }
  static std::int32_t connection(const char* client, const char* server) {
    __qv_ip_policy record{};
    const int result =
        cfg_ip_policy_match(IPAddress(server).asIpAddr(), IPAddress(client).asIpAddr(), &record);
    return result == 0 ? record.id : 0;
  }
};

TEST_F(PolicySelection, NoPolicyMatchesInAnEmptyStore) {
  EXPECT_EQ(incoming("a@b.example", "c@d.example"), 0);
  EXPECT_EQ(outgoing("a@b.example", "c@d.example"), 0);
  EXPECT_EQ(connection("192.0.2.1", "192.0.2.2"), 0);
}

TEST_F(PolicySelection, TheFirstEnabledMatchInOrderWins) {
  OutgoingPolicyRecord disabled(1);
  disabled->enabled = 0;
  commit(disabled, OutgoingPolicyRecord(2).recipient(AddressKind::kDomain, "d.example"),
         OutgoingPolicyRecord(3));
  EXPECT_EQ(outgoing("a@b.example", "c@d.example"), 2);
  EXPECT_EQ(outgoing("a@b.example", "c@other.example"), 3);
}

TEST_F(PolicySelection, ADomainsOwnPoliciesComeBeforeTheSystems) {
  ChangeSet changes;
  ProtectedDomainRecord(1, "own.example").configurationDomain(7).put(changes);
  ProtectedDomainRecord(2, "plain.example").put(changes);
  IncomingPolicyRecord(1).put(changes);
  IncomingPolicyRecord(2).sender(AddressKind::kDomain, "partner.example").put(changes, 7);
  commit(std::move(changes));
  EXPECT_EQ(incoming("a@partner.example", "x@own.example"), 2);
  EXPECT_EQ(incoming("a@else.example", "x@own.example"), 1);
  EXPECT_EQ(incoming("a@partner.example", "x@plain.example"), 1);
  EXPECT_EQ(incoming("a@partner.example", "x@OWN.example"), 2);
}

TEST_F(PolicySelection, TheNullSenderMatchesAnyAndWildcardsOnly) {
  commit(OutgoingPolicyRecord(1).sender(AddressKind::kDomain, "b.example"),
         OutgoingPolicyRecord(2)
             .sender(AddressKind::kWildcard, "*")
             .recipient(AddressKind::kDomain, "d.example"),
         OutgoingPolicyRecord(3));
  EXPECT_EQ(outgoing(nullptr, "c@d.example"), 2);
  EXPECT_EQ(outgoing(nullptr, "c@e.example"), 3);
}

TEST_F(PolicySelection, ConnectionsMatchByClientAndServer) {
  commit(IpPolicyRecord(1).client("10.0.0.0/8").server("192.0.2.1"),
         IpPolicyRecord(2).client("10.1.0.0/16"), IpPolicyRecord(3).client("2001:db8::/32"),
         IpPolicyRecord(4).server("192.0.2.9"));
  EXPECT_EQ(connection("10.1.2.3", "192.0.2.1"), 1);
  EXPECT_EQ(connection("10.1.2.3", "192.0.2.2"), 2);
  EXPECT_EQ(connection("2001:db8::1", "192.0.2.2"), 3);
  EXPECT_EQ(connection("198.51.100.1", "192.0.2.9"), 4);
  EXPECT_EQ(connection("198.51.100.1", "192.0.2.2"), 0);
}

TEST_F(PolicySelection, ANullAddressMatchesNothing) {
  commit(IpPolicyRecord(1).client("0.0.0.0/0"));
  __qv_ip_policy record{};
  EXPECT_NE(cfg_ip_policy_match(ip_addr_t{}, ip_addr_t{}, &record), 0);
  ip_addr_t damaged{};
  damaged.family = 99;
  EXPECT_NE(cfg_ip_policy_match(damaged, damaged, &record), 0);
}

TEST_F(PolicySelection, GroupsAreFollowedWhenTheyChange) {
  EmailGroupRecord group(5);
  group.member("*@one.example");
  OutgoingPolicyRecord policy(1);
  policy->recipient_kind = static_cast<unsigned char>(AddressKind::kGroup);
  policy->recipient_group = 5;
  commit(group, policy);
  EXPECT_EQ(outgoing("a@b", "x@one.example"), 1);
  EXPECT_EQ(outgoing("a@b", "x@two.example"), 0);

  commit(group.member("*@two.example"));
  EXPECT_EQ(outgoing("a@b", "x@two.example"), 1);
}

TEST_F(PolicySelection, APolicyThatDoesNotCompileIsLoggedAndPassedOver) {
  std::vector<std::uint32_t> codes;
  const auto token = Logger::instance().capture(
      [&](const Logger::Message& message) { codes.push_back(message.code); });
  OutgoingPolicyRecord missingGroup(2);
  missingGroup->sender_kind = static_cast<unsigned char>(AddressKind::kGroup);
  missingGroup->sender_group = 99;
  OutgoingPolicyRecord missingToo(3);
  missingToo.record() = missingGroup.record();
  missingToo->id = 3;
  commit(OutgoingPolicyRecord(1).sender(AddressKind::kRegex, "("), missingGroup, missingToo,
         OutgoingPolicyRecord(4));
  EXPECT_EQ(outgoing("a@b.example", "c@d.example"), 4);
  EXPECT_EQ(std::count(codes.begin(), codes.end(), LogCode::kPolicyRecordSkipped), 3);

  std::vector<Considered> considered;
  __vexa_recipient_policy record{};
  ASSERT_TRUE(selectOutgoingPolicy("a@b.example", "c@d.example", &record, &considered));
  ASSERT_EQ(considered.size(), 4u);
  EXPECT_EQ(considered[0].outcome, Outcome::kInvalid);
  EXPECT_EQ(considered[2].outcome, Outcome::kInvalid);
}

TEST_F(PolicySelection, TellsWhatBecameOfEachPolicy) {
  OutgoingPolicyRecord disabled(1);
  disabled->enabled = 0;
  commit(disabled, OutgoingPolicyRecord(2).sender(AddressKind::kAddress, "no@b.example"),
         OutgoingPolicyRecord(3).recipient(AddressKind::kAddress, "no@d.example"),
         OutgoingPolicyRecord(4), OutgoingPolicyRecord(5));
  std::vector<Considered> considered;
  __vexa_recipient_policy record{};
  ASSERT_TRUE(selectOutgoingPolicy("a@b.example", "c@d.example", &record, &considered));
  std::vector<Outcome> outcomes;
  for (const Considered& policy : considered) outcomes.push_back(policy.outcome);
  EXPECT_EQ(outcomes,
            (std::vector<Outcome>{Outcome::kDisabled, Outcome::kSender, Outcome::kRecipient,
                                  Outcome::kWon, Outcome::kNotReached}));
}

TEST_F(PolicySelection, ATextWithoutAnEndInARecordIsReadToItsField) {
  OutgoingPolicyRecord policy(1);
  policy->recipient_kind = static_cast<unsigned char>(AddressKind::kDomain);
  std::fill(std::begin(policy->recipient), std::end(policy->recipient), 'x');
  commit(policy);
  EXPECT_EQ(outgoing("a@b.example", "c@d.example"), 0);
  EXPECT_EQ(outgoing("a@b.example", ("c@" + std::string(257, 'x')).c_str()), 1);
}

// The address shows more keys than the index accepts.
TEST_F(PolicySelection, AnAddressOfVeryManyLabelsIsStillMatched) {
  std::string recipient = "x@";
  for (int i = 0; i < 400; ++i) recipient += "a.";
  commit(OutgoingPolicyRecord(1).sender(AddressKind::kDomain, "evil.example"));
  EXPECT_EQ(outgoing("y@evil.example", (recipient + "example").c_str()), 1);
}

// The index must agree with a scan of the same list.
TEST_F(PolicySelection, TheIndexAgreesWithTheLinearScanOnRandomRecipientPolicies) {
  std::mt19937 random(7);
  const auto pick = [&](std::initializer_list<const char*> from) {
    return from.begin()[random() % from.size()];
  };
  const auto rule = [&](auto&& set) {
    const char* domain = pick({"a.example", "b.example", "x.a.example", "example", "c.test"});
    const char* local = pick({"u", "v", "w"});
    switch (random() % 6) {
      case 0:
        return set(AddressKind::kAny, "");
      case 1:
        return set(AddressKind::kAddress, std::string(local) + "@" + domain);
      case 2:
        return set(AddressKind::kDomain, domain);
      case 3:
        return set(AddressKind::kDomainWithSubdomains, domain);
      case 4:
        return set(AddressKind::kWildcard,
                   std::string(pick({"*", "u*", "*@*."})) + (random() % 2 ? "" : "@") + domain);
      default:
        return set(AddressKind::kRegex, std::string("^") + local + ".*" + domain + "$");
    }
  };
  for (int round = 0; round < 20; ++round) {
    ChangeSet changes;
    changes.order(GID_OUTGOING_POLICY, 0, {});
    const int policies = static_cast<int>(random() % 40);
    for (int id = 1; id <= policies; ++id) {
      OutgoingPolicyRecord policy(id);
      policy->enabled = random() % 8 != 0;
      rule([&](AddressKind kind, const std::string& text) { policy.sender(kind, text); });
      rule([&](AddressKind kind, const std::string& text) { policy.recipient(kind, text); });
      policy.put(changes);
    }
    store().commit(std::move(changes));
    const Snapshot snapshot = store().snapshot();
    const PolicyList<RecipientTraits> list(GID_OUTGOING_POLICY, 0, snapshot);
    ASSERT_EQ(list.size(), static_cast<std::size_t>(policies));
    for (int question = 0; question < 300; ++question) {
      const auto address = [&] {
        if (random() % 10 == 0) return std::string();
        return std::string(pick({"u", "v", "w", "U", "uu"})) + "@" +
               pick({"a.example", "b.example", "x.a.example", "y.x.a.example", "example", "C.test",
                     "other"});
      };
      const RecipientTraits::Subject subject{AddressSubject(address()), AddressSubject(address())};
      ASSERT_EQ(list.select(subject), list.selectLinear(subject))
          << subject.sender.address() << " to " << subject.recipient.address();
    }
  }
}

TEST_F(PolicySelection, TheIndexAgreesWithTheLinearScanOnRandomIpPolicies) {
  std::mt19937 random(11);
  const auto address = [&] {
    if (random() % 4 == 0) return "2001:db8::" + std::to_string(random() % 20);
    return "10.0." + std::to_string(random() % 3) + "." + std::to_string(random() % 20);
  };
  const auto mask = [&]() -> std::string {
    switch (random() % 5) {
      case 0:
        return address();
      case 1:
        return "10.0." + std::to_string(random() % 3);
      case 2:
        return "10.0.0." + std::to_string(random() % 10) + "-10.0.1." +
               std::to_string(random() % 20);
      case 3:
        return "2001:db8::" + std::to_string(random() % 10) + "/" +
               std::to_string(100 + random() % 28);
      default:
        return "10.0.0.0/" + std::to_string(8 + random() % 24);
    }
  };
  for (int round = 0; round < 20; ++round) {
    ChangeSet changes;
    changes.order(GID_IP_POLICY, 0, {});
    const int policies = static_cast<int>(random() % 40);
    for (int id = 1; id <= policies; ++id) {
      IpPolicyRecord policy(id);
      if (random() % 4) policy.client(mask());
      if (random() % 2) policy.server(mask());
      policy->enabled = random() % 8 != 0;
      policy.put(changes);
    }
    store().commit(std::move(changes));
    const Snapshot snapshot = store().snapshot();
    const PolicyList<ConnectionTraits> list(GID_IP_POLICY, 0, snapshot);
    for (int question = 0; question < 300; ++question) {
      const ConnectionTraits::Subject subject{IPAddress(address()), IPAddress(address())};
      ASSERT_EQ(list.select(subject), list.selectLinear(subject))
          << subject.client.asString() << " to " << subject.server.asString();
    }
  }
}

// Traits that count how many policies a query looks at.
template <class Traits>
struct Counting : Traits {
  static inline int lookedAt = 0;
  class Rules : public Traits::Rules {
   public:
    using Traits::Rules::Rules;
    Outcome outcome(const typename Traits::Subject& subject) const {
      ++lookedAt;
      return Traits::Rules::outcome(subject);
    }
  };
};

// The policies that a query of the table looks at when no policy matches.
template <class Traits>
int lookedAt(ConfigStore& store, G_CLI_GID gid, const typename Traits::Subject& subject) {
  const Snapshot snapshot = store.snapshot();
  const PolicyList<Counting<Traits>> list(gid, 0, snapshot);
  Counting<Traits>::lookedAt = 0;
  EXPECT_EQ(list.select(subject), nullptr);
  return Counting<Traits>::lookedAt;
}

constexpr int kManyPolicies = 200;

TEST_F(PolicySelection, RecipientPoliciesAreFiledByTheSideThatFewerPoliciesShare) {
  for (const bool sharedSender : {false, true}) {
    SCOPED_TRACE(sharedSender ? "one sender" : "one recipient");
    ChangeSet changes;
    for (int id = 1; id <= kManyPolicies; ++id) {
      const std::string own = "u" + std::to_string(id) + ".example";
      OutgoingPolicyRecord policy(id);
      // The shared side is the narrower one.
      policy.sender(sharedSender ? AddressKind::kAddress : AddressKind::kDomainWithSubdomains,
                    sharedSender ? "s@shared.example" : own);
      policy.recipient(sharedSender ? AddressKind::kDomainWithSubdomains : AddressKind::kAddress,
                       sharedSender ? own : "s@shared.example");
      policy.put(changes);
    }
    store().commit(std::move(changes));
    const AddressSubject shared("s@shared.example");
    const AddressSubject none("x@none.example");
    const RecipientTraits::Subject subject = sharedSender ? RecipientTraits::Subject{shared, none}
                                                          : RecipientTraits::Subject{none, shared};
    EXPECT_EQ(lookedAt<RecipientTraits>(store(), GID_OUTGOING_POLICY, subject), 0);
  }
}

TEST_F(PolicySelection, IpPoliciesAreFiledByTheSideThatFewerPoliciesShare) {
  for (const bool sharedClient : {false, true}) {
    SCOPED_TRACE(sharedClient ? "one client" : "one server");
    ChangeSet changes;
    for (int id = 1; id <= kManyPolicies; ++id) {
      const std::string own = "10." + std::to_string(id) + ".0.0/16";
      IpPolicyRecord policy(id);
      // The shared side has the longer prefix.
      policy.client(sharedClient ? "192.0.2.1" : own);
      policy.server(sharedClient ? own : "192.0.2.1");
      policy.put(changes);
    }
    store().commit(std::move(changes));
    const IPAddress shared("192.0.2.1");
    const IPAddress none("10.250.0.1");
    const ConnectionTraits::Subject subject{.server = sharedClient ? none : shared,
                                            .client = sharedClient ? shared : none};
    EXPECT_EQ(lookedAt<ConnectionTraits>(store(), GID_IP_POLICY, subject), 0);
  }
}

TEST(RarerSide, IsTheOneWithFewerKeysWhenBothAreAsRareAndTheFirstWhenTheyAreEqual) {
  const RarerSide::Keys keys[] = {
      {{{1, 2, 3}, {4}}},  // the second has fewer keys
      {{{5}, {6}}},        // equal
      {{{7}, {}}},         // the second has no key
      {{{}, {8}}},        {{{}, {}}},
  };
  RarerSide rarer;
  for (const auto& policy : keys) rarer.count(policy);
  const std::size_t expected[] = {1, 0, 0, 1, 0};
  for (std::size_t i = 0; i < std::size(keys); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(rarer.of(keys[i]), expected[i]);
  }
}

}  // namespace
}  // namespace Kestrav::Config

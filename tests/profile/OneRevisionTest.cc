// A decision and its profiles come from one revision, whatever is being delivered meanwhile.
//
// Every revision of these tests has the policies that it needs, and their profile exists. The tests
// decide while the caches are between two revisions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <set>
#include <string>
#include <utility>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "config/CMF.h"
#include "config/ClientSideCache.h"
#include "platform/common/LogCodes.h"
#include "platform/config/client/OneRevision.h"
#include "platform/config/records/SystemRecords.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Marked.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/SystemRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

// Calls `meanwhile` on the event thread for each changed record of a table or a policy, after the
// caches that hold the record have followed.
class DuringDelivery : public CMF::Event::Handler {
 public:
  explicit DuringDelivery(std::function<void()> meanwhile, G_CLI_GID table = GID_ANTISPAM_PROFILE)
      : Handler(table), meanwhile_(std::move(meanwhile)) {
    other(GID_IP_POLICY);
    other(GID_OUTGOING_POLICY);
  }
  void message(unsigned int, const void*, const void*) override { meanwhile_(); }

 private:
  const std::function<void()> meanwhile_;
};

class OneRevision : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    factory();
    contentInspection(true);
  }
  void SetUp() override {
    marked_.put(0);
    EXPECT_EQ(Marked::connection(), "0 0");
    EXPECT_EQ(Marked::recipient(), "0 0");
  }
  void TearDown() override { marked_.erase(); }

  void putUnapplied(int mark) {
    Config::ChangeSet changes;
    marked_.put(changes, mark);
    store().commit(std::move(changes));
  }

  // Commits the mark and waits until it has been delivered.
  void put(int mark, std::function<void()> meanwhile) {
    const CMF::Event::RefHandler handler(new DuringDelivery(std::move(meanwhile)), false);
    dispatcher()->add(handler, 127, 1);
    marked_.put(mark);
    dispatcher()->remove(handler);
  }

  const Marked marked_;
};

}  // namespace

TEST_F(OneRevision, IsKeptOnTheEventThread) {
  std::set<std::string> decisions;
  put(1, [&] { decisions.merge(std::set{Marked::connection(), Marked::recipient()}); });
  EXPECT_THAT(decisions, testing::IsSubsetOf({"0 0", "1 1"}));
}

// The handler does not return before the decision is made, which can therefore not wait for it.
TEST_F(OneRevision, IsKeptWhileAHandlerWaitsForTheDecision) {
  std::set<std::string> decisions;
  put(1, [&] {
    decisions.insert(std::async(std::launch::async, [] { return Marked::connection(); }).get());
  });
  EXPECT_THAT(decisions, testing::IsSubsetOf({"0 0", "1 1"}));
}

TEST_F(OneRevision, IsTheAppliedOneWhileDeliveryIsStopped) {
  EventsHeld held;
  putUnapplied(1);
  EXPECT_EQ(Marked::connection(), "0 0");
  EXPECT_EQ(Marked::recipient(), "0 0");
}

TEST_F(OneRevision, IsTheNewestOneWhenACacheHasLostItsEntry) {
  EventsHeld held;
  putUnapplied(1);
  factory().clearAntispamProfiles();
  EXPECT_EQ(Marked::connection(), "1 1");
  EXPECT_EQ(Marked::recipient(), "1 1");
}

TEST_F(OneRevision, IsTheNewestOneWhenAProfileIsCachedAheadOfThePolicy) {
  EventsHeld held;
  putUnapplied(1);
  factory().clearAntispamProfiles();
  EXPECT_EQ(antispam(marked_.id(1)).name(), "1");
  EXPECT_EQ(Marked::connection(), "1 1");
  EXPECT_EQ(Marked::recipient(), "1 1");
}

TEST_F(OneRevision, OfADecisionIsNotThatOfTheThreadsReadLock) {
  const CMF::Lock pin(true);
  marked_.put(1);
  EXPECT_EQ(Marked::connection(), "1 1");
  EXPECT_EQ(Marked::recipient(), "1 1");
}

TEST_F(OneRevision, CoversWhatAProfileContains) {
  const std::uint32_t id = freshId();
  const auto profile = [&](const char* mark) {
    return AntispamRecord(id).name(mark).cloud().uriCategoryCheck(id);
  };
  Testing::put(profile("0"), WebFilterRecord(id).name("0"));
  EXPECT_EQ(antispam(id).profileWebFilter().name(), "0");
  EventsHeld held;
  Testing::putUnapplied(profile("1"), WebFilterRecord(id).name("1"));
  factory().clearAntispamProfiles();
  EXPECT_EQ(antispam(id).name(), "1");
  EXPECT_EQ(antispam(id).profileWebFilter().name(), "1");
}

TEST_F(OneRevision, CoversTheProtectedDomain) {
  const std::uint32_t id = freshId();
  const EmailAddress recipient = address(std::string("user@") + Marked::kDomain);
  Testing::put(ProtectedDomainRecord(id, Marked::kDomain), marked_.incomingPolicy(0));
  const auto direction = [&] {
    return PolicyRecipient(EmailAddress(), recipient, false, false).direction();
  };
  EXPECT_EQ(direction(), PolicyRecipient::kIncoming);
  {
    EventsHeld held;
    Config::ChangeSet changes;
    marked_.put(changes, 1);
    changes.erase(GID_PROTECTED_DOMAIN, 0, id);
    store().commit(std::move(changes));
    EXPECT_EQ(direction(), PolicyRecipient::kIncoming);
    EXPECT_EQ(Marked::recipient(), "0 0");
    factory().clearAntispamProfiles();
    EXPECT_EQ(direction(), PolicyRecipient::kOutgoing) << "the domain is of that revision, too";
    EXPECT_EQ(Marked::recipient(), "1 1");
  }
  EXPECT_EQ(direction(), PolicyRecipient::kOutgoing);
}

TEST_F(OneRevision, CoversSettings) {
  using Settings = CMF::RefApsSysClientSideCache<__aps_sys_global, GID_SYSTEM_GLOBAL>;
  const auto hostName = [] { return std::string(Settings::instance(false)->record().host_name); };
  Testing::put(SystemGlobalRecord().hostName("0.example"));
  ASSERT_EQ(hostName(), "0.example");
  EventsHeld held;
  Config::ChangeSet changes;
  SystemGlobalRecord().hostName("1.example").put(changes);
  marked_.put(changes, 1);
  store().commit(std::move(changes));
  std::string answers;
  const auto decide = [&] { answers = hostName() + " " + Marked::connection(); };
  Config::Client::atOneRevision(decide);
  EXPECT_EQ(answers, "0.example 0 0");
  factory().clearAntispamProfiles();
  Config::Client::atOneRevision(decide);
  EXPECT_EQ(answers, "1.example 1 1");
  EXPECT_EQ(hostName(), "0.example") << "outside a decision the cached snapshot answers";
}

TEST_F(OneRevision, OfADecisionThatWaitedForDeliveryIsTheDeliveredOne) {
  std::future<std::string> decision;
  put(1, [&] {
    if (decision.valid()) return;
    std::promise<void> begun;
    decision = std::async(std::launch::async, [&begun] {
      begun.set_value();
      return Marked::connection();
    });
    begun.get_future().wait();
  });
  EXPECT_THAT(decision.get(), testing::AnyOf("0 0", "1 1"));
}

TEST_F(OneRevision, CoversSettingsOnAThreadWithAnOlderReadLock) {
  using Settings = CMF::RefApsSysClientSideCache<__aps_sys_global, GID_SYSTEM_GLOBAL>;
  const auto hostName = [] { return std::string(Settings::instance(false)->record().host_name); };
  Testing::put(SystemGlobalRecord().hostName("0.example"));
  const CMF::Lock pin(true);
  Testing::put(SystemGlobalRecord().hostName("1.example"));
  std::string decided;
  Config::Client::atOneRevision([&] { decided = hostName(); });
  EXPECT_EQ(decided, "1.example");
}

// One commit replaces the record of a domain: between its two events the domain is missing.
TEST_F(OneRevision, CoversTheDirectionOfPoliciesThatAreNotChosen) {
  const EmailAddress recipient = address("user@replaced.example");
  const std::uint32_t before = freshId();
  const std::uint32_t after = freshId();
  Testing::put(ProtectedDomainRecord(before, "replaced.example"));
  std::set<int> directions;
  const auto ask = [&] {
    const PolicyRecipient policy(EmailAddress(), recipient, true, true);
    directions.insert(policy.direction());
  };
  ask();
  Config::ChangeSet changes;
  changes.erase(GID_PROTECTED_DOMAIN, 0, before);
  ProtectedDomainRecord(after, "replaced.example").put(changes);
  const CMF::Event::RefHandler handler(new DuringDelivery(ask, GID_PROTECTED_DOMAIN), false);
  dispatcher()->add(handler, 127, 1);
  commit(std::move(changes));
  dispatcher()->remove(handler);
  EXPECT_THAT(directions, testing::ElementsAre(PolicyRecipient::kIncoming));
}

// A policy that names a missing profile has a missing entry in every decision.
TEST_F(OneRevision, TablesAreReadOnceForARevisionThatIsNotDelivered) {
  const auto bad = static_cast<std::int32_t>(freshId());
  Testing::put(IpPolicyRecord(bad).client("no mask"),
               marked_.connectionPolicy(0).antispam(freshId()));
  EventsHeld held;
  Testing::putUnapplied(SystemGlobalRecord().hostName("unrelated.example"));
  const LogCapture log;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Marked::connection(), "0 none");
  EXPECT_EQ(log.fields(LogCode::kPolicyRecordSkipped).size(), 1u) << "one list was compiled";
  Config::ChangeSet changes;
  changes.erase(GID_IP_POLICY, 0, static_cast<std::uint32_t>(bad));
  store().commit(std::move(changes));
}

TEST_F(OneRevision, AFailureForWantOfAnEntryIsNotTheDecisions) {
  EventsHeld held;
  putUnapplied(1);
  int calls = 0;
  Config::Client::atOneRevision([&] {
    ++calls;
    if (!Config::RevisionScope::mayRead()) throw 1;
  });
  EXPECT_EQ(calls, 2);
}

TEST_F(OneRevision, WhatADecisionThrowsReachesItsCaller) {
  EXPECT_THROW(Config::Client::atOneRevision([] { throw std::string("refused"); }), std::string);
  EXPECT_EQ(Marked::connection(), "0 0") << "the thread is out of the decision";
}

// Decisions and cached profiles, each compared with a hand-written equivalent.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <shared_mutex>
#include <string>
#include <unordered_map>

#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "platform/config/match/ConnectionTraits.h"
#include "platform/config/match/PolicyList.h"
#include "platform/config/match/RecipientTraits.h"
#include "platform/config/store/ConfigStore.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"

namespace {

using namespace Kestrav;
using namespace Kestrav::Testing;

constexpr int kPolicies = 1000;
constexpr int kIpPolicies = 10'000;
constexpr int kProfiles = 100;

std::string networkOf(int i) {
  return "10." + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".";
}

// A store with 1,000 incoming policies of the system for 1,000 senders, 10,000 IP policies of one
// server, 100 antispam profiles and a few actions.
class Gateway {
 public:
  static Gateway& instance() {
    static Gateway& gateway = *new Gateway;
    return gateway;
  }
  Config::ConfigStore& store() { return *store_; }

 private:
  Gateway() {
    char folder[] = "/tmp/kestrav-bench-XXXXXX";
    if (mkdtemp(folder) == nullptr) std::abort();
    static std::string path;
    path = folder;
    std::atexit([] { std::filesystem::remove_all(path); });
    store_ = Config::ConfigStore::open(path);
    Config::ChangeSet changes;
    AntispamActionRecord(1).subject("[SPAM]").header("X-Spam", "yes").put(changes);
    AntispamActionRecord(2).disposition(__aps_antispam_action::kDiscard).put(changes);
    for (int id = 1; id <= kProfiles; ++id) {
      AntispamRecord(static_cast<std::uint32_t>(id))
          .heuristic(1, 2, 3)
          .bayesian()
          .rbl({"bl.example", "bl2.example"})
          .surbl({"uri.example"})
          .bannedWords({{"lottery"}, {"casino"}})
          .action(CLASSIFIER_RBL, 2)
          .action(CLASSIFIER_HEURISTIC, 1)
          .action(CLASSIFIER_BAYESIAN, 1)
          .defaultAction(1)
          .put(changes);
    }
    ProtectedDomainRecord(1, "example.com").put(changes);
    for (int i = 1; i <= kPolicies; ++i) {
      IncomingPolicyRecord(i)
          .sender(AddressKind::kDomain, "partner" + std::to_string(i) + ".example")
          .recipient(AddressKind::kDomain, "example.com")
          .antispam(static_cast<std::uint32_t>(1 + i % kProfiles))
          .put(changes);
    }
    for (int i = 1; i <= kIpPolicies; ++i) {
      IpPolicyRecord(i).client(networkOf(i) + "0/24").server("192.0.2.1").put(changes);
    }
    store_->commit(std::move(changes));
    Config::ConfigStore::attach(store_);
    ProfileFactory::instance();
  }

  std::shared_ptr<Config::ConfigStore> store_;
};

void BM_CachedAntispamProfile(benchmark::State& state) {
  Gateway::instance();
  const ProfileFactory& factory = *ProfileFactory::instance();
  // Threads that ask for the same profiles in step would measure the counts of these.
  int id = 37 * state.thread_index();
  for (auto _ : state) {
    benchmark::DoNotOptimize(factory.createProfileAntiSpam(1 + id++ % kProfiles, 0));
  }
}
BENCHMARK(BM_CachedAntispamProfile)->ThreadRange(1, 2);

// What a user would write: one lock, one hash map, shared pointers.
void BM_SharedMutexMapOfSharedPtr(benchmark::State& state) {
  static std::shared_mutex mutex;
  static std::unordered_map<int, std::shared_ptr<std::string>> map = [] {
    std::unordered_map<int, std::shared_ptr<std::string>> filled;
    for (int id = 1; id <= kProfiles; ++id)
      filled.emplace(id, std::make_shared<std::string>("profile"));
    return filled;
  }();
  int id = 0;
  for (auto _ : state) {
    std::shared_ptr<std::string> found;
    {
      const std::shared_lock lock(mutex);
      const auto at = map.find(1 + id++ % kProfiles);
      if (at != map.end()) found = at->second;
    }
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(BM_SharedMutexMapOfSharedPtr)->ThreadRange(1, 2);

std::string senderOf(int i) {
  return "someone@partner" + std::to_string(1 + i % kPolicies) + ".example";
}

// A daemon's whole request: protected domain, policy, profiles.
void BM_RecipientDecision(benchmark::State& state) {
  Gateway::instance();
  const EmailAddress recipient = EmailAddress::rfc5321Parse("info@example.com", false);
  std::vector<EmailAddress> senders;
  for (int i = 0; i < kPolicies; ++i)
    senders.push_back(EmailAddress::rfc5321Parse(senderOf(i * 7), false));
  std::size_t i = 0;
  for (auto _ : state) {
    const PolicyRecipient policy(senders[i++ % senders.size()], recipient, false, false);
    if (policy.isNull()) state.SkipWithError("no policy");
    benchmark::DoNotOptimize(policy);
  }
}
BENCHMARK(BM_RecipientDecision)->ThreadRange(1, 2);

template <bool kIndexed>
void selection(benchmark::State& state) {
  const Config::Snapshot snapshot = Gateway::instance().store().snapshot();
  const Config::PolicyList<Config::RecipientTraits> list(GID_INCOMING_POLICY, 0, snapshot);
  std::vector<std::string> senders;
  for (int i = 0; i < kPolicies; ++i) senders.push_back(senderOf(i * 7));
  std::size_t i = 0;
  for (auto _ : state) {
    const Config::RecipientTraits::Subject subject{
        Config::AddressSubject(senders[i++ % senders.size()]),
        Config::AddressSubject("info@example.com")};
    const auto* winner = kIndexed ? list.select(subject) : list.selectLinear(subject);
    if (winner == nullptr) state.SkipWithError("no policy");
    benchmark::DoNotOptimize(winner);
  }
}
void BM_SelectionIndexed(benchmark::State& state) {
  selection<true>(state);
}
void BM_SelectionLinear(benchmark::State& state) {
  selection<false>(state);
}
BENCHMARK(BM_SelectionIndexed);
BENCHMARK(BM_SelectionLinear);

void BM_ConnectionSelection(benchmark::State& state) {
  const Config::Snapshot snapshot = Gateway::instance().store().snapshot();
  const Config::PolicyList<Config::ConnectionTraits> list(GID_IP_POLICY, 0, snapshot);
  std::vector<Config::ConnectionTraits::Subject> subjects;
  for (int i = 0; i < kIpPolicies; i += 7) {
    subjects.push_back(
        {.server = IPAddress("192.0.2.1"), .client = IPAddress(networkOf(i + 1) + "9")});
  }
  std::size_t i = 0;
  for (auto _ : state) {
    const auto* winner = list.select(subjects[i++ % subjects.size()]);
    if (winner == nullptr) state.SkipWithError("no policy");
    benchmark::DoNotOptimize(winner);
  }
}
BENCHMARK(BM_ConnectionSelection);

void BM_BuildAntispamProfile(benchmark::State& state) {
  const Config::Snapshot snapshot = Gateway::instance().store().snapshot();
  const Config::StoredRecord record = snapshot.byId(GID_ANTISPAM_PROFILE, 0, 1);
  for (auto _ : state) benchmark::DoNotOptimize(ProfileAntiSpam(0, 1, record.data()));
}
BENCHMARK(BM_BuildAntispamProfile);

}  // namespace

BENCHMARK_MAIN();

// Time and memory of a process with 100,000 protected domains and 100,000 recipient policies until
// its first decision, compared with a walk over the same records.
//
// Each start is that of a new process: this program itself, started with a role.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "PolicyRecipient.h"
#include "platform/config/store/ConfigStore.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"

namespace {

using namespace Kestrav;
using namespace Kestrav::Testing;

constexpr int kDomains = 100'000;
constexpr int kPerCommit = 10'000;

std::string domainName(int number) {
  return "customer" + std::to_string(number) + ".example";
}

const std::string& storePath() {
  static const std::string path = [] {
    char folder[] = "/tmp/kestrav-bench-XXXXXX";
    if (mkdtemp(folder) == nullptr) std::abort();
    const auto store = Config::ConfigStore::open(folder);
    for (int first = 1; first <= kDomains; first += kPerCommit) {
      Config::ChangeSet changes;
      for (int i = first; i < first + kPerCommit; ++i) {
        const auto id = static_cast<std::uint32_t>(i);
        ProtectedDomainRecord(id, domainName(i)).put(changes);
        IncomingPolicyRecord(i)
            .recipient(AddressKind::kDomain, domainName(i))
            .antispam(1)
            .authValue(id)
            .put(changes);
      }
      if (first == 1) AntispamRecord(1).heuristic(1, 2, 3).put(changes);
      store->commit(std::move(changes));
    }
    return std::string(folder);
  }();
  static const int removed = std::atexit([] { std::filesystem::remove_all(storePath()); });
  static_cast<void>(removed);
  return path;
}

// ---- in the new process

// Private memory: pages of the store's file are shared.
double residentMiB() {
  std::ifstream status("/proc/self/status");
  std::string word;
  double kib = 0;
  while (status >> word) {
    if (word == "RssAnon:") status >> kib;
  }
  return kib / 1024;
}

int decide() {
  const EmailAddress recipient =
      EmailAddress::rfc5321Parse("someone@" + domainName(kDomains / 2), false);
  const EmailAddress sender = EmailAddress::rfc5321Parse("sender@elsewhere.example", false);
  const PolicyRecipient policy(sender, recipient, false, false);
  const bool right =
      !policy.isNull() && policy.id() == kDomains / 2 && !policy.antispamProfile().isNull();
  return right ? 1 : 0;
}

int walk() {
  int records = 0;
  const Config::Snapshot snapshot = Config::ConfigStore::attached()->snapshot();
  for (const G_CLI_GID table : {GID_PROTECTED_DOMAIN, GID_INCOMING_POLICY}) {
    snapshot.walk(table, 0, [&records](const Config::StoredRecord& record) {
      benchmark::DoNotOptimize(record.data());
      ++records;
      return true;
    });
  }
  return records == 2 * kDomains ? 1 : 0;
}

// Prints success, seconds and MiB.
int measure(const std::string& folder, int (*work)()) {
  const double before = residentMiB();
  const auto start = std::chrono::steady_clock::now();
  Config::ConfigStore::attach(Config::ConfigStore::open(folder));
  const int good = work();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  std::printf("%d %f %f\n", good, taken.count(), residentMiB() - before);
  return 0;
}

// ---- in the benchmark

void start(benchmark::State& state, const std::string& role) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command = "'" + self + "' " + role + " '" + storePath() + "'";
  double memory = 0;
  for (auto _ : state) {
    std::FILE* output = ::popen(command.c_str(), "r");
    int good = 0;
    double seconds = 0;
    double mib = 0;
    const int read = output ? std::fscanf(output, "%d %lf %lf", &good, &seconds, &mib) : 0;
    if (output != nullptr) ::pclose(output);
    if (read != 3 || good != 1) {
      state.SkipWithError("the process did not decide");
      break;
    }
    state.SetIterationTime(seconds);
    memory += mib;
  }
  state.counters["MiB"] = benchmark::Counter(memory, benchmark::Counter::kAvgIterations);
}

void BM_StartToFirstDecision(benchmark::State& state) {
  start(state, "decide");
}
void BM_WalkOfTheSameRecords(benchmark::State& state) {
  start(state, "walk");
}
BENCHMARK(BM_StartToFirstDecision)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WalkOfTheSameRecords)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "decide") return measure(argv[2], decide);
  if (argc == 3 && std::string(argv[1]) == "walk") return measure(argv[2], walk);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

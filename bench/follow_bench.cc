// How quickly another process follows a commit, compared with a plain exchange of wakes between two
// processes, and what changes cost the readers.
//
// The other processes are this program itself, started with a role.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "ProfileFactory.h"
#include "config/Event.h"
#include "platform/config/store/ConfigStore.h"
#include "tests/support/AntispamRecords.h"

namespace {

using namespace Kestrav;
using namespace Kestrav::Testing;

constexpr int kProfiles = 1000;
constexpr int kPatience = 10'000;  // ms

// Two words shared with the other process: the request and the answer.
struct Words {
  std::atomic<std::uint32_t> asked;
  std::atomic<std::uint32_t> answered;
};

void wait(std::atomic<std::uint32_t>& word, std::uint32_t old) {
  const timespec patience{kPatience / 1000, 0};
  ::syscall(SYS_futex, &word, FUTEX_WAIT, old, &patience, nullptr, 0);
}

void post(std::atomic<std::uint32_t>& word, std::uint32_t value) {
  word.store(value);
  ::syscall(SYS_futex, &word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

Words& wordsIn(int memory) {
  void* mapped = ::mmap(nullptr, sizeof(Words), PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
  if (mapped == MAP_FAILED) std::abort();
  return *static_cast<Words*>(mapped);
}

Words& sharedWords(int* memory) {
  *memory = ::memfd_create("words", 0);
  if (*memory < 0 || ::ftruncate(*memory, sizeof(Words)) != 0) std::abort();
  return wordsIn(*memory);
}

// A store with a given number of antispam profiles.
class Store {
 public:
  static Store& instance() {
    static Store& store = *new Store;
    return store;
  }
  Config::ConfigStore& operator*() { return *store_; }
  Config::ConfigStore* operator->() { return store_.get(); }
  const std::string& path() const { return path_; }

 private:
  Store() {
    // In memory by default, to keep the disk out of the measurement.
    const char* base = ::getenv("TMPDIR");
    path_ = std::string(base != nullptr ? base : "/dev/shm") + "/kestrav-bench-XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) std::abort();
    std::atexit([] { std::filesystem::remove_all(instance().path_); });
    store_ = Config::ConfigStore::open(path_);
    Config::ChangeSet changes;
    for (std::uint32_t id = 1; id <= kProfiles; ++id)
      AntispamRecord(id).heuristic(1, 2, 3).put(changes);
    store_->commit(std::move(changes));
    Config::ConfigStore::attach(store_);
  }

  std::string path_;
  std::shared_ptr<Config::ConfigStore> store_;
};

Config::Revision changeProfiles(Config::ConfigStore& store, std::uint32_t first, int count,
                                std::uint32_t value) {
  Config::ChangeSet changes;
  for (int i = 0; i < count; ++i) {
    const std::uint32_t id = 1 + (first + static_cast<std::uint32_t>(i)) % kProfiles;
    AntispamRecord(id).heuristic(value, value, value).put(changes);
  }
  return store.commit(std::move(changes));
}

// ---- the other process

class OtherProcess {
 public:
  OtherProcess(const char* role, const std::string& store, int memory) {
    const std::string descriptor = std::to_string(memory);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::execl("/proc/self/exe", "bench", role, store.c_str(), descriptor.c_str(), nullptr);
      ::_exit(127);
    }
  }
  ~OtherProcess() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

 private:
  pid_t pid_;
};

constexpr std::uint32_t kStarted = 1;

// Answers each revision as soon as it is applied here.
[[noreturn]] void follow(const std::string& store, Words& words) {
  Config::ConfigStore::attach(Config::ConfigStore::open(store));
  ProfileFactory::instance();
  auto dispatcher = CMF::Event::Dispatcher::instance("", false, false);
  Config::Revision next = dispatcher->applied() + 1;
  post(words.answered, kStarted);
  for (;; ++next) {
    while (!dispatcher->waitApplied(next, kPatience)) {
    }
    post(words.answered, static_cast<std::uint32_t>(next));
  }
}

[[noreturn]] void answer(const std::string&, Words& words) {
  std::uint32_t seen = words.asked.load();
  post(words.answered, kStarted);
  for (;;) {
    wait(words.asked, seen);
    const std::uint32_t now = words.asked.load();
    if (now != seen) post(words.answered, now);
    seen = now;
  }
}

// Changes 1,000 profiles a second, ten in each commit.
[[noreturn]] void storm(const std::string& folder, Words& words) {
  constexpr int kAtOnce = 10;
  constexpr long kInterval = 10'000'000;  // ns
  const auto store = Config::ConfigStore::open(folder);
  timespec next{};
  ::clock_gettime(CLOCK_MONOTONIC, &next);
  for (std::uint32_t round = 1;; ++round) {
    changeProfiles(*store, round * kAtOnce, kAtOnce, round + 10);
    post(words.answered, round);
    next.tv_nsec += kInterval;
    if (next.tv_nsec >= 1'000'000'000) {
      next.tv_nsec -= 1'000'000'000;
      ++next.tv_sec;
    }
    ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
  }
}

bool awaitAnswer(Words& words, std::uint32_t wanted) {
  for (int tries = 0; tries < 3; ++tries) {
    const std::uint32_t now = words.answered.load();
    if (now == wanted) return true;
    wait(words.answered, now);
  }
  return words.answered.load() == wanted;
}

// ---- commit to applied

void BM_CommitToAppliedElsewhere(benchmark::State& state) {
  Store& store = Store::instance();
  int memory = -1;
  Words& words = sharedWords(&memory);
  const OtherProcess other("follow", store.path(), memory);
  while (words.answered.load() == 0) wait(words.answered, 0);
  static std::uint32_t value = 1000;  // each commit changes something
  for (auto _ : state) {
    const Config::Revision revision = changeProfiles(*store, 1, 1, ++value);
    if (!awaitAnswer(words, static_cast<std::uint32_t>(revision))) state.SkipWithError("no answer");
  }
}
BENCHMARK(BM_CommitToAppliedElsewhere)->UseRealTime();

// The commit alone.
void BM_CommitAlone(benchmark::State& state) {
  Store& store = Store::instance();
  static std::uint32_t value = 1'000'000;
  for (auto _ : state) changeProfiles(*store, 1, 1, ++value);
}
BENCHMARK(BM_CommitAlone)->UseRealTime();

// A round trip without any work.
void BM_FutexPingPong(benchmark::State& state) {
  int memory = -1;
  Words& words = sharedWords(&memory);
  const OtherProcess other("answer", "", memory);
  while (words.answered.load() == 0) wait(words.answered, 0);
  std::uint32_t number = kStarted;
  for (auto _ : state) {
    post(words.asked, ++number);
    if (!awaitAnswer(words, number)) state.SkipWithError("no answer");
  }
}
BENCHMARK(BM_FutexPingPong)->UseRealTime();

// ---- requests while profiles change

void hits(benchmark::State& state) {
  const ProfileFactory& factory = *ProfileFactory::instance();
  int id = state.thread_index() * 37;
  for (auto _ : state) {
    const ProfileAntiSpam profile = factory.createProfileAntiSpam(1 + id++ % kProfiles, 0);
    if (profile.isNull()) state.SkipWithError("no profile");
    benchmark::DoNotOptimize(profile);
  }
  state.SetItemsProcessed(state.iterations());
}

std::unique_ptr<OtherProcess> theStorm;

void startStorm(const benchmark::State&) {
  int memory = -1;
  Words& words = sharedWords(&memory);
  theStorm = std::make_unique<OtherProcess>("storm", Store::instance().path(), memory);
  while (words.answered.load() == 0) wait(words.answered, 0);
}

void endStorm(const benchmark::State&) {
  theStorm.reset();
}

void attachStore(const benchmark::State&) {
  Store::instance();
}

void BM_HitsWithoutChanges(benchmark::State& state) {
  hits(state);
}
BENCHMARK(BM_HitsWithoutChanges)->Setup(attachStore)->Threads(2)->Threads(8)->UseRealTime();

void BM_HitsWhileProfilesChange(benchmark::State& state) {
  const Config::Revision before = Store::instance()->revision();
  hits(state);
  if (state.thread_index() != 0) return;
  const auto commits = static_cast<double>(Store::instance()->revision() - before);
  state.counters["changes"] = benchmark::Counter(commits * 10, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_HitsWhileProfilesChange)
    ->Setup(startStorm)
    ->Teardown(endStorm)
    ->Threads(2)
    ->Threads(8)
    ->MinTime(2)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4) {
    const std::string role = argv[1];
    const auto words = [&]() -> Words& { return wordsIn(std::atoi(argv[3])); };
    if (role == "follow") follow(argv[2], words());
    if (role == "answer") answer(argv[2], words());
    if (role == "storm") storm(argv[2], words());
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

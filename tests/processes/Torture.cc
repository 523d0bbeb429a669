// Three writers and three readers on one store with a small journal and a small map, killed and
// stopped at random moments:
//
//   torture SECONDS [--seed N] [--fault torn|lost] FOLDER...
//
// Each round has a new store, in the next of the folders. Prints figures and every violation; ends
// with 1 when there was one. --fault makes the writers do what they must not, to test the test:
// ends with 0 when a violation was found.

#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "tests/processes/Ledger.h"
#include "tests/processes/PeerProcess.h"
#include "tests/processes/Sets.h"

namespace Kestrav::Testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Config::ConfigStore;
using Config::Revision;
namespace fs = std::filesystem;

constexpr int kReaders = 3;  // the last one only looks, the others follow
constexpr const char* kThreads = "2";
constexpr auto kRound = 4s;
constexpr int kLongestPause = 25;  // ms between two attacks
constexpr int kLongestStop = 60;   // ms

struct Figures {
  std::uint64_t rounds = 0, kills = 0, stops = 0, commits = 0, unreported = 0, full = 0, reads = 0,
                resyncs = 0, violations = 0;

  void print() const {
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    std::printf(
        "%llu rounds, %llu kills, %llu stops, %llu commits (%llu not reported by killed writers), "
        "%llu without room, %llu looks, %llu tables resynchronised, %llu violations\n",
        number(rounds), number(kills), number(stops), number(commits), number(unreported),
        number(full), number(reads), number(resyncs), number(violations));
    std::fflush(stdout);
  }
};

struct Settings {
  int seconds = 0;
  unsigned seed = std::random_device{}();
  std::string fault;
  std::vector<fs::path> folders;
};

struct Attacked {
  std::unique_ptr<PeerProcess> process;
  bool ready = false;
  Clock::time_point resumed = Clock::time_point::max();  // when a stopped one goes on
};

class Round {
 public:
  Round(const fs::path& folder, const Settings& settings, std::mt19937& random, Figures& figures)
      : path_(folder / "store"), settings_(settings), random_(random), figures_(figures) {
    ConfigStore::Options options = tightOptions();
    options.create = true;
    putAllSets(*ConfigStore::open(path_, options));
  }

  // Ends early after a violation.
  void run(Clock::time_point end) {
    for (int i = 0; i < kWriters; ++i) startWriter(i);
    for (int i = 0; i < kReaders; ++i) startReader(i);
    while (Clock::now() < end && !violated_) {
      std::this_thread::sleep_for(std::chrono::milliseconds(below(kLongestPause)));
      listen();
      attack();
    }
    for (Attacked& each : writers_) resume(each);
    for (Attacked& each : readers_) resume(each);
    for (int i = 0; i < kWriters; ++i) {
      expectNone(writers_[i].process->finish());
      listenTo(i);
    }
    const Revision last = checkStore();
    if (!violated_) checkReaders(last);
    for (Attacked& each : readers_) {
      each.process.reset();  // kills those that are still there
    }
    if (!violated_) expect(checkStore() == last, "the revision changed after the last writer");
    ++figures_.rounds;
  }

 private:
  unsigned below(unsigned bound) { return static_cast<unsigned>(random_()) % bound; }

  void expect(bool right, const std::string& what) {
    if (right) return;
    violated_ = true;
    ++figures_.violations;
    std::printf("violation in round %llu: %s\n",
                static_cast<unsigned long long>(figures_.rounds + 1), what.c_str());
  }
  void expectNone(const std::string& wrong) { expect(wrong.empty(), wrong); }

  void startWriter(int index) {
    std::vector<std::string> arguments = {"torture-write", path_.string(), std::to_string(index),
                                          std::to_string(random_()),
                                          std::to_string(reported_[index])};
    if (!settings_.fault.empty()) arguments.push_back(settings_.fault);
    writers_[index] = {std::make_unique<PeerProcess>(arguments)};
  }
  static bool follows(int reader) { return reader < kReaders - 1; }
  void startReader(int index) {
    readers_[index] = {std::make_unique<PeerProcess>(std::vector<std::string>{
        follows(index) ? "torture-follow" : "torture-look", path_.string(), kThreads})};
  }

  void listen() {
    for (int i = 0; i < kWriters; ++i) listenTo(i);
    for (Attacked& reader : readers_) {
      while (const auto line = reader.process->lineIfAny()) {
        expect(*line == "ready", *line);
        reader.ready = true;
      }
    }
  }

  // What a writer has reported, in order.
  void listenTo(int writer) {
    while (const auto line = writers_[writer].process->lineIfAny()) {
      std::istringstream words(*line);
      std::string word;
      std::uint64_t number = 0;
      Revision revision = 0;
      words >> word >> number >> revision;
      if (word == "full") {
        ++figures_.full;
      } else if (word == "commit") {
        expect(number > reported_[writer], "a writer reports " + *line);
        expect(revisions_.insert(revision).second, "two commits gave revision " + *line);
        reported_[writer] = number;
      } else {
        expect(word == "ready", *line);
      }
    }
  }

  void attack() {
    for (Attacked& each : writers_) resumeInTime(each);
    for (Attacked& each : readers_) resumeInTime(each);
    const int index = static_cast<int>(below(3));
    switch (below(8)) {
      case 0:
      case 1:
        kill(writers_[index]);
        listenTo(index);
        startWriter(index);
        break;
      case 2:
        kill(readers_[index]);
        startReader(index);
        break;
      case 3:
      case 4:
        stop(below(2) == 0 ? writers_[index] : readers_[index]);
        break;
      default:
        break;
    }
  }

  void kill(Attacked& each) {
    ++figures_.kills;
    expectNone(each.process->kill());
  }
  void stop(Attacked& each) {
    if (each.resumed != Clock::time_point::max()) return;
    ++figures_.stops;
    each.process->signal(SIGSTOP);
    each.resumed = Clock::now() + std::chrono::milliseconds(1 + below(kLongestStop));
  }
  void resumeInTime(Attacked& each) {
    if (Clock::now() >= each.resumed) resume(each);
  }
  void resume(Attacked& each) {
    if (each.resumed == Clock::time_point::max()) return;
    each.process->resume();
    each.resumed = Clock::time_point::max();
  }

  // Nothing that was reported is missing. Returns the revision.
  Revision checkStore() {
    const auto store = ConfigStore::open(path_, tightOptions());
    // Takes over the lock of a killed writer, which may show its last commit. Changes nothing.
    store->commitAt(0, Config::ChangeSet());
    Witness witness;
    expectNone(witness.look(*store));
    expectNone(witness.readJournal(*store));
    const Config::Snapshot snapshot = store->snapshot();
    const Accounts accounts = accountsIn(snapshot);
    expect(store->waitForRevision(snapshot.revision(), 0) == snapshot.revision(),
           "another revision is published");
    expect(!revisions_.empty(), "no writer made a commit");
    expect(revisions_.empty() || *revisions_.rbegin() <= snapshot.revision(),
           "a reported revision is missing");
    std::uint64_t all = 0;
    for (std::size_t i = 0; i < accounts.size(); ++i) {
      expect(accounts[i].commits >= reported_[i],
             "writer " + std::to_string(i) + " reported " + std::to_string(reported_[i]) +
                 " commits; the store has " + std::to_string(accounts[i].commits));
      all += accounts[i].commits;
    }
    if (!counted_) {
      counted_ = true;
      figures_.commits += all;
      figures_.unreported += all - std::min<std::uint64_t>(all, revisions_.size());
    }
    return snapshot.revision();
  }

  // The followers have delivered all events, and give the same answers.
  void checkReaders(Revision last) {
    std::string answers;
    for (int i = 0; i < kReaders && !violated_; ++i) {
      PeerProcess& process = *readers_[i].process;
      if (!readers_[i].ready) expect(process.line() == "ready", "a reader does not start");
      if (follows(i)) checkFollower(process, last, answers);
      if (violated_) return;
      figures_.reads += std::stoull(process.ask("asked"));
      expectNone(process.finish());
    }
  }

  // `answers` are those of another follower, or empty.
  void checkFollower(PeerProcess& process, Revision last, std::string& answers) {
    const std::string applied = process.ask("await " + std::to_string(last));
    expect(applied == "applied", "revision " + std::to_string(last) + " was " + applied);
    if (violated_) return;
    const std::string own = process.askAll("answers");
    expect(answers.empty() || own == answers, "two readers answer\n" + answers + "and\n" + own);
    answers = own;
    const std::string compared = process.ask("compare");
    expect(compared == "compared" || compared == "the journal does not reach back", compared);
    figures_.resyncs += std::stoull(process.ask("missed"));
  }

  const fs::path path_;
  const Settings& settings_;
  std::mt19937& random_;
  Figures& figures_;
  Attacked writers_[kWriters];
  Attacked readers_[kReaders];
  std::uint64_t reported_[kWriters] = {};
  std::set<Revision> revisions_;  // reported
  bool violated_ = false;
  bool counted_ = false;
};

// Removed at the end, unless it is kept.
class RoundFolder {
 public:
  explicit RoundFolder(const fs::path& below) {
    std::string name = (below / "torture-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder: " + name);
    path_ = name;
  }
  ~RoundFolder() {
    std::error_code ignored;
    if (!kept_) fs::remove_all(path_, ignored);
  }
  RoundFolder(const RoundFolder&) = delete;
  RoundFolder& operator=(const RoundFolder&) = delete;
  const fs::path& path() const { return path_; }
  void keep() {
    kept_ = true;
    std::printf("kept in %s\n", path_.c_str());
  }

 private:
  fs::path path_;
  bool kept_ = false;
};

Figures torture(const Settings& settings) {
  Figures figures;
  std::mt19937 random(settings.seed);
  const auto quiet = Logger::instance().capture([&figures](const Logger::Message& message) {
    if (message.code != LogCode::kStoreRecordSkipped) return;
    ++figures.violations;
    std::printf("violation: %s\n", message.line.c_str());
  });
  const auto end = Clock::now() + std::chrono::seconds(settings.seconds);
  while (Clock::now() < end && figures.violations == 0) {
    const auto& below = settings.folders[figures.rounds % settings.folders.size()];
    RoundFolder folder(below);
    try {
      Round(folder.path(), settings, random, figures).run(std::min(end, Clock::now() + kRound));
    } catch (const std::exception& failure) {
      ++figures.violations;
      std::printf("violation in round %llu: %s\n",
                  static_cast<unsigned long long>(figures.rounds + 1), failure.what());
    }
    if (figures.violations != 0 && settings.fault.empty()) folder.keep();
    if (figures.rounds % 15 == 0) figures.print();
  }
  figures.print();
  return figures;
}

bool parse(const std::vector<std::string>& words, Settings& settings) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    const bool more = i + 1 < words.size();
    if (words[i] == "--seed" && more) {
      settings.seed = static_cast<unsigned>(std::strtoul(words[++i].c_str(), nullptr, 10));
    } else if (words[i] == "--fault" && more) {
      settings.fault = words[++i];
    } else if (settings.seconds == 0) {
      settings.seconds = std::atoi(words[i].c_str());
    } else {
      settings.folders.emplace_back(words[i]);
    }
  }
  return settings.seconds > 0 && !settings.folders.empty();
}

}  // namespace
}  // namespace Kestrav::Testing

int main(int argc, char** argv) {
  using namespace Kestrav::Testing;
  Settings settings;
  if (!parse({argv + 1, argv + argc}, settings)) {
    std::fprintf(stderr, "usage: torture SECONDS [--seed N] [--fault torn|lost] FOLDER...\n");
    return 2;
  }
  for (const auto& folder : settings.folders) {
    if (std::filesystem::is_directory(folder)) continue;
    std::printf("skipped: there is no folder %s\n", folder.c_str());
    return 77;
  }
  liveAtNoon();
  static_cast<void>(!::nice(10));  // other tests may run beside it
  std::printf("seed %u\n", settings.seed);
  const Figures figures = torture(settings);
  return (figures.violations != 0) == !settings.fault.empty() ? 0 : 1;
}

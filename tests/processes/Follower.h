// Follows the attached store as a daemon does, and checks everything on the way: what the handlers
// are told, that sets are seen whole, and that no answer is older than what has been applied.
//
// Lives as long as the process. What it finds wrong is handed to a function of the owner's, from
// any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Sets.h"
#include "config/Event.h"

namespace Kestrav::Testing {

// The last number of each record that handlers were told of. A change whose old number is not the
// last new one has a change missing before it, or is told twice.
class Chains {
 public:
  using Complaint = std::function<void(const std::string&)>;
  using Key = std::tuple<unsigned, ngid_t, std::uint32_t>;  // table, domain, id

  explicit Chains(Complaint complaint) : complaint_(std::move(complaint)) {}

  // An empty number: there is no such record.
  using Number = std::optional<std::uint32_t>;
  void change(const Key& key, Number before, Number after);
  void missed(unsigned gid);
  std::uint64_t changes() const { return changes_.load(); }
  std::uint64_t missedTables() const { return missed_.load(); }

 private:
  const Complaint complaint_;
  std::atomic<std::uint64_t> changes_{0};
  std::atomic<std::uint64_t> missed_{0};
  std::map<Key, Number> last_;  // the event thread's
};

class Follower {
 public:
  // Listens from now on.
  explicit Follower(Chains::Complaint complaint);
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  // That many threads ask for answers until stopAsking().
  void startAsking(int threads);
  void stopAsking();

  // Complains unless the changes observed are those of the store's journal, each once. True when
  // the journal reaches back far enough to tell.
  bool compareWithJournal();

  std::uint64_t asked() const { return asked_.load(); }
  const Chains& chains() const { return chains_; }

 private:
  struct Applied {
    Config::Revision revision = 0;
    std::uint32_t number = 0;
  };
  using Change = std::tuple<Config::Revision, unsigned, ngid_t, std::uint32_t>;

  void observed(const Config::JournalEntry& entry);
  void ask(unsigned seed);
  void checkSnapshot(int set);
  void checkAnswers(int set);
  void checkProfile(int set, std::uint32_t id, ngid_t domain, const Applied& floor);
  void checkPolicies(int set, const Applied& floor);
  void checkSettings(int set, const Applied& floor);
  void expectNew(const char* what, int set, std::uint32_t number, const Applied& floor);
  Applied floorOf(int set);

  const Chains::Complaint complaint_;
  Chains chains_;
  const CMF::Event::Dispatcher dispatcher_;
  std::atomic<std::uint64_t> asked_{0};
  std::atomic<bool> stop_{false};
  std::vector<std::thread> threads_;

  std::mutex mutex_;  // guards what follows
  Applied floors_[kSets];
  std::vector<Change> changes_;
  std::set<Change> ofThisRevision_;
};

}  // namespace Kestrav::Testing

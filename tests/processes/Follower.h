// Follows the attached store as a daemon does. Checks that handlers receive each change once, that
// sets are whole, and that no answer is older than the applied revision.
//
// Lives as long as the process. Reports what is wrong to a function of its owner, from any thread.
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

#include "config/Event.h"
#include "tests/processes/Sets.h"

namespace Kestrav::Testing {

// The number in the last change of each record. If the old number of the next change differs, a
// change was lost or delivered twice.
class Chains {
 public:
  using Complaint = std::function<void(const std::string&)>;
  using Key = std::tuple<unsigned, ngid_t, std::uint32_t>;  // table, domain, id

  explicit Chains(Complaint complaint) : complaint_(std::move(complaint)) {}

  // Empty when there is no such record.
  using Number = std::optional<std::uint32_t>;
  void change(const Key& key, Number before, Number after);
  void missed(unsigned gid);
  std::uint64_t changes() const { return changes_.load(); }
  std::uint64_t missedTables() const { return missed_.load(); }

 private:
  const Complaint complaint_;
  std::atomic<std::uint64_t> changes_{0};
  std::atomic<std::uint64_t> missed_{0};
  std::map<Key, Number> last_;  // used by the event thread only
};

class Follower {
 public:
  // Subscribes to the changes.
  explicit Follower(Chains::Complaint complaint);
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  // `threads` threads ask for answers until stopAsking(). Each calls `first` with the number of its
  // turn, and asks in this turn when that returns true.
  void startAsking(
      int threads, const std::function<bool(unsigned)>& first = [](unsigned) { return true; });
  void stopAsking();

  // Reports a difference between the observed changes and the store's journal. False when the
  // journal does not reach back far enough.
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
  void ask(unsigned seed, const std::function<bool(unsigned)>& first);
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

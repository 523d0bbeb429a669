// What the torture's writers keep in the store beside the sets: each has one record with the number
// of its commits and the revision of its last one. Each revision but the first is one commit of one
// writer, so the records account for all of them.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

inline constexpr int kWriters = 3;

struct Account {
  std::uint64_t commits = 0;
  Config::Revision last = 0;
};
using Accounts = std::array<Account, kWriters>;

// A small journal and a small map, in which both are always at their limits.
Config::ConfigStore::Options tightOptions();
// The same with a map that never grows, for processes that make decisions: a decision holds a
// snapshot while it waits for a profile, and the thread that makes the profile may wait for a
// larger map.
Config::ConfigStore::Options roomyOptions();

Accounts accountsIn(const Config::Snapshot& snapshot);
void putAccount(Config::ChangeSet& changes, int writer, const Account& account);

// What contradicts `accounts` at `revision`. Empty when they are right.
std::string wrongAccounts(const Accounts& accounts, Config::Revision revision);

// One reading thread's view of the store, which only moves forward.
class Witness {
 public:
  // Looks at the newest revision. Returns what is wrong, empty if nothing.
  std::string look(Config::ConfigStore& store);
  // Follows the journal to the newest revision.
  std::string readJournal(Config::ConfigStore& store);
  std::uint64_t gaps() const { return gaps_; }

 private:
  Config::Revision seen_ = 0;
  Config::Revision journalRead_ = 0;
  Accounts accounts_{};
  std::uint64_t gaps_ = 0;
};

}  // namespace Kestrav::Testing

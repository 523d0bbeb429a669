#include "tests/processes/Ledger.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "platform/common/Strings.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/Gid.h"
#include "tests/processes/Sets.h"
#include "tests/support/DictionaryRecords.h"

namespace Kestrav::Testing {
namespace {

using Config::ConfigStore;
using Config::JournalEntry;
using Config::Revision;
using Config::Snapshot;
using Config::StoredRecord;

constexpr std::uint32_t kFirstAccount = 900;

std::string text(const Account& account) {
  return std::to_string(account.commits) + " commits, the last in revision " +
         std::to_string(account.last);
}

Account accountIn(const StoredRecord& record) {
  Account account;
  if (!record) return account;
  unsigned long long commits = 0;
  unsigned long long last = 0;
  const std::string stored(boundedText(record.as<__vexa_dictionary_item>()->text));
  if (std::sscanf(stored.c_str(), "%llu %llu", &commits, &last) == 2) account = {commits, last};
  return account;
}

bool isAccount(const JournalEntry& entry) {
  return entry.gid == GID_DICTIONARY_ITEM && entry.id >= kFirstAccount &&
         entry.id < kFirstAccount + kWriters;
}

}  // namespace

ConfigStore::Options tightOptions() {
  ConfigStore::Options options;
  options.create = false;
  options.initialMapSize = 64u << 10;
  options.maximumMapSize = 16u << 20;
  options.readerSlots = 48;
  options.journalEntries = 150;
  options.journalEntriesHard = 500;
  return options;
}

ConfigStore::Options roomyOptions() {
  ConfigStore::Options options = tightOptions();
  options.initialMapSize = options.maximumMapSize = 64u << 20;
  return options;
}

Accounts accountsIn(const Snapshot& snapshot) {
  Accounts accounts;
  for (int writer = 0; writer < kWriters; ++writer) {
    accounts[static_cast<std::size_t>(writer)] = accountIn(
        snapshot.byId(GID_DICTIONARY_ITEM, 0, kFirstAccount + static_cast<std::uint32_t>(writer)));
  }
  return accounts;
}

void putAccount(Config::ChangeSet& changes, int writer, const Account& account) {
  DictionaryItemRecord(kFirstAccount + static_cast<std::uint32_t>(writer), 0,
                       std::to_string(account.commits) + " " + std::to_string(account.last))
      .score(static_cast<std::uint16_t>(account.commits))
      .put(changes);
}

std::string wrongAccounts(const Accounts& accounts, Revision revision) {
  std::uint64_t commits = 1;  // the first, which made the sets
  Revision last = 1;
  for (const Account& account : accounts) {
    commits += account.commits;
    last = std::max(last, account.last);
  }
  if (commits == revision && last == revision) return {};
  std::string wrong = "revision " + std::to_string(revision) + " has";
  for (const Account& account : accounts) wrong += " [" + text(account) + "]";
  return wrong;
}

std::string Witness::look(ConfigStore& store) {
  const Revision published = store.revision();
  const Snapshot snapshot = store.snapshot();
  const Revision revision = snapshot.revision();
  const std::string name = "revision " + std::to_string(revision) + ": ";
  if (revision < published) return name + "older than the published " + std::to_string(published);
  if (revision < seen_) return name + "older than the former " + std::to_string(seen_);
  const Accounts accounts = accountsIn(snapshot);
  std::string wrong = wrongAccounts(accounts, revision);
  for (std::size_t i = 0; i < accounts.size() && wrong.empty(); ++i) {
    if (accounts[i].commits < accounts_[i].commits || accounts[i].last < accounts_[i].last) {
      wrong = name + text(accounts[i]) + " after " + text(accounts_[i]);
    }
  }
  for (int set = 0; set < kSets && wrong.empty(); ++set) {
    wrong = brokenPart(snapshot, set);
    if (!wrong.empty()) wrong = name + wrong;
  }
  if (wrong.empty() && snapshot.lastChanged(GID_DICTIONARY_ITEM) != revision && revision > 1) {
    wrong = name + "its table was changed last in another one";
  }
  seen_ = revision;
  accounts_ = accounts;
  return wrong;
}

// A gap must be one that the store admits: the journal begins later.
std::string Witness::readJournal(ConfigStore& store) {
  const Revision upTo = store.snapshot().revision();
  Revision at = journalRead_;
  bool accounted = true;  // the revision `at`
  std::string wrong;
  const auto visit = [&](const JournalEntry& entry) {
    if (!wrong.empty()) return;
    const std::string name = "journal of revision " + std::to_string(entry.revision) + ": ";
    if (entry.revision != at) {
      if (entry.revision != at + 1) wrong = name + "comes after " + std::to_string(at);
      if (!accounted) wrong = name + "the one before has no account";
      at = entry.revision;
      accounted = at == 1;
    }
    if (!isAccount(entry)) return;
    const Account before = accountIn(entry.before);
    const Account after = accountIn(entry.after);
    if (accounted || after.last != entry.revision || after.commits != before.commits + 1) {
      wrong = name + text(after) + " after " + text(before);
    }
    accounted = true;
  };
  const bool whole = store.journal(journalRead_, upTo, visit);
  if (wrong.empty() && whole && !accounted) {
    wrong = "the journal has no account in revision " + std::to_string(at);
  }
  if (wrong.empty() && whole && at != upTo) {
    wrong = "the journal ends with revision " + std::to_string(at) + " instead of " +
            std::to_string(upTo);
  }
  if (wrong.empty() && !whole) {
    ++gaps_;
    const Revision oldest = store.statistics().oldestJournalRevision;
    if (oldest <= journalRead_ + 1) {
      wrong = "the journal after revision " + std::to_string(journalRead_) +
              " is said to be gone, but begins with " + std::to_string(oldest);
    }
  }
  journalRead_ = upTo;
  return wrong;
}

}  // namespace Kestrav::Testing

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/config/records/Gid.h"
#include "tests/processes/Ledger.h"
#include "tests/processes/PeerRole.h"
#include "tests/processes/Sets.h"
#include "tests/support/DictionaryRecords.h"

namespace Kestrav::Testing {
namespace {

using Config::ChangeSet;
using Config::Revision;

constexpr std::uint32_t kFirstBulky = 1000;
constexpr std::uint32_t kMostBulky = 100;
// One in this number of turns also ...
constexpr int kBulkyTurn = 16;    // changes the number of bulky records
constexpr int kJournalTurn = 4;   // reads the journal
constexpr int kAnswersTurn = 16;  // asks for profiles and policies

bool endOfInput() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return ::poll(&input, 1, 0) > 0;
}

// A damaged row or journal entry, or a failure that the library handles by logging it.
std::shared_ptr<void> complainOfFailures() {
  return Logger::instance().capture([](const Logger::Message& message) {
    if (message.code == LogCode::kStoreRecordSkipped || message.code == LogCode::kStoreFailure ||
        message.code == LogCode::kHandlerFailed) {
      complain("logged " + message.line);
    }
  });
}

// Records that come and go, so that the map has to grow and has free pages.
void changeBulk(ChangeSet& changes, std::mt19937& random) {
  const std::uint32_t kept = static_cast<std::uint32_t>(random()) % kMostBulky;
  for (std::uint32_t i = 0; i < kMostBulky; ++i) {
    if (i >= kept) {
      changes.erase(GID_DICTIONARY_ITEM, 0, kFirstBulky + i);
      continue;
    }
    std::string noise(200, '\0');
    for (char& c : noise) c = static_cast<char>(1 + random() % 255);
    DictionaryItemRecord(kFirstBulky + i, 0, noise).put(changes);
  }
}

class TortureWriter {
 public:
  TortureWriter(const Store& store, const Arguments& arguments)
      : store_(store),
        writer_(numberAt(arguments, 0)),
        random_(static_cast<unsigned>(std::strtoul(arguments.at(1).c_str(), nullptr, 10))),
        known_(std::strtoull(arguments.at(2).c_str(), nullptr, 10)),
        fault_(arguments.size() > 3 ? arguments[3] : "") {}

  void turn() {
    Revision basis = 0;
    Account account;
    {
      const Config::Snapshot snapshot = store_->snapshot();
      basis = snapshot.revision();
      const Accounts accounts = accountsIn(snapshot);
      const std::string wrong = wrongAccounts(accounts, basis);
      if (!wrong.empty()) complain(wrong);
      account = accounts[static_cast<std::size_t>(writer_)];
    }
    // The former writer may have been killed before it reported its last commit. LMDB may show that
    // commit only when the next writer has taken over the lock.
    if (account.commits < known_ || (account.commits > known_ && own_)) {
      complain("writer " + std::to_string(writer_) + " made " + std::to_string(known_) +
               " commits; revision " + std::to_string(basis) + " has " +
               std::to_string(account.commits));
    }
    known_ = account.commits;
    const bool fault = !fault_.empty() && random_() % 50 == 0;
    if (fault && fault_ == "lost") {
      ++known_;
      return report(basis + 1);
    }
    ChangeSet changes = setsFor(basis + 1);
    if (fault) partsOf(0, 0).front().putInto(changes);
    putAccount(changes, writer_, {known_ + 1, basis + 1});
    try {
      const auto revision = store_->commitAt(basis, std::move(changes));
      if (!revision) return;  // another writer was faster
      if (*revision != basis + 1) complain("revision " + std::to_string(*revision));
      ++known_;
      own_ = true;
      report(*revision);
    } catch (const Exception& exception) {
      if (exception.code() != Config::StoreError::kFull) throw;
      say("full");
    }
  }

 private:
  ChangeSet setsFor(Revision revision) {
    ChangeSet changes;
    const unsigned which = 1 + static_cast<unsigned>(random_()) % ((1u << kSets) - 1);
    for (int set = 0; set < kSets; ++set) {
      if ((which >> set & 1u) != 0) putSet(changes, set, static_cast<std::uint32_t>(revision));
    }
    if (random_() % kBulkyTurn == 0) changeBulk(changes, random_);
    return changes;
  }
  void report(Revision revision) {
    say("commit " + std::to_string(known_) + " " + std::to_string(revision));
  }

  const Store store_;
  const int writer_;
  std::mt19937 random_;
  std::uint64_t known_;
  bool own_ = false;  // made a commit, so known_ is exact
  const std::string fault_;
};

void look(Config::ConfigStore& store, unsigned turn) {
  thread_local Witness witness;
  std::string wrong = witness.look(store);
  if (wrong.empty() && turn % kJournalTurn == 0) wrong = witness.readJournal(store);
  if (!wrong.empty()) complain(wrong);
}

}  // namespace

void tortureWrite(const Store& store, const Arguments& arguments) {
  const auto watching = complainOfFailures();
  TortureWriter writer(store, arguments);
  say("ready");
  while (!endOfInput()) writer.turn();
}

void tortureFollow(const Store& store, const Arguments& arguments) {
  static const NoDestructor<std::shared_ptr<void>> watching(complainOfFailures());
  Config::ConfigStore::attach(store);
  auto& follower = *new Follower(complain);  // handlers may run until the process is gone
  follower.startAsking(numberAt(arguments, 0), [store](unsigned turn) {
    look(*store, turn);
    return turn % kAnswersTurn == 0;
  });
  say("ready");
  answerCommands(follower);
}

void tortureLook(const Store& store, const Arguments& arguments) {
  const auto watching = complainOfFailures();
  store->registerProcess("look");
  std::atomic<bool> stop{false};
  std::atomic<std::uint64_t> looks{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < numberAt(arguments, 0); ++i) {
    threads.emplace_back([&] {
      try {
        for (unsigned turn = 0; !stop; ++turn, ++looks) {
          look(*store, turn);
          store->applied(store->revision());
        }
      } catch (const Exception& exception) {
        complain(exception.asString());
      }
    });
  }
  say("ready");
  for (std::string line; std::getline(std::cin, line);) {
    if (line == "asked") say(std::to_string(looks));
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace Kestrav::Testing

// What a process takes of the shared files is free again after its end, even if it is killed.

#include <array>
#include <list>

#include "tests/processes/SetsFixture.h"

namespace Kestrav::Testing {
namespace {

constexpr int kProcesses = 300;  // more than the shared area has slots for processes
constexpr int kThreads = 3;
constexpr unsigned kReaderSlots = 64;  // far fewer than there are threads
constexpr std::size_t kAtOnce = 6;

class Slots : public SetsFixture {
 protected:
  Slots() : SetsFixture(fewSlots()) {}

  static Config::ConfigStore::Options fewSlots() {
    Config::ConfigStore::Options options;
    options.readerSlots = kReaderSlots;
    return options;
  }

  std::unique_ptr<PeerProcess> reader() {
    return std::make_unique<PeerProcess>(
        std::vector<std::string>{"read", path(), std::to_string(kThreads)});
  }
};

TEST_F(Slots, AreFreeAgainAfterProcessesThatWereKilledAtAnyMoment) {
  SCOPED_TRACE("seed " + std::to_string(seed()));
  std::mt19937 random(seed());
  storedRevision();  // this thread's own slot
  store().clearDeadReaders();
  const unsigned before = store().statistics().readersInUse;

  std::list<std::unique_ptr<PeerProcess>> living;
  int ready = 0;
  for (int started = 0; started < kProcesses; ++started) {
    SCOPED_TRACE(started);
    living.push_back(reader());
    // Some are killed while they start, some end by themselves.
    if (random() % 2 == 0) {
      ASSERT_EQ(living.back()->line(), "ready");
      ++ready;
    }
    if (living.size() < kAtOnce) continue;
    auto victim = std::next(living.begin(), static_cast<long>(random() % kAtOnce));
    if (random() % 8 == 0) {
      ASSERT_EQ((*victim)->finish(), "");
    } else {
      ASSERT_EQ((*victim)->kill(), "");
    }
    living.erase(victim);
    if (started % 10 == 0) writeSomeSets(store(), random);
  }
  EXPECT_GT(ready, kProcesses / 4);
  for (const auto& process : living) EXPECT_EQ(process->kill(), "");
  living.clear();

  store().clearDeadReaders();
  EXPECT_EQ(store().statistics().readersInUse, before);
  EXPECT_EQ(store().statistics().readerSlots, kReaderSlots);
  EXPECT_TRUE(store().processes().empty());

  // All slots can be used again.
  std::vector<std::unique_ptr<PeerProcess>> all;
  while (all.size() < (kReaderSlots - before) / (kThreads + 1)) {
    all.push_back(reader());
    ASSERT_EQ(all.back()->line(), "ready");
  }
  EXPECT_EQ(store().processes().size(), all.size());
  for (const auto& process : all) EXPECT_EQ(process->finish(), "");
  EXPECT_TRUE(store().processes().empty());
}

TEST_F(Slots, OfAFollowerThatEndsAreFreeAtOnce) {
  storedRevision();
  const unsigned before = store().statistics().readersInUse;
  const auto first = follower(2);
  ASSERT_EQ(store().processes().size(), 1u);
  EXPECT_EQ(store().processes()[0].pid, first->pid());
  EXPECT_EQ(store().processes()[0].name, "peer");
  EXPECT_GT(store().statistics().readersInUse, before);
  EXPECT_EQ(first->finish(), "");
  EXPECT_TRUE(store().processes().empty());
  store().clearDeadReaders();
  EXPECT_EQ(store().statistics().readersInUse, before);
}

TEST_F(Slots, OfADeadFollowerDoNotKeepTheJournal) {
  Config::ConfigStore::Options options;
  options.journalEntries = 10;
  const auto other = Config::ConfigStore::open(folder() / "other", options);
  putAllSets(*other);
  PeerProcess dead({"follow", (folder() / "other").string(), "1"});
  ASSERT_EQ(dead.line(), "ready");
  dead.suspend();
  std::mt19937 random(seed());
  Config::Revision revision = 0;
  for (int i = 0; i < 20; ++i) revision = writeSomeSets(*other, random);
  EXPECT_GT(other->statistics().journalEntries, 100u);
  EXPECT_EQ(dead.kill(), "");
  revision = writeSomeSets(*other, random);
  EXPECT_GE(other->statistics().oldestJournalRevision, revision - 1);
}

}  // namespace
}  // namespace Kestrav::Testing

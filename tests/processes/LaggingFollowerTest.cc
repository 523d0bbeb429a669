// A follower that is suspended until the journal no longer holds its next change.

#include <array>
#include <set>

#include "platform/config/records/Field.h"
#include "tests/processes/SetsFixture.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/QuarantineRecords.h"

namespace Kestrav::Testing {
namespace {

using Config::ChangeSet;
using Config::Revision;

constexpr std::size_t kJournal = 300;

class LaggingFollower : public SetsFixture {
 protected:
  LaggingFollower() : SetsFixture(smallJournal()) {}

  static Config::ConfigStore::Options smallJournal() {
    Config::ConfigStore::Options options;
    options.journalEntries = kJournal / 2;
    options.journalEntriesHard = kJournal;
    return options;
  }

  // New folders, which no peer asks for, in one commit.
  Revision addFolders(std::uint32_t count) {
    ChangeSet changes;
    for (std::uint32_t i = 0; i < count; ++i) {
      ++lastFolder_;
      QuarantineFolderRecord(lastFolder_, "folder-" + std::to_string(lastFolder_)).put(changes);
    }
    return store().commit(std::move(changes));
  }

  // The parity of a set's number determines which records exist, and their order.
  bool firstIsOdd() { return numberOf(store().snapshot(), 0) % 2 != 0; }

  // Commits more changes than the journal keeps, but waits for `steady` to follow each.
  Revision outrunTheJournal(PeerProcess& steady) {
    std::mt19937 random(seed());
    const Revision before = storedRevision();
    const bool wasOdd = firstIsOdd();
    Revision revision = before;
    while (revision < before + 200 || firstIsOdd() == wasOdd) {
      revision = writeSomeSets(store(), random);
      await(steady, revision);
    }
    EXPECT_GT(store().statistics().oldestJournalRevision, before + 1);
    return revision;
  }

 private:
  std::uint32_t lastFolder_ = 1000;
};

TEST_F(LaggingFollower, HasTheSameCachesAsOneThatWasNotSuspended) {
  SCOPED_TRACE("seed " + std::to_string(seed()));
  const auto steady = follower(1);
  const auto stopped = follower(0);
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    const Revision before = storedRevision();
    await(*stopped, before);
    const std::string former = stopped->askAll("answers");
    stopped->suspend();
    const Revision end = outrunTheJournal(*steady);
    stopped->resume();
    await(*stopped, end);
    const std::string expected = steady->askAll("answers");
    EXPECT_EQ(stopped->askAll("answers"), expected);
    EXPECT_EQ(freshAnswers(), expected);
    EXPECT_NE(former, expected);
  }
  EXPECT_EQ(steady->ask("missed"), "0");
  EXPECT_EQ(stopped->ask("missed"), std::to_string(3 * 8)) << "each handler, each time";

  // It receives each change again from then on.
  std::mt19937 random(seed());
  Revision end = 0;
  for (int i = 0; i < 3; ++i) end = writeSomeSets(store(), random);
  await(*stopped, end);
  EXPECT_EQ(stopped->ask("missed"), std::to_string(3 * 8));
  EXPECT_EQ(stopped->askAll("answers"), freshAnswers());
  EXPECT_EQ(stopped->finish(), "");
  EXPECT_EQ(steady->finish(), "");
}

// One table at a time: nothing else changes.
TEST_F(LaggingFollower, InvalidatesWhatChangedInASingleTable) {
  const std::array<std::uint32_t, 3> numbers = {2, 3, 4};
  std::set<unsigned> tables;
  std::vector<Part> all;
  for (int set = 0; set < kSets; ++set) {
    for (Part& part : partsOf(set, 1)) all.push_back(std::move(part));
  }
  const auto stopped = follower(0);
  for (const Part& part : all) {
    if (part.domain != 0 || !part.record || !tables.insert(part.table->gid).second) continue;
    SCOPED_TRACE(part.table->key);
    await(*stopped, storedRevision());
    stopped->suspend();
    // The table at other numbers, then records that no peer asks for.
    const Revision before = storedRevision();
    for (const std::uint32_t number : numbers) {
      ChangeSet changes;
      for (int set = 0; set < kSets; ++set) {
        for (const Part& other : partsOf(set, number)) {
          if (other.table != part.table || other.domain != 0 || !other.record) continue;
          changes.put(other.table->gid, 0, other.record->data());
        }
      }
      store().commit(std::move(changes));
    }
    addFolders(kJournal * 2 / 3);
    const Revision end = addFolders(kJournal * 2 / 3);
    ASSERT_GT(store().statistics().oldestJournalRevision, before + 1);
    stopped->resume();
    await(*stopped, end);
    EXPECT_EQ(stopped->askAll("answers"), freshAnswers());
  }
  EXPECT_EQ(stopped->ask("missed"), std::to_string(tables.size() * 8)) << "each handler, each time";
  EXPECT_EQ(tables.size(), 21u);
  EXPECT_EQ(stopped->finish(), "");
}

TEST_F(LaggingFollower, MissesACommitThatTheJournalCannotHold) {
  const auto peer = follower(2);
  ChangeSet changes;
  for (int set = 0; set < kSets; ++set) putSet(changes, set, 2);
  for (std::uint32_t id = 1; id <= kJournal + 1; ++id) {
    AntispamRecord(1000 + id).put(changes);
  }
  const Revision end = store().commit(std::move(changes));
  EXPECT_EQ(store().statistics().journalEntries, 0u);
  await(*peer, end);
  EXPECT_EQ(peer->askAll("answers"), freshAnswers());
  EXPECT_EQ(peer->ask("missed"), "8");
  EXPECT_EQ(peer->finish(), "");
}

TEST_F(LaggingFollower, KeepsTheJournalUpToItsHardLimit) {
  const auto stopped = follower(0);
  const Revision before = storedRevision();
  await(*stopped, before);
  stopped->suspend();
  Revision end = before;
  // One record each: more than are kept without a follower, fewer than the hard limit.
  for (std::uint32_t i = 0; i < kJournal * 3 / 4; ++i) {
    ChangeSet changes;
    AntispamRecord(1).heuristic(i + 1, i + 1, i + 1).put(changes);
    end = store().commit(std::move(changes));
  }
  EXPECT_LE(store().statistics().oldestJournalRevision, before + 1);
  stopped->resume();
  await(*stopped, end);
  EXPECT_EQ(stopped->ask("missed"), "0");
  EXPECT_EQ(stopped->ask("changes"), std::to_string(kJournal * 3 / 4));
  EXPECT_EQ(stopped->ask("compare"), "compared");
  EXPECT_EQ(stopped->askAll("answers"), freshAnswers());
  EXPECT_EQ(stopped->finish(), "");
}

}  // namespace
}  // namespace Kestrav::Testing

// Several processes on one store, and processes that die.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "Child.h"
#include "StoreRecords.h"
#include "platform/config/store/StatusFile.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace StoreTesting;

class StoreProcesses : public Testing::StoreFixture {
 protected:
  std::string path() const { return (folder() / "store").string(); }
};

TEST_F(StoreProcesses, SeeEachOthersCommits) {
  putAll(store(), {1});
  Child other({"put", path(), "2", "theirs"});
  EXPECT_EQ(other.line(), "2");
  EXPECT_EQ(other.wait(), 0);
  EXPECT_EQ(store().revision(), 2u);
  EXPECT_STREQ(store().snapshot().byId(kItems, 0, 2).as<Item>()->text, "theirs");
  EXPECT_EQ(putAll(store(), {3}), 3u);
  EXPECT_THAT(journalOf(store()), SizeIs(3));
}

TEST_F(StoreProcesses, AreWokenByACommit) {
  Child other({"wait", path(), "0"});
  EXPECT_EQ(other.line(), "waiting");
  putAll(store(), {1});
  EXPECT_EQ(other.line(), "1");
  EXPECT_EQ(other.wait(), 0);
}

TEST_F(StoreProcesses, WaitReturnsTheRevisionAfterItsTime) {
  putAll(store(), {1});
  EXPECT_EQ(store().waitForRevision(0, 60'000), 1u);
  EXPECT_EQ(store().waitForRevision(1, 0), 1u);
  EXPECT_EQ(store().waitForRevision(1, 5), 1u);
  EXPECT_EQ(store().waitForRevision(1, -5), 1u);
}

TEST_F(StoreProcesses, WaitFindsACommitWhoseWriterDiedBeforeItPublished) {
  putAll(store(), {1});
  putAll(store(), {2});
  const auto status = StatusFile::open(folder() / "store" / "status");
  for (const bool waited : {true, false}) {
    status->correct(2, 1);
    ASSERT_EQ(store().revision(), 1u);
    if (waited) {
      EXPECT_EQ(store().waitForRevision(1, 60'000), 2u);
    } else {
      EXPECT_EQ(store().commit(ChangeSet()), 2u);
    }
    EXPECT_EQ(store().revision(), 2u);
  }
}

TEST_F(StoreProcesses, AreListedWhileTheyLive) {
  putAll(store(), {1});
  EXPECT_THAT(store().processes(), IsEmpty());
  store().applied(1);  // not registered: nothing
  EXPECT_THAT(store().processes(), IsEmpty());
  store().registerProcess("tests");
  ASSERT_THAT(store().processes(), SizeIs(1));
  EXPECT_EQ(store().processes()[0].name, "tests");
  EXPECT_EQ(store().processes()[0].applied, 1u);
  EXPECT_EQ(store().processes()[0].pid, ::getpid());
  store().registerProcess("a name that is longer than there is room for");
  ASSERT_THAT(store().processes(), SizeIs(1));
  EXPECT_EQ(store().processes()[0].name, "a name that is longer than ther");

  Child other({"follow", path(), "daemon", "7"});
  EXPECT_EQ(other.line(), "registered");
  const auto processes = store().processes();
  ASSERT_THAT(processes, SizeIs(2));
  EXPECT_EQ(processes[1].pid, other.pid());
  EXPECT_EQ(processes[1].name, "daemon");
  EXPECT_EQ(processes[1].applied, 7u);
  other.kill();
  EXPECT_THAT(store().processes(), SizeIs(1));

  Child next({"follow", path(), "next"});  // in the place of the dead one
  EXPECT_EQ(next.line(), "registered");
  EXPECT_THAT(store().processes(), SizeIs(2));
  next.release();
  EXPECT_EQ(next.wait(), 0);
  EXPECT_THAT(store().processes(), SizeIs(1));
}

TEST_F(StoreProcesses, DeadReadersAreClearedAndTheirPagesUsedAgain) {
  ConfigStore::Options options;
  options.journalEntries = options.journalEntriesHard = 100;
  const auto other = ConfigStore::open(folder() / "other", options);
  const auto rewrite = [&other] {
    for (int i = 0; i < 20; ++i) {
      fillWithNoise(*other, 200);
      ChangeSet nothing;
      nothing.order(kItems, 0, {});
      other->commit(std::move(nothing));
    }
    return other->statistics().usedBytes;
  };
  rewrite();
  const std::size_t settled = rewrite();
  Child reader({"hold", (folder() / "other").string()});
  EXPECT_NE(reader.line(), "");
  const std::size_t held = rewrite();
  EXPECT_GT(held, settled) << "pages that a reader may see are not written again";
  reader.kill();
  EXPECT_EQ(other->clearDeadReaders(), 1);
  EXPECT_EQ(other->clearDeadReaders(), 0);
  rewrite();
  EXPECT_EQ(rewrite(), held);
}

TEST_F(StoreProcesses, ALivingReaderKeepsItsRevision) {
  putAll(store(), {1});
  Child reader({"hold", path()});
  EXPECT_EQ(reader.line(), "1");
  EXPECT_EQ(store().clearDeadReaders(), 0);
  EXPECT_GE(store().statistics().readersInUse, 1u);
}

TEST_F(StoreProcesses, AChildOfForkIsRefused) {
  putAll(store(), {1});
  std::shared_ptr<ConfigStore> held = sharedStore();
  Snapshot snapshot = store().snapshot();
  const pid_t pid = ::fork();
  if (pid == 0) {
    const auto refused = [](auto call) {
      try {
        call();
      } catch (const Exception& exception) {
        return exception.code() == StoreError::kForked;
      }
      return false;
    };
    ChangeSet changes;
    changes.erase(kItems, 0, 1);
    bool right = refused([&] { held->snapshot(); });
    right = right && refused([&] { snapshot.size(kItems, 0); });
    right = right && refused([&] { snapshot.byId(kItems, 0, 1); });
    right = right && refused([&] { held->commit(std::move(changes)); });
    right = right && refused([&] { held->revision(); });
    right = right && refused([&] { held->waitForRevision(0, 1); });
    right = right && refused([&] { held->statistics(); });
    right = right && refused([&] { held->clearDeadReaders(); });
    right = right && refused([&] { held->applied(1); });
    right = right && refused([&] { held->registerProcess("x"); });
    right = right && refused([&] { held->journal(0, 1, [](const JournalEntry&) {}); });
    { const Snapshot gone = std::move(snapshot); }
    // A child opens the store itself.
    const auto own = ConfigStore::open(held->folder());
    right = right && own != held && own->snapshot().size(kItems, 0) == 1;
    ::_exit(right ? 0 : 1);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(snapshot.size(kItems, 0), 1);
  EXPECT_EQ(putAll(store(), {2}), 2u);
}

TEST_F(StoreProcesses, DestroyingAParentsStoreInAChildDisturbsNobody) {
  auto held = ConfigStore::open(folder() / "another");
  held->registerProcess("parent");
  putAll(*held, {1});
  const pid_t pid = ::fork();
  if (pid == 0) {
    held.reset();
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_THAT(held->processes(), SizeIs(1));
  Child other({"put", (folder() / "another").string(), "2", "x"});
  EXPECT_EQ(other.line(), "2");
  EXPECT_EQ(putAll(*held, {3}), 3u);
}

// A writer may be killed at any step: the store is at a complete revision.
TEST_F(StoreProcesses, AWriterKilledAtAnyMomentLeavesAWholeRevision) {
  constexpr int kSize = 25;
  constexpr int kKills = 300;
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<int> spins(0, 4000);
  Revision last = writeSet(store(), kSize);
  for (int round = 0; round < kKills; ++round) {
    SCOPED_TRACE(round);
    {
      Child writer({"churn", path(), std::to_string(kSize)});
      if (round % 4 != 0) {
        ASSERT_EQ(writer.line(), "ready");
      }  // else: wherever its opening has got to
      const Revision until = last + random() % 4;
      for (int spin = spins(random); spin > 0 || (round % 4 != 0 && store().revision() < until);
           --spin) {
        std::this_thread::yield();
      }
      writer.kill();
    }
    const Snapshot snapshot = store().snapshot();
    ASSERT_GE(snapshot.revision(), last);
    last = snapshot.revision();
    const std::string expected = std::to_string(last);
    int count = 0;
    snapshot.walk(kItems, 0, [&](const StoredRecord& record) {
      EXPECT_EQ(record.as<Item>()->text, expected);
      return ++count > 0;
    });
    ASSERT_EQ(count, kSize);
    ASSERT_EQ(snapshot.size(kItems, 0), kSize);
    ASSERT_EQ(snapshot.lastChanged(kItems), last);
    const auto entries = journalOf(store(), last - 1);
    ASSERT_THAT(entries, SizeIs(kSize));
    ASSERT_THAT(entries.front(), testing::StartsWith(expected + ": "));
    ASSERT_THAT(entries.front(), testing::EndsWith(" " + expected));
    ASSERT_EQ(store().waitForRevision(last - 1, 60'000), last) << "the revision word is put right";
    ASSERT_EQ(store().waitForRevision(last, 0), last);
    if (round % 10 == 0) {
      ASSERT_EQ(writeSet(store(), kSize), last + 1);  // the dead writer's lock is taken over
      ++last;
    }
  }
}

}  // namespace
}  // namespace Kestrav::Config

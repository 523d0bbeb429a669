// How long the journal keeps what happened.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Child.h"
#include "StoreRecords.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::SizeIs;
using namespace StoreTesting;

class Journal : public ::testing::Test {
 protected:
  std::shared_ptr<ConfigStore> open(std::size_t keep, std::size_t hard) {
    ConfigStore::Options options;
    options.journalEntries = keep;
    options.journalEntriesHard = hard;
    return ConfigStore::open(folder_ / "store", options);
  }
  bool reaches(ConfigStore& store, Revision after) {
    int visited = 0;
    const bool reached =
        store.journal(after, store.revision(), [&visited](const JournalEntry&) { ++visited; });
    EXPECT_TRUE(reached || visited == 0);
    return reached;
  }
  Testing::TemporaryFolder folder_;
};

// A commit of as many entries as `ids` is long.
Revision commitEntries(ConfigStore& store, int count) {
  return writeSet(store, count);
}

TEST_F(Journal, KeepsAtLeastWhatWasAskedFor) {
  const auto store = open(10, 100);
  for (int i = 0; i < 10; ++i) commitEntries(*store, 3);
  const auto figures = store->statistics();
  EXPECT_EQ(figures.journalEntries, 12u) << "whole revisions: three of them would be too few";
  EXPECT_EQ(figures.oldestJournalRevision, 7u);
  EXPECT_FALSE(reaches(*store, 5));
  EXPECT_TRUE(reaches(*store, 6));
  EXPECT_TRUE(reaches(*store, 10));
}

TEST_F(Journal, KeepsWhatALiveProcessHasNotApplied) {
  const auto store = open(10, 100);
  commitEntries(*store, 3);
  store->registerProcess("tests");
  for (int i = 0; i < 19; ++i) commitEntries(*store, 3);
  EXPECT_TRUE(reaches(*store, 1)) << "registered at revision 1";
  store->applied(12);
  commitEntries(*store, 3);
  EXPECT_TRUE(reaches(*store, 12));
  EXPECT_FALSE(reaches(*store, 11));
  store->applied(21);
  commitEntries(*store, 3);
  EXPECT_EQ(store->statistics().journalEntries, 12u);
}

TEST_F(Journal, NeverKeepsMoreThanItsBound) {
  const auto store = open(10, 30);
  store->registerProcess("tests");
  for (int i = 0; i < 40; ++i) commitEntries(*store, 3);
  EXPECT_EQ(store->statistics().journalEntries, 30u);
  EXPECT_FALSE(reaches(*store, 0));
  EXPECT_TRUE(reaches(*store, 30));
}

TEST_F(Journal, DropsARevisionThatIsAboveItsBoundAlone) {
  const auto store = open(10, 30);
  commitEntries(*store, 3);
  const Revision large = commitEntries(*store, 31);
  EXPECT_EQ(store->statistics().journalEntries, 0u);
  EXPECT_EQ(store->statistics().oldestJournalRevision, 0u);
  EXPECT_FALSE(reaches(*store, large - 1));
  EXPECT_TRUE(reaches(*store, large));
  commitEntries(*store, 2);
  EXPECT_TRUE(reaches(*store, large));
}

// As a handler does that waits for a lock under which another thread begins to read, while a third
// makes the map grow: nobody gets on unless the journal lets go of the store first.
TEST_F(Journal, LetsTheMapGrowWhileItsVisitorWaits) {
  ConfigStore::Options options;
  options.initialMapSize = 1u << 20;
  options.resizePatienceMs = 600'000;
  const auto store = ConfigStore::open(folder_ / "store", options);
  commitEntries(*store, 3);
  int visited = 0;
  EXPECT_TRUE(store->journal(0, 1, [&](const JournalEntry& entry) {
    if (visited++ == 0) std::thread([&] { EXPECT_EQ(fillWithNoise(*store, 10'000), 2u); }).join();
    EXPECT_EQ(entry.revision, 1u);
    EXPECT_EQ(revisionSeenByAnotherThread(*store), 2u);
  }));
  EXPECT_EQ(visited, 3);
  EXPECT_GT(store->statistics().mapBytes, std::size_t{1} << 20);
}

TEST_F(Journal, LetsItsVisitorCommitAndGrowTheMap) {
  ConfigStore::Options options;
  options.initialMapSize = 1u << 20;
  options.resizePatienceMs = 600'000;
  const auto store = ConfigStore::open(folder_ / "store", options);
  commitEntries(*store, 1);
  EXPECT_TRUE(store->journal(0, 1, [&](const JournalEntry&) { fillWithNoise(*store, 10'000); }));
  EXPECT_EQ(store->revision(), 2u) << "and what it adds is not visited";
}

TEST_F(Journal, GivesLongRevisionsWholeAndInOrder) {
  const auto store = open(100'000, 1'000'000);
  fillWithNoise(*store, 20'000);  // several times what is copied at once
  putAll(*store, {1});
  std::uint32_t next = 1000;
  std::vector<Revision> revisions;
  EXPECT_TRUE(store->journal(0, 2, [&](const JournalEntry& entry) {
    revisions.push_back(entry.revision);
    if (entry.revision == 1) {
      EXPECT_EQ(entry.id, next++);
    }
  }));
  EXPECT_EQ(next, 21'000u);
  ASSERT_THAT(revisions, SizeIs(20'001));
  EXPECT_EQ(revisions.back(), 2u);
}

TEST_F(Journal, SaysWhenItWasCutUnderItsReader) {
  const auto store = open(10, 30'000);
  fillWithNoise(*store, 20'000);
  std::size_t visited = 0;
  EXPECT_FALSE(store->journal(0, 1, [&](const JournalEntry&) {
    if (visited++ == 0) commitEntries(*store, 12);  // nobody is registered: revision 1 may go
  }));
  EXPECT_GT(visited, 0u);
  EXPECT_LT(visited, 20'000u);
  EXPECT_TRUE(reaches(*store, 1));
}

TEST_F(Journal, IsNotMissedWhenOnlyWhatWasVisitedIsCut) {
  const auto store = open(10, 30);
  commitEntries(*store, 12);
  std::size_t visited = 0;
  EXPECT_TRUE(store->journal(0, 1, [&](const JournalEntry&) {
    if (visited++ == 0) commitEntries(*store, 12);
  }));
  EXPECT_EQ(visited, 12u);
  EXPECT_FALSE(reaches(*store, 0));
}

TEST_F(Journal, DoesNotWaitForTheDead) {
  const auto store = open(10, 1000);
  Child follower({"follow", (folder_ / "store").string(), "daemon"});
  EXPECT_EQ(follower.line(), "registered");
  for (int i = 0; i < 20; ++i) commitEntries(*store, 3);
  EXPECT_TRUE(reaches(*store, 0));
  follower.kill();
  commitEntries(*store, 3);
  EXPECT_EQ(store->statistics().journalEntries, 12u);
}

}  // namespace
}  // namespace Kestrav::Config

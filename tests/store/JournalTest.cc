// How long the journal keeps what happened.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Child.h"
#include "StoreRecords.h"
#include "support/StoreFixture.h"

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

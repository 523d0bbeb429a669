// The limits of a store: its map, and its readers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>

#include "Child.h"
#include "StoreRecords.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace StoreTesting;

constexpr std::size_t kMiB = 1u << 20;
constexpr int kForEver = 3'600'000;  // longer than the test may take: nothing is waited for

template <class Call>
void expectFull(const char* why, Call call) {
  try {
    call();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Exception& exception) {
    EXPECT_EQ(exception.code(), StoreError::kFull);
    EXPECT_THAT(exception.message(), HasSubstr(why));
  }
}

class StoreLimits : public ::testing::Test {
 protected:
  std::shared_ptr<ConfigStore> open(std::size_t initial, std::size_t maximum = 64 * kMiB,
                                    int patienceMs = 200) {
    ConfigStore::Options options;
    options.initialMapSize = initial;
    options.maximumMapSize = maximum;
    options.resizePatienceMs = patienceMs;
    return ConfigStore::open(folder_ / "store", options);
  }
  std::string path() const { return (folder_ / "store").string(); }
  Testing::TemporaryFolder folder_;
};

TEST_F(StoreLimits, AFullMapGrows) {
  const auto store = open(kMiB);
  EXPECT_EQ(store->statistics().mapBytes, kMiB);
  EXPECT_EQ(fillWithNoise(*store, 10'000), 1u);
  EXPECT_EQ(store->snapshot().size(kItems, 0), 10'000);
  EXPECT_GT(store->statistics().mapBytes, 4 * kMiB);
  EXPECT_EQ(store->statistics().mapBytes % kMiB, 0u);
}

TEST_F(StoreLimits, AMapThatCannotGrowLeavesTheOldRevision) {
  const auto store = open(kMiB, 2 * kMiB);
  putAll(*store, {1});
  expectCode(StoreError::kFull, [&] { fillWithNoise(*store, 10'000); });
  EXPECT_EQ(store->revision(), 1u);
  EXPECT_EQ(store->snapshot().size(kItems, 0), 1);
  EXPECT_EQ(putAll(*store, {2}), 2u) << "smaller changes still fit";
}

TEST_F(StoreLimits, AMapDoesNotGrowUnderASnapshotOfAnotherThread) {
  const auto store = open(kMiB);
  putAll(*store, {1});
  std::promise<void> held;
  std::promise<void> end;
  std::thread reader([&] {
    const Snapshot snapshot = store->snapshot();
    held.set_value();
    end.get_future().wait();
    EXPECT_EQ(snapshot.size(kItems, 0), 1);
  });
  held.get_future().wait();
  expectCode(StoreError::kFull, [&] { fillWithNoise(*store, 10'000); });
  end.set_value();
  reader.join();
  EXPECT_EQ(fillWithNoise(*store, 10'000), 2u);
}

TEST_F(StoreLimits, AMapGrowsUnderTheWritersOwnSnapshotOfTheNewestRevision) {
  const auto store = open(kMiB, 64 * kMiB, kForEver);
  putAll(*store, {1, 2, 3});
  {
    const Snapshot snapshot = store->snapshot();
    const auto order = snapshot.index(kItems, 0);
    EXPECT_EQ(fillWithNoise(*store, 10'000), 2u);
    EXPECT_GT(store->statistics().mapBytes, 4 * kMiB);
    EXPECT_EQ(snapshot.revision(), 1u);
    EXPECT_EQ(snapshot.size(kItems, 0), 3);
    EXPECT_THAT(idsOf(snapshot, kItems, 0), ElementsAre(1, 2, 3));
    EXPECT_EQ(snapshot.index(kItems, 0), order);
    EXPECT_EQ(store->snapshot().revision(), 1u) << "nested in the first";
    EXPECT_EQ(revisionSeenByAnotherThread(*store), 2u);
    // Its pages are kept as before.
    for (int i = 0; i < 20; ++i) writeSet(*store, 500);
    EXPECT_STREQ(snapshot.byId(kItems, 0, 2).as<Item>()->text, "2");
  }
  EXPECT_EQ(store->snapshot().revision(), store->revision());
}

TEST_F(StoreLimits, AMapDoesNotGrowUnderTheWritersSnapshotOfAnOlderRevision) {
  const auto store = open(kMiB, 64 * kMiB, kForEver);
  putAll(*store, {1});
  {
    const Snapshot snapshot = store->snapshot();
    EXPECT_EQ(putAll(*store, {2}), 2u);
    expectFull("holds a snapshot of an older revision", [&] { fillWithNoise(*store, 10'000); });
    EXPECT_THAT(idsOf(snapshot, kItems, 0), ElementsAre(1));
  }
  EXPECT_EQ(fillWithNoise(*store, 10'000), 3u);
}

TEST_F(StoreLimits, AMapDoesNotGrowUnderAWalkOfTheWriter) {
  const auto store = open(kMiB, 64 * kMiB, kForEver);
  putAll(*store, {1, 2, 3});
  const Snapshot snapshot = store->snapshot();
  int visited = 0;
  snapshot.walk(kItems, 0, [&](const StoredRecord& record) {
    EXPECT_EQ(record.id(), static_cast<std::uint32_t>(++visited));
    expectFull("is walking through a table", [&] { fillWithNoise(*store, 10'000); });
    return true;
  });
  EXPECT_EQ(visited, 3);
  EXPECT_EQ(fillWithNoise(*store, 10'000), 2u) << "after the walk";
  EXPECT_THAT(idsOf(snapshot, kItems, 0), ElementsAre(1, 2, 3));
}

TEST_F(StoreLimits, AMapGrownByAnotherProcessIsNotFollowedUnderASnapshot) {
  const auto store = open(kMiB, 64 * kMiB, kForEver);
  putAll(*store, {1});
  {
    const Snapshot snapshot = store->snapshot();
    Child other({"fill", path(), "10000"});
    EXPECT_EQ(other.line(), "2");
    expectFull("holds a snapshot of an older revision", [&] { putAll(*store, {3}); });
    expectFull("holds a snapshot of an older revision",
               [&] { store->journal(0, 2, [](const JournalEntry&) {}); });
    EXPECT_THAT(idsOf(snapshot, kItems, 0), ElementsAre(1));
  }
  EXPECT_EQ(putAll(*store, {3}), 3u);
}

// With no room for the larger map the smaller one stays in its place.
TEST_F(StoreLimits, AMapThatCannotBeFollowedStays) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need address space themselves";
#endif
  const auto store = open(kMiB);
  putAll(*store, {1});
  Child cramped({"cramped", path()});
  EXPECT_EQ(cramped.line(), "1");
  EXPECT_EQ(fillWithNoise(*store, 10'000), 2u);
  cramped.release();
  for (int i = 0; i < 2; ++i) {
    const std::string said = cramped.line();
    EXPECT_THAT(said, StartsWith("24: "));
    EXPECT_THAT(said, HasSubstr("the process has no room for it"));
  }
  EXPECT_EQ(cramped.line(), "10001 with more room");
  EXPECT_EQ(cramped.wait(), 0);
}

TEST_F(StoreLimits, AMapGrownByAnotherProcessIsFollowed) {
  const auto store = open(kMiB);
  putAll(*store, {1});
  Child other({"fill", path(), "10000"});
  EXPECT_EQ(other.line(), "2");
  EXPECT_EQ(other.wait(), 0);
  EXPECT_EQ(store->snapshot().size(kItems, 0), 10'001);
  EXPECT_GT(store->statistics().mapBytes, 4 * kMiB);
}

TEST_F(StoreLimits, AWriterFollowsAMapGrownByAnotherProcess) {
  const auto store = open(kMiB);
  Child other({"fill", path(), "10000"});
  EXPECT_EQ(other.line(), "1");
  EXPECT_EQ(putAll(*store, {1}), 2u);
}

TEST_F(StoreLimits, ADiskThatIsFullLeavesTheOldRevision) {
  const auto store = open(kMiB);
  writeSet(*store, 5);
  Child other({"fill", path(), "10000", std::to_string(kMiB)});
  EXPECT_THAT(other.line(), StartsWith("failed 24: "));
  EXPECT_EQ(other.wait(), 1);
  EXPECT_EQ(store->snapshot().revision(), 1u);
  EXPECT_EQ(store->snapshot().size(kItems, 0), 5);
  EXPECT_EQ(writeSet(*store, 5), 2u);
}

TEST_F(StoreLimits, TakenReaderSlotsAreSaidToBe) {
  ConfigStore::Options options;
  options.readerSlots = 5;
  const auto store = ConfigStore::open(folder_ / "store", options);
  putAll(*store, {1});
  Child readers({"hold", path(), "5"});
  EXPECT_EQ(readers.line(), "1");
  try {
    store->snapshot();
    ADD_FAILURE() << "a sixth reader";
  } catch (const Exception& exception) {
    EXPECT_EQ(exception.code(), StoreError::kNoReaderSlot);
    EXPECT_THAT(exception.message(), HasSubstr("All 5 reader slots"));
  }
  EXPECT_EQ(putAll(*store, {2}), 2u) << "writers need none";
  readers.kill();
  EXPECT_EQ(store->snapshot().revision(), 2u) << "the dead ones' slots are free again";
}

TEST_F(StoreLimits, AStoreOpensWhenTheDeadHoldAllReaderSlots) {
  ConfigStore::Options options;
  options.readerSlots = 4;
  auto store = ConfigStore::open(folder_ / "store", options);
  putAll(*store, {1});
  Child readers({"hold", path(), "3"});
  EXPECT_EQ(readers.line(), "1");
  EXPECT_EQ(revisionSeenByAnotherThread(*store), 1u);
  Child last({"hold", path(), "1"});
  EXPECT_EQ(last.line(), "1");
  store.reset();
  expectCode(StoreError::kNoReaderSlot, [&] { ConfigStore::open(folder_ / "store"); });
  try {
    ConfigStore::open(folder_ / "store");
    ADD_FAILURE() << "opened without a reader slot";
  } catch (const Exception& exception) {
    EXPECT_THAT(exception.message(), HasSubstr("All 4 reader slots"));
  }
  readers.kill();
  last.kill();
  store = ConfigStore::open(folder_ / "store");
  EXPECT_EQ(store->snapshot().revision(), 1u);
}

TEST_F(StoreLimits, ThreadsThatDoNotReadAtTheMomentGiveTheirSlotsAway) {
  ConfigStore::Options options;
  options.readerSlots = 2;
  const auto store = ConfigStore::open(folder_ / "store", options);
  putAll(*store, {1});
  std::promise<void> end;
  const std::shared_future<void> ended = end.get_future().share();
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    std::promise<void> read;
    threads.emplace_back([&] {
      EXPECT_EQ(store->snapshot().size(kItems, 0), 1);
      read.set_value();
      ended.wait();  // the thread stays, and keeps what it was given
    });
    read.get_future().wait();
  }
  EXPECT_EQ(store->snapshot().size(kItems, 0), 1);
  end.set_value();
  for (std::thread& thread : threads) thread.join();
}

TEST_F(StoreLimits, SlotsOfThreadsThatEndedAreFree) {
  ConfigStore::Options options;
  options.readerSlots = 2;
  const auto store = ConfigStore::open(folder_ / "store", options);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(revisionSeenByAnotherThread(*store), 0u);
  EXPECT_LE(store->statistics().readersInUse, 2u);
}

TEST_F(StoreLimits, ASnapshotMayOutliveItsStore) {
  auto store = open(kMiB);
  putAll(*store, {1});
  Snapshot snapshot = store->snapshot();
  store.reset();
  EXPECT_EQ(snapshot.size(kItems, 0), 1);
  store = open(kMiB);
  EXPECT_EQ(putAll(*store, {2}), 2u);
  EXPECT_EQ(snapshot.size(kItems, 0), 1);
  EXPECT_EQ(store->snapshot().revision(), 1u) << "still nested in the first";
  snapshot = ConfigStore::emptySnapshot();
  EXPECT_EQ(store->snapshot().revision(), 2u);
}

TEST_F(StoreLimits, AThreadMayOutliveTheStoreItRead) {
  auto store = open(kMiB);
  std::promise<void> read;
  std::promise<void> gone;
  std::thread reader([&] {
    store->snapshot().size(kItems, 0);
    read.set_value();
    gone.get_future().wait();
  });
  read.get_future().wait();
  store.reset();
  gone.set_value();
  reader.join();
  EXPECT_EQ(putAll(*open(kMiB), {1}), 1u);
}

TEST_F(StoreLimits, OneFolderIsOpenedOnce) {
  const auto store = open(kMiB);
  EXPECT_EQ(open(kMiB), store);
  std::filesystem::create_directory_symlink(folder_ / "store", folder_ / "link");
  EXPECT_EQ(ConfigStore::open(folder_ / "link"), store);
  EXPECT_EQ(store->folder(), std::filesystem::canonical(folder_ / "store"));
}

}  // namespace
}  // namespace Kestrav::Config

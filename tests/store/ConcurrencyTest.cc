// Threads that read, commit and come and go at the same time. Run under the thread sanitizer.

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "StoreRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/store/StatusArea.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using namespace StoreTesting;

TEST(StoreConcurrency, ReadersSeeWholeRevisionsWhileWritersCommit) {
  constexpr int kSize = 20;
  constexpr int kCommits = 150;
  Testing::TemporaryFolder folder;
  ConfigStore::Options options;
  options.initialMapSize = 1 << 20;  // grows on the way
  options.resizePatienceMs = 60'000;
  const auto store = ConfigStore::open(folder / "store", options);
  writeSet(*store, kSize);
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int reader = 0; reader < 3; ++reader) {
    threads.emplace_back([&, reader] {
      std::mt19937 random(static_cast<unsigned>(reader));
      Revision last = 0;
      while (!done) {
        const Snapshot snapshot = store->snapshot();
        ASSERT_GE(snapshot.revision(), last);
        last = snapshot.revision();
        const auto index = snapshot.index(kItems, 0);
        ASSERT_EQ(index->size(), kSize);
        const std::string first = snapshot.at(kItems, 0, 0).as<Item>()->text;
        for (int i = 0; i < kSize; ++i) {
          ASSERT_EQ(snapshot.at(kItems, 0, i).as<Item>()->text, first);
        }
        const Snapshot nested = store->snapshot();
        ASSERT_EQ(nested.revision(), last);
        ASSERT_TRUE(nested.byId(kItems, 0, 1 + random() % kSize));
      }
    });
  }
  threads.emplace_back([&] {  // threads that read once
    while (!done) ASSERT_GT(revisionSeenByAnotherThread(*store), 0u);
  });
  threads.emplace_back([&] {  // one that follows
    Revision seen = 0;
    store->registerProcess("follower");
    while (!done) {
      const Revision now = store->waitForRevision(seen, 50);
      ASSERT_TRUE(store->journal(seen, now, [&](const JournalEntry& entry) {
        ASSERT_GT(entry.revision, seen);
        ASSERT_LE(entry.revision, now);
      }));
      store->applied(seen = now);
      store->status().setDirty(Zone::kAntispamDirty);
      store->status().clearDirty(Zone::kAntispamDirty);
      ASSERT_EQ(store->processes().size(), 1u);
      ASSERT_GT(store->statistics().usedBytes, 0u);
      store->clearDeadReaders();
    }
  });
  std::vector<std::thread> writers;
  std::atomic<int> noise{0};
  for (int writer = 0; writer < 2; ++writer) {
    writers.emplace_back([&, writer] {
      std::mt19937 random(static_cast<unsigned>(100 + writer));
      for (int i = 0; i < kCommits; ++i) {
        ChangeSet changes;
        const std::string text = std::to_string(random());
        std::vector<std::uint32_t> ids;
        for (std::uint32_t id = 1; id <= kSize; ++id) {
          const Item record = item(id, text);
          changes.put(kItems, 0, &record);
          ids.push_back(id);
        }
        std::shuffle(ids.begin(), ids.end(), random);
        changes.order(kItems, 0, ids);
        __vexa_dictionary dictionary{};  // something that fills the map
        for (char& c : dictionary.name) c = static_cast<char>(1 + random() % 255);
        for (int k = 0; k < 40; ++k) {
          dictionary.id = static_cast<std::uint32_t>(noise.fetch_add(1) + 1);
          changes.put(GID_DICTIONARY, 0, &dictionary);
        }
        store->commit(std::move(changes));
      }
    });
  }
  for (std::thread& thread : writers) thread.join();
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(store->revision(), 1u + 2 * kCommits);
  EXPECT_EQ(store->snapshot().size(GID_DICTIONARY, 0), noise.load());
  EXPECT_GT(store->statistics().mapBytes, std::size_t{1} << 20);
}

TEST(StoreConcurrency, StoresOpenAndCloseWhileOthersDo) {
  Testing::TemporaryFolder folder;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&folder] {
      for (int round = 0; round < 30; ++round) {
        auto store = ConfigStore::open(folder / "store");
        const Snapshot snapshot = store->snapshot();
        ConfigStore::attach(store);
        ASSERT_NE(currentZone(), nullptr);
        ASSERT_TRUE(StatusArea(currentZone()).contentInspection());
        ConfigStore::detach();
        store.reset();
        ASSERT_EQ(snapshot.size(kItems, 0), 0);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(StoreConcurrency, ThreadsReadAndCommitWhileTheDataFileIsReplaced) {
  constexpr int kSize = 10;
  Testing::TemporaryFolder folder;
  const auto store = ConfigStore::open(folder / "store");
  writeSet(*store, kSize);
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int reader = 0; reader < 2; ++reader) {
    threads.emplace_back([&] {
      Revision last = 0;
      while (!done) {
        const Snapshot snapshot = store->snapshot();
        ASSERT_GE(snapshot.revision(), last);
        last = snapshot.revision();
        ASSERT_EQ(snapshot.at(kItems, 0, 0).as<Item>()->text, std::to_string(last));
        const Snapshot nested = store->snapshot();
        ASSERT_EQ(nested.byId(kItems, 0, kSize).as<Item>()->text, std::to_string(last));
      }
    });
  }
  threads.emplace_back([&] {
    while (!done) ASSERT_GT(revisionSeenByAnotherThread(*store), 0u);
  });
  threads.emplace_back([&] {
    Revision seen = 0;
    while (!done) {
      const Revision now = store->waitForRevision(seen, 20);
      ASSERT_GE(now, seen);
      store->journal(seen, now, [](const JournalEntry&) {});
      seen = now;
    }
  });
  threads.emplace_back([&] {
    while (!done) store->compact();
  });
  for (int commit = 0; commit < 100; ++commit) {
    const Revision revision = writeSet(*store, kSize);
    EXPECT_EQ(revision, static_cast<Revision>(commit + 2));
    EXPECT_EQ(store->snapshot().revision(), revision);
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace Kestrav::Config

// Replacing the data file while others read and write.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "Child.h"
#include "StoreRecords.h"
#include "platform/config/store/Verify.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace StoreTesting;
namespace fs = std::filesystem;

class StoreCompaction : public ::testing::Test {
 protected:
  fs::path path() const { return folder_ / "store"; }
  fs::path data() const { return path() / "data.mdb"; }
  bool anyFileHolds(const std::string& text) const {
    for (const auto& entry : fs::directory_iterator(path())) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string bytes((std::istreambuf_iterator<char>(file)), {});
      if (bytes.find(text) != std::string::npos) return true;
    }
    return false;
  }
  static void put(ConfigStore& store, std::uint32_t id, const std::string& text) {
    const Item record = item(id, text);
    ChangeSet changes;
    changes.put(kItems, 0, &record);
    store.commit(std::move(changes));
  }
  static std::string textOf(ConfigStore& store, std::uint32_t id) {
    const StoredRecord record = store.snapshot().byId(kItems, 0, id);
    return record ? record.as<Item>()->text : "none";
  }
  Testing::TemporaryFolder folder_;
};

TEST_F(StoreCompaction, LeavesNoByteOfWhatWasErased) {
  const auto store = ConfigStore::open(path());
  putAll(*store, {1, 2, 3});
  for (int i = 0; i < 20; ++i) put(*store, 4, "SECRET-OF-FOUR-" + std::to_string(i));
  put(*store, 2, "SECRET-OF-TWO");
  put(*store, 2, "another text");
  ChangeSet erase;
  erase.erase(kItems, 0, 4);
  store->commit(std::move(erase));
  put(*store, 3, "KEPT-TEXT");
  EXPECT_TRUE(anyFileHolds("SECRET-OF-FOUR"));
  EXPECT_TRUE(anyFileHolds("SECRET-OF-TWO"));
  store->compact();
  EXPECT_FALSE(anyFileHolds("SECRET-OF"));
  EXPECT_TRUE(anyFileHolds("KEPT-TEXT"));
}

TEST_F(StoreCompaction, KeepsRecordsOrderAndRevisionAndShrinksTheFile) {
  const auto store = ConfigStore::open(path());
  fillWithNoise(*store, 500);
  ChangeSet order;
  order.order(kItems, 0, {1100, 1003, 1001});
  store->commit(std::move(order));
  const auto before = fs::file_size(data());
  const auto [stated, after] = store->compact();
  EXPECT_EQ(stated, before);
  EXPECT_EQ(after, fs::file_size(data()));
  EXPECT_LT(after, before / 5);
  EXPECT_EQ(store->revision(), 2u);
  EXPECT_THAT(idsOf(store->snapshot(), kItems, 0), ElementsAre(1100, 1003, 1001));
  EXPECT_THAT(verifyStore(path()).damages, IsEmpty());
  EXPECT_EQ(store->statistics().journalEntries, 0u);
  EXPECT_FALSE(store->head(2));
  EXPECT_FALSE(store->journal(1, 2, [](const JournalEntry&) { ADD_FAILURE(); }));
  EXPECT_TRUE(store->journal(2, 2, [](const JournalEntry&) { ADD_FAILURE(); }));
  putAll(*store, {5});
  EXPECT_THAT(journalOf(*store, 2), ElementsAre("3: 864/0/5 - 5"));
  EXPECT_FALSE(fs::exists(path() / "data.mdb.new"));
}

TEST_F(StoreCompaction, KeepsTheFilesMode) {
  const auto store = ConfigStore::open(path());
  fs::permissions(data(), fs::perms(0640));
  store->compact();
  EXPECT_EQ(fs::status(data()).permissions(), fs::perms(0640));
}

// Members of the store's group could not open a lock file for its maker only.
TEST_F(StoreCompaction, MakesTheLockFileForThoseWhoUseTheDataFile) {
  ConfigStore::Options options;
  options.group = std::to_string(::getegid());
  uid_t owner = ::geteuid();
  const auto expectAlike = [&] {
    struct stat data {};
    struct stat lock {};
    ASSERT_EQ(::stat(this->data().c_str(), &data), 0);
    ASSERT_EQ(::stat((path() / "lock.mdb").c_str(), &lock), 0);
    EXPECT_EQ(data.st_mode, mode_t{S_IFREG | 0660});
    EXPECT_EQ(lock.st_mode, data.st_mode);
    EXPECT_EQ(lock.st_uid, owner);
    EXPECT_EQ(data.st_uid, owner);
    EXPECT_EQ(lock.st_gid, data.st_gid);
  };
  {
    const auto store = ConfigStore::open(path(), options);
    for (const auto& file : fs::directory_iterator(path())) {
      fs::permissions(file, fs::perms(0660));
    }
    store->compact();
    put(*store, 1, "new");
    expectAlike();
    if (::geteuid() == 0) {
      owner = 12345;
      ASSERT_EQ(::chown(data().c_str(), owner, ::getegid()), 0);
    }
    store->compact();
    expectAlike();
  }
  fs::remove(path() / "lock.mdb");
  EXPECT_EQ(textOf(*ConfigStore::open(path(), options), 1), "new");
  expectAlike();
}

// The process has the former store's status file, so its locks do not count in the present one.
TEST_F(StoreCompaction, LeavesAStoreAloneThatHasTakenThePlaceOfThisOne) {
  const auto store = ConfigStore::open(path());
  put(*store, 1, "old");
  fs::rename(path(), folder_ / "former");
  Child other({"hold", path()});
  ASSERT_EQ(other.line(), "0");
  struct stat before {};
  ASSERT_EQ(::stat((path() / "lock.mdb").c_str(), &before), 0);
  const auto expectReplaced = [](const std::function<void()>& work) {
    try {
      work();
      ADD_FAILURE() << "nothing is thrown";
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.code(), StoreError::kForeignFile);
      EXPECT_THAT(exception.message(), ::testing::HasSubstr("replaced by another one"));
    }
  };
  expectReplaced([&] { put(*store, 1, "new"); });
  expectReplaced([&] { store->compact(); });
  struct stat after {};
  ASSERT_EQ(::stat((path() / "lock.mdb").c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(textOf(*store, 1), "old");
}

TEST_F(StoreCompaction, LeavesSnapshotsOnTheFormerFile) {
  const auto store = ConfigStore::open(path());
  putAll(*store, {1});
  std::optional<Snapshot> old(store->snapshot());
  Revision newest = 0;
  std::thread([&] {
    store->compact();
    put(*store, 1, "new");
    newest = store->snapshot().revision();
  }).join();
  EXPECT_EQ(newest, 2u);
  EXPECT_EQ(old->revision(), 1u);
  EXPECT_STREQ(old->byId(kItems, 0, 1).as<Item>()->text, "1");
  EXPECT_EQ(store->snapshot().revision(), 1u) << "nested";
  old.reset();
  EXPECT_EQ(store->snapshot().revision(), 2u);
  EXPECT_EQ(textOf(*store, 1), "new");
}

// An unlinked file that is still open keeps its room on the disk.
TEST_F(StoreCompaction, ClosesTheFormerFileWhenItsLastReaderEnds) {
  const auto filesOpen = [] {
    int deleted = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
      std::error_code error;
      const std::string name = fs::read_symlink(entry.path(), error).string();
      if (name.ends_with("data.mdb (deleted)")) ++deleted;
    }
    return deleted;
  };
  const auto store = ConfigStore::open(path());
  putAll(*store, {1});
  std::atomic<bool> stop{false};
  std::atomic<bool> read{false};
  std::thread idle([&] {
    EXPECT_EQ(store->snapshot().revision(), 1u);  // keeps a slot
    read = true;
    read.notify_all();
    stop.wait(false);
  });
  read.wait(false);
  std::optional<Snapshot> old(store->snapshot());
  std::thread([&] { store->compact(); }).join();
  EXPECT_GE(filesOpen(), 1);
  old.reset();
  EXPECT_EQ(filesOpen(), 0);
  stop = true;
  stop.notify_all();
  idle.join();
}

TEST_F(StoreCompaction, IsNoticedByProcessesThatWait) {
  const auto store = ConfigStore::open(path());
  putAll(*store, {1});
  Child waiting({"wait", path(), "1"});
  Child holding({"hold", path(), "2"});
  ASSERT_EQ(waiting.line(), "waiting");
  ASSERT_EQ(holding.line(), "1");
  store->compact();
  Child putting({"put", path(), "1", "new"});
  EXPECT_EQ(putting.line(), "2");
  EXPECT_EQ(waiting.line(), "2");
  EXPECT_EQ(textOf(*store, 1), "new");
}

// What a process leaves that is killed right after it has given the new file its name.
TEST_F(StoreCompaction, IsFinishedByTheNextWriterAndTheNextProcess) {
  for (const bool byWriter : {true, false}) {
    SCOPED_TRACE(byWriter);
    const auto store = ConfigStore::open(path());
    put(*store, 1, "old");
    const Revision before = store->revision();
    struct stat former {};
    ASSERT_EQ(::stat((path() / "lock.mdb").c_str(), &former), 0);
    fs::copy_file(data(), path() / "copy");
    fs::permissions(path() / "copy", fs::perms::owner_read | fs::perms::owner_write);
    fs::rename(path() / "copy", data());
    if (byWriter) {
      put(*store, 1, "new");
    } else {
      Child putting({"put", path(), "1", "new"});
      EXPECT_EQ(putting.line(), std::to_string(before + 1));
    }
    struct stat present {};
    ASSERT_EQ(::stat((path() / "lock.mdb").c_str(), &present), 0);
    EXPECT_NE(former.st_ino, present.st_ino);
    EXPECT_EQ(textOf(*store, 1), "new");
    EXPECT_EQ(store->snapshot().revision(), before + 1);
    Child other({"open", path()});
    EXPECT_EQ(other.line(), std::to_string(before + 1));
    EXPECT_EQ(verifyStore(path()).revision, before + 1);
  }
}

TEST_F(StoreCompaction, LetsTheMapGrowAfterwards) {
  ConfigStore::Options options;
  options.initialMapSize = 1u << 20;
  const auto store = ConfigStore::open(path(), options);
  fillWithNoise(*store, 300);
  store->compact();
  Child other({"hold", path()});
  ASSERT_EQ(other.line(), "1");
  const std::size_t before = store->statistics().mapBytes;
  std::mt19937 random(1);
  for (std::uint32_t id = 1; store->statistics().mapBytes == before; ++id) {
    ASSERT_LT(id, 10'000u);
    std::string text(250, ' ');
    for (char& c : text) c = static_cast<char>('a' + random() % 26);
    put(*store, id, text);
  }
  EXPECT_THAT(verifyStore(path()).damages, IsEmpty());
  Child third({"put", path(), "1", "new"});
  third.line();
  EXPECT_EQ(textOf(*store, 1), "new");
}

TEST_F(StoreCompaction, LosesNoCommitWhileProcessesAreKilled) {
  const auto store = ConfigStore::open(path());
  putAll(*store, {500});
  struct Counter {
    std::string id;
    std::unique_ptr<Child> child;
    std::uint64_t said = 0;
  };
  Counter counters[2] = {{"1", nullptr, 0}, {"2", nullptr, 0}};
  const auto start = [&](Counter& counter) {
    counter.child = std::make_unique<Child>(std::vector<std::string>{"count", path(), counter.id});
  };
  // Kills it and checks that the store has what it said.
  const auto stop = [&](Counter& counter) {
    ::kill(counter.child->pid(), SIGKILL);
    for (std::string line = counter.child->line(); !line.empty(); line = counter.child->line()) {
      ASSERT_EQ(line.find_first_not_of("0123456789"), std::string::npos) << line;
      counter.said = std::max<std::uint64_t>(counter.said, std::stoull(line));
    }
    counter.child.reset();
    const std::string text = textOf(*store, static_cast<std::uint32_t>(std::stoi(counter.id)));
    const std::uint64_t stored = text == "none" ? 0 : std::stoull(text);
    ASSERT_GE(stored, counter.said);
    ASSERT_LE(stored, counter.said + 1);
  };
  for (Counter& counter : counters) start(counter);
  auto compacting = std::make_unique<Child>(std::vector<std::string>{"compact", path()});
  Child auditing({"audit", path(), "1", "2"});
  ASSERT_EQ(auditing.line(), "ready");
  std::mt19937 random(17);
  std::uint64_t own = 0;
  for (int round = 0; round < 120 && !HasFatalFailure(); ++round) {
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 40));
    switch (random() % 4) {
      case 0: {
        Counter& counter = counters[random() % 2];
        stop(counter);
        start(counter);
        break;
      }
      case 1:
        compacting->kill();
        compacting = std::make_unique<Child>(std::vector<std::string>{"compact", path()});
        break;
      case 2:
        store->compact();
        break;
      default: {
        put(*store, 3, std::to_string(++own));
        ASSERT_EQ(textOf(*store, 3), std::to_string(own));
        const Revision seen = store->snapshot().revision();
        // Its writer may have been killed before it told anybody.
        ASSERT_GE(store->waitForRevision(seen - 1, 10'000), seen);
      }
    }
  }
  for (Counter& counter : counters) stop(counter);
  compacting->kill();
  ::kill(auditing.pid(), SIGKILL);
  EXPECT_EQ(auditing.line(), "") << "a reader complains";
  EXPECT_THAT(verifyStore(path()).damages, IsEmpty());
  EXPECT_GT(counters[0].said + counters[1].said, 50u);
  RecordProperty("commits", static_cast<int>(counters[0].said + counters[1].said));
}

}  // namespace
}  // namespace Kestrav::Config

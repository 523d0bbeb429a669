// Bytes of a store that were changed from outside: each answer is right or an Exception.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "RawStore.h"
#include "StoreRecords.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/DataFile.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/Verify.h"
#include "tests/support/InChild.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::HasSubstr;
using namespace StoreTesting;
namespace fs = std::filesystem;

class StoreDamage : public ::testing::Test {
 protected:
  fs::path path() const { return folder_ / "store"; }
  fs::path data() const { return path() / "data.mdb"; }
  static void write(const fs::path& file, std::uint64_t at, const std::string& bytes) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(at)),
              static_cast<ssize_t>(bytes.size()));
    ::close(fd);
  }
  static std::string read(const fs::path& file, std::uint64_t at, std::size_t size) {
    std::string bytes(size, '\0');
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::pread(fd, bytes.data(), size, static_cast<off_t>(at)), static_cast<ssize_t>(size));
    ::close(fd);
    return bytes;
  }
  Testing::TemporaryFolder folder_;
};

// All that can be read. Every way to a record gives the same one.
std::string recordsOf(const Snapshot& snapshot) {
  std::string text = std::to_string(snapshot.revision()) + "\n";
  const auto add = [&text](const Table& table, const StoredRecord& record) {
    text += hex(RowCodec::encode(table, record.data())) + "\n";
  };
  for (const Table& table : tables()) {
    text += std::to_string(snapshot.lastChanged(table.gid)) + "\n";
    for (const ngid_t domain : snapshot.domains(table.gid)) {
      text += std::to_string(table.gid) + "/" + std::to_string(domain) + " " +
              std::to_string(snapshot.size(table.gid, domain)) + "\n";
      snapshot.walk(table.gid, domain, [&](const StoredRecord& record) {
        add(table, record);
        return true;
      });
      const auto index = snapshot.index(table.gid, domain);
      for (int i = 0; i < index->size(); ++i) {
        add(table, snapshot.at(table.gid, domain, i));
        add(table, snapshot.byId(table.gid, domain, index->idAt(i)));
      }
    }
  }
  return text;
}

// Empty when an entry cannot be read, which journal() says.
std::string journalText(ConfigStore& store) {
  std::string text;
  const Revision first = store.statistics().oldestJournalRevision;
  const bool whole = store.journal(first - 1, store.revision(), [&](const JournalEntry& entry) {
    const Table& table = *findTable(entry.gid);
    text += std::to_string(entry.revision) + " " + std::to_string(entry.id);
    for (const StoredRecord* record : {&entry.before, &entry.after}) {
      text += " " + (*record ? hex(RowCodec::encode(table, record->data())) : "-");
    }
    text += "\n";
  });
  return whole ? text : "";
}

void makeVariedStore(const fs::path& path) {
  ConfigStore::Options options;
  options.journalEntries = 300;
  options.journalEntriesHard = 500;
  const auto store = ConfigStore::open(path, options);
  fillWithNoise(*store, 60);
  for (ngid_t domain : {0u, 7u, 9u}) {
    ChangeSet changes;
    for (std::uint32_t id = 1; id <= 60; ++id) {
      const Policy record = policy(id);
      changes.put(kPolicies, domain, &record);
    }
    store->commit(std::move(changes));
  }
  for (int round = 0; round < 6; ++round) {
    writeSet(*store, 150);
    ChangeSet changes;
    for (std::uint32_t id = 1; id <= 40; ++id) changes.erase(kPolicies, 9, id + 10);
    for (std::uint32_t id = 1000; id < 1010; ++id) changes.erase(kItems, 0, id + 10u * round);
    store->commit(std::move(changes));
  }
}

// Where damage strikes: pages of all kinds, and more often their headers and the meta pages.
std::string strike(std::mt19937& random, const fs::path& file) {
  const std::uint64_t pages = fs::file_size(file) / 4096;
  const std::uint64_t page = random() % 4 == 0 ? random() % 2 : random() % pages;
  std::uint64_t within = random() % 4096;
  if (random() % 2 == 0) within = random() % (page < 2 ? 152 : 128);
  const std::size_t size = random() % 3 == 0 ? 8 : 1;
  within = std::min<std::uint64_t>(within, 4096 - size);
  const int fd = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  std::string bytes(size, '\0');
  const auto at = static_cast<off_t>(page * 4096 + within);
  EXPECT_EQ(::pread(fd, bytes.data(), size, at), static_cast<ssize_t>(size));
  for (char& c : bytes) c = static_cast<char>(random() % 3 == 0 ? random() : c ^ 1 << random() % 8);
  EXPECT_EQ(::pwrite(fd, bytes.data(), size, at), static_cast<ssize_t>(size));
  ::close(fd);
  return "page " + std::to_string(page) + ", byte " + std::to_string(within) + ": " + hex(bytes);
}

TEST_F(StoreDamage, GivesTheRightAnswerOrAnExceptionWhereverItStrikes) {
  makeVariedStore(path());
  std::string records;
  std::string journal;
  {
    const auto store = ConfigStore::open(path());
    records = recordsOf(store->snapshot());
    journal = journalText(*store);
    ASSERT_FALSE(journal.empty());
  }
  ASSERT_TRUE(verifyStore(path()).damages.empty());
  const char* wanted = std::getenv("KESTRAV_DAMAGE_TRIES");
  const int tries = wanted != nullptr ? std::atoi(wanted) : 200;
  const char* seed = std::getenv("KESTRAV_DAMAGE_SEED");
  std::mt19937 random(seed != nullptr ? static_cast<unsigned>(std::atoi(seed)) : 11u);
  const fs::path copy = folder_ / "copy";
  enum { kRight, kRefused, kDifferent, kUndocumented };
  int found[4] = {};
  int foundByVerify = 0;
  for (int i = 0; i < tries; ++i) {
    fs::remove_all(copy);
    fs::copy(path(), copy);
    std::string where = strike(random, copy / "data.mdb");
    if (random() % 4 == 0) where += "; " + strike(random, copy / "data.mdb");
    SCOPED_TRACE(where);
    const int outcome = Testing::inChild([&]() -> int {
      Logger::instance().threshold(Logger::Severity::kError);
      try {
        const auto store = ConfigStore::open(copy);
        if (recordsOf(store->snapshot()) != records) return kDifferent;
        const std::string entries = journalText(*store);
        if (!entries.empty() && entries != journal) return kDifferent;
        const bool damaged = !verifyStore(copy).damages.empty();
        writeSet(*store, 10);
        return damaged ? kRight + 10 : kRight;
      } catch (const Exception& exception) {
        const bool documented = exception.code() == StoreError::kDamaged ||
                                exception.code() == StoreError::kForeignFile ||
                                exception.code() == StoreError::kNewerSchema;
        if (!documented) std::fprintf(stderr, "%s\n", exception.asString().c_str());
        return documented ? kRefused : kUndocumented;
      }
    });
    ASSERT_TRUE(outcome == kRight || outcome == kRight + 10 || outcome == kRefused)
        << "try " << i << ": outcome " << outcome;
    if (outcome == kRefused) {
      const int named = Testing::inChild([&]() -> int {
        try {
          return verifyStore(copy).damages.empty() ? 1 : 0;
        } catch (const Exception& exception) {
          return exception.code() == StoreError::kNewerSchema ? 0 : 2;
        }
      });
      EXPECT_EQ(named, 0) << "the verification does not name the damage";
      ++foundByVerify;
    }
    ++found[outcome % 10];
  }
  RecordProperty("right", found[kRight]);
  RecordProperty("refused", found[kRefused]);
  std::printf("right %d, refused %d\n", found[kRight], found[kRefused]);
  EXPECT_GT(found[kRight], tries / 20);
  EXPECT_GT(found[kRefused], tries / 20);
}

TEST_F(StoreDamage, OfARowIsMendedFromTheJournal) {
  { putAll(*ConfigStore::open(path()), {1, 2, 3}); }
  RawStore(path()).put("rows", {{std::string(rowKey(kItems, 0, kFirstPosition + kGap, 2)), "x"}});
  std::vector<std::string> logged;
  const auto token = Logger::instance().capture([&logged](const Logger::Message& message) {
    EXPECT_EQ(message.code, LogCode::kStoreRecordRecovered);
    logged.push_back(message.fields.at(0) + " " + message.fields.at(1));
  });
  const auto store = ConfigStore::open(path());
  const Snapshot snapshot = store->snapshot();
  for (int i = 0; i < 2; ++i) {
    EXPECT_STREQ(snapshot.byId(kItems, 0, 2).as<Item>()->text, "2");
    EXPECT_STREQ(snapshot.at(kItems, 0, 1).as<Item>()->text, "2");
    EXPECT_THAT(idsOf(snapshot, kItems, 0), testing::ElementsAre(1, 2, 3));
  }
  EXPECT_THAT(logged, testing::ElementsAre("dictionary-items 2")) << "once";
}

TEST_F(StoreDamage, OfARowAndItsCopiesIsAnExceptionForThatRowOnly) {
  { putAll(*ConfigStore::open(path()), {1, 2, 3}); }
  {
    RawStore raw(path());
    raw.put("rows", {{std::string(rowKey(kItems, 0, kFirstPosition + kGap, 2)), "x"}});
    raw.put("journal", {{std::string(journalKey(1, 2)), "x"}});
  }
  const auto store = ConfigStore::open(path());
  {
    const Snapshot snapshot = store->snapshot();
    EXPECT_STREQ(snapshot.byId(kItems, 0, 1).as<Item>()->text, "1");
    EXPECT_STREQ(snapshot.at(kItems, 0, 2).as<Item>()->text, "3");
    for (int i = 0; i < 2; ++i) {
      expectCode(StoreError::kDamaged, [&] { snapshot.byId(kItems, 0, 2); });
      expectCode(StoreError::kDamaged, [&] { snapshot.at(kItems, 0, 1); });
      expectCode(StoreError::kDamaged, [&] { idsOf(snapshot, kItems, 0); });
    }
    EXPECT_EQ(snapshot.size(kItems, 0), 3);
  }
  expectCode(StoreError::kDamaged, [&] { store->compact(); });
  putAll(*store, {2});
  EXPECT_STREQ(store->snapshot().byId(kItems, 0, 2).as<Item>()->text, "2") << "written over";
}

TEST_F(StoreDamage, OfAPageIsRefusedByTheProcessThatOpensTheStoreFirst) {
  { fillWithNoise(*ConfigStore::open(path()), 100); }
  const std::uint64_t root = DataFile(data()).metas().newest().trees[1].root;
  const std::string number = read(data(), root * 4096, 8);
  write(data(), root * 4096, "\x77");
  try {
    ConfigStore::open(path());
    ADD_FAILURE() << "opened";
  } catch (const Exception& exception) {
    EXPECT_EQ(exception.code(), StoreError::kDamaged);
    EXPECT_THAT(exception.message(),
                HasSubstr("page " + std::to_string(root) + ": it has the number of another page"));
    EXPECT_THAT(exception.message(), HasSubstr("vexactl verify"));
  }
  write(data(), root * 4096, number);
  EXPECT_EQ(ConfigStore::open(path())->revision(), 1u);
}

}  // namespace
}  // namespace Kestrav::Config

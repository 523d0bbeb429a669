// Opening stores of schema 1.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <random>

#include "Child.h"
#include "Schema1Store.h"
#include "StoreRecords.h"
#include "platform/common/Logger.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/JournalFormat.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/Verify.h"
#include "tests/support/LogCapture.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using namespace StoreTesting;
namespace fs = std::filesystem;

constexpr std::uint64_t kStep = kGap;

Schema1Store::Change itemAt(std::uint32_t id, int place, const std::string& text) {
  return {kItems, 0, id, kFirstPosition + static_cast<std::uint64_t>(place) * kStep,
          Schema1Store::bytesOf(item(id, text))};
}

Schema1Store::Change policyAt(ngid_t domain, std::uint32_t id, int place) {
  return {kPolicies, domain, id, kFirstPosition + static_cast<std::uint64_t>(place) * kStep,
          Schema1Store::bytesOf(policy(id))};
}

Schema1Store::Change erased(std::uint32_t id) {
  return {kItems, 0, id, 0, {}};
}

__aps_sys_global settings(std::uint64_t first) {
  __aps_sys_global record{};
  std::memcpy(&record, &first, sizeof first);
  return record;
}

// Five revisions: records added, changed, moved and erased, in two tables and the settings.
Schema1Store smallStore() {
  Schema1Store old;
  old.commit({itemAt(3, 0, "three"), itemAt(1, 1, "one"), itemAt(2, 2, "two")});
  old.commit({policyAt(0, 7, 0), policyAt(6, 9, 0), policyAt(6, 8, 1)});
  old.commit({itemAt(1, 1, "uno")});
  old.commit({itemAt(3, 3, "three"), erased(2)});
  old.commit({{GID_SYSTEM_GLOBAL, 0, 0, kFirstPosition, Schema1Store::bytesOf(settings(42))}});
  return old;
}

// What takes a while to migrate: items, each with one entry in the journal.
Schema1Store largeStore(std::uint32_t items) {
  Schema1Store old;
  std::mt19937 random(3);
  std::vector<Schema1Store::Change> changes;
  for (std::uint32_t id = 1; id <= items; ++id) {
    std::string noise(100, '\0');
    for (char& c : noise) c = static_cast<char>(1 + random() % 255);
    changes.push_back(itemAt(id, static_cast<int>(id), noise));
  }
  old.commit(changes);
  return old;
}

class Migration : public ::testing::Test {
 protected:
  fs::path path() const { return folder_ / "store"; }
  std::uint32_t schema() const {
    for (const auto& [key, value] : RawStore(path()).all("meta")) {
      if (key == "s") return fromBytes<std::uint32_t>(value);
    }
    return 0;
  }
  // Everything in the folder is as `old` wrote it.
  void expectOld(const Schema1Store& written) const {
    Schema1Store old = written;
    EXPECT_EQ(schema(), 1u);
    RawStore raw(path());
    EXPECT_EQ(raw.all("rows"), RawStore::Pairs(old.rows().begin(), old.rows().end()));
    EXPECT_EQ(raw.all("journal"), RawStore::Pairs(old.journal().begin(), old.journal().end()));
  }
  Testing::TemporaryFolder folder_;
};

// The fixture is a right one: a program of schema 1 wrote these bytes.
TEST_F(Migration, TheFixtureWritesRowsOfSchema1) {
  Item record = item(2, "two");
  record.score = 0x1234;
  record.enabled = 1;
  record.dictionary_id = 7;
  EXPECT_EQ(hex(Schema1Store::row(Schema1Store::bytesOf(record))),
            "01940294020374776fff01023412040c01000000020000000700000000");
}

TEST_F(Migration, KeepsRecordsOrderAndRevisions) {
  smallStore().write(path());
  {
    const auto store = ConfigStore::open(path());
    const Snapshot snapshot = store->snapshot();
    EXPECT_EQ(snapshot.revision(), 5u);
    EXPECT_THAT(idsOf(snapshot, kItems, 0), ElementsAre(1, 3));
    EXPECT_THAT(idsOf(snapshot, kPolicies, 0), ElementsAre(7));
    EXPECT_THAT(idsOf(snapshot, kPolicies, 6), ElementsAre(9, 8));
    EXPECT_THAT(snapshot.domains(kPolicies), ElementsAre(0, 6));
    EXPECT_STREQ(snapshot.byId(kItems, 0, 1).as<Item>()->text, "uno");
    EXPECT_EQ(snapshot.at(kItems, 0, 1).id(), 3u);
    EXPECT_EQ(snapshot.size(kItems, 0), 2);
    EXPECT_EQ(snapshot.lastChanged(kItems), 4u);
    EXPECT_EQ(snapshot.lastChanged(kPolicies), 2u);
    const auto stored = settings(42);
    EXPECT_EQ(std::memcmp(snapshot.byId(GID_SYSTEM_GLOBAL, 0, 0).data(), &stored, sizeof stored),
              0);
  }
  EXPECT_EQ(schema(), 2u);
}

TEST_F(Migration, IsLoggedOnce) {
  smallStore().write(path());
  const Testing::LogCapture log;
  ConfigStore::open(path());
  ConfigStore::open(path());
  EXPECT_THAT(log.fields(0x4000304), ElementsAre(ElementsAre(path().string(), "1", "2")));
}

TEST_F(Migration, KeepsTheJournalWithHeadsThatKnowNothing) {
  smallStore().write(path());
  const auto store = ConfigStore::open(path());
  std::vector<std::string> entries;
  EXPECT_TRUE(store->journal(0, 5, [&entries](const JournalEntry& entry) {
    EXPECT_FALSE(entry.nextBefore || entry.nextAfter);
    const auto text = [&entry](const StoredRecord& record) -> std::string {
      if (!record) return "-";
      return entry.gid == kItems ? record.as<Item>()->text : std::string("row");
    };
    entries.push_back(std::to_string(entry.revision) + " " + std::to_string(entry.domain) + "/" +
                      std::to_string(entry.id) + " " + text(entry.before) + " " +
                      text(entry.after));
  }));
  EXPECT_THAT(entries, ElementsAre("1 0/3 - three", "1 0/1 - one", "1 0/2 - two", "2 0/7 - row",
                                   "2 6/9 - row", "2 6/8 - row", "3 0/1 one uno",
                                   "4 0/3 three three", "4 0/2 two -", "5 0/0 - row"));
  const std::uint32_t sizes[] = {3, 3, 1, 2, 1};
  for (Revision revision = 1; revision <= 5; ++revision) {
    SCOPED_TRACE(revision);
    const auto head = store->head(revision);
    ASSERT_TRUE(head);
    EXPECT_EQ(head->revision, revision);
    EXPECT_EQ(head->changes, sizes[revision - 1]);
    EXPECT_EQ(head->time.time_since_epoch().count(), 0);
    EXPECT_EQ(head->uid, RevisionHead::kUnknownUser);
    EXPECT_EQ(head->user + head->origin, "");
  }
  EXPECT_EQ(store->statistics().journalEntries, 10u);
  EXPECT_EQ(store->statistics().oldestJournalRevision, 1u);
}

TEST_F(Migration, GivesTheRowsThatACommitWrites) {
  smallStore().write(path());
  {
    const auto store = ConfigStore::open(path());
    ChangeSet same;
    const Item uno = item(1, "uno");
    same.put(kItems, 0, &uno);
    EXPECT_EQ(store->commit(std::move(same)), 5u) << "no difference";
    EXPECT_EQ(putAll(*store, {4}), 6u);
    EXPECT_THAT(idsOf(store->snapshot(), kItems, 0), ElementsAre(1, 3, 4));
    EXPECT_EQ(store->head(6)->uid, ::getuid());
  }
  const auto again = ConfigStore::open(path());
  EXPECT_EQ(again->revision(), 6u);
  EXPECT_THAT(journalOf(*again, 5), ElementsAre("6: " + std::to_string(kItems) + "/0/4 - 4"));
}

TEST_F(Migration, LeavesUnreadableRowsToTheJournal) {
  Schema1Store old = smallStore();
  auto& rows = old.rows();
  const std::string uno = Schema1Store::rowKey(itemAt(1, 1, ""), itemAt(1, 1, "").position);
  const std::string three = Schema1Store::rowKey(itemAt(3, 3, ""), itemAt(3, 3, "").position);
  ASSERT_TRUE(rows.contains(uno) && rows.contains(three));
  rows[uno].pop_back();
  rows[three] = "\2" + rows[three].substr(1);  // a row of neither schema
  old.write(path());
  const auto token = Logger::instance().capture([](const Logger::Message&) {});
  const auto store = ConfigStore::open(path());
  EXPECT_STREQ(store->snapshot().byId(kItems, 0, 1).as<Item>()->text, "uno");
  EXPECT_THAT(idsOf(store->snapshot(), kItems, 0), ElementsAre(1, 3));
  EXPECT_THAT(idsOf(store->snapshot(), kPolicies, 6), SizeIs(2));
  store->compact();
  EXPECT_THAT(verifyStore(path()).damages, testing::IsEmpty()) << "mended";
}

TEST_F(Migration, CutsTheJournalAtAnEntryThatCannotBeRead) {
  Schema1Store old = smallStore();
  old.journal()[Schema1Store::big(2, 8) + Schema1Store::big(1, 4)].resize(19);
  old.write(path());
  const auto store = ConfigStore::open(path());
  EXPECT_FALSE(store->journal(1, 5, [](const JournalEntry&) { ADD_FAILURE() << "visited"; }));
  EXPECT_THAT(journalOf(*store, 2), SizeIs(4));
  EXPECT_FALSE(store->head(2));
  EXPECT_EQ(store->head(3)->changes, 1u);
  EXPECT_EQ(store->statistics().journalEntries, 4u);
  EXPECT_EQ(store->statistics().oldestJournalRevision, 3u);
}

TEST_F(Migration, IsRefusedWhileAnotherProcessHasTheStoreOpen) {
  const Schema1Store old = smallStore();
  old.write(path());
  int ready[2];
  int done[2];
  ASSERT_EQ(::pipe(ready), 0);
  ASSERT_EQ(::pipe(done), 0);
  const pid_t other = ::fork();
  if (other == 0) {
    ::close(done[1]);
    const RawStore open(path());  // reads nothing
    char byte = 0;
    if (::write(ready[1], "x", 1) == 1 && ::read(done[0], &byte, 1) == 0) ::_exit(0);
    ::_exit(1);
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  for (const char* attempt : {"first", "second"}) {
    SCOPED_TRACE(attempt);
    try {
      ConfigStore::open(path());
      ADD_FAILURE() << "opened";
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.code(), StoreError::kInUse);
      EXPECT_THAT(exception.message(), HasSubstr("schema 1"));
      EXPECT_THAT(exception.message(), HasSubstr("process " + std::to_string(other)));
    }
  }
  expectOld(old);
  ::close(done[1]);
  int status = 0;
  ::waitpid(other, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(ConfigStore::open(path())->revision(), 5u);
  EXPECT_EQ(schema(), 2u);
  for (const int fd : {ready[0], ready[1], done[0]}) ::close(fd);
}

TEST_F(Migration, HappensOnceWhenSeveralProcessesOpenTheStore) {
  largeStore(2000).write(path());
  std::vector<std::unique_ptr<Child>> children;
  for (int i = 0; i < 6; ++i) {
    children.push_back(std::make_unique<Child>(std::vector<std::string>{"open", path().string()}));
  }
  for (const auto& child : children) EXPECT_EQ(child->line(), "1");
  for (const auto& child : children) EXPECT_EQ(child->wait(), 0);
  EXPECT_EQ(schema(), 2u);
}

TEST_F(Migration, GrowsTheMapWhenTheNewStoreNeedsMore) {
  const Schema1Store old = largeStore(3000);
  old.write(path(), 2u << 20);
  ConfigStore::Options options;
  options.initialMapSize = options.maximumMapSize = 1u << 20;
  expectCode(StoreError::kFull, [&] { ConfigStore::open(path(), options); });
  expectOld(old);
  options.maximumMapSize = 64u << 20;
  const auto store = ConfigStore::open(path(), options);
  EXPECT_EQ(store->snapshot().size(kItems, 0), 3000);
  EXPECT_GT(store->statistics().mapBytes, std::size_t{2} << 20);
}

TEST_F(Migration, KilledAtAnyMomentLeavesTheOldStoreOrTheNewOne) {
  constexpr std::uint32_t kRecords = 10'000;
  constexpr int kKills = 40;
  const Schema1Store old = largeStore(kRecords);
  const fs::path copy = folder_ / "copy";
  old.write(copy);
  const auto renew = [&] {
    fs::remove_all(path());
    fs::copy(copy, path());
  };
  using Clock = std::chrono::steady_clock;
  renew();
  const auto begin = Clock::now();
  {
    Child whole({"open", path().string()});
    ASSERT_EQ(whole.line(), "1");
  }
  const auto taken = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
  renew();
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<std::int64_t> delay(0, taken.count() * 5 / 4);
  int killed = 0;
  for (int round = 0; round < kKills; ++round) {
    SCOPED_TRACE(round);
    {
      Child opening({"open", path().string()});
      std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
      opening.kill();
    }
    if (schema() == 1) {
      ++killed;
      ASSERT_NO_FATAL_FAILURE(expectOld(old));
      continue;  // with the same store
    }
    RawStore::Pairs rows;
    RawStore::Pairs journal;
    {
      const RawStore raw(path());
      rows = raw.all("rows");
      journal = raw.all("journal");
    }
    ASSERT_THAT(rows, SizeIs(kRecords));
    ASSERT_THAT(journal, SizeIs(kRecords + 1));
    for (const auto& [key, row] : rows) {
      std::string reason;
      ASSERT_TRUE(RowCodec::decode(*findTable(kItems), 0, idOfRow(key), row, reason)) << reason;
    }
    ASSERT_TRUE(decodeHead(journal[0].second));
    for (std::size_t i = 1; i < journal.size(); ++i) ASSERT_TRUE(decodeEntry(journal[i].second));
    renew();
  }
  EXPECT_GT(killed, 0);
  EXPECT_EQ(ConfigStore::open(path())->snapshot().size(kItems, 0), static_cast<int>(kRecords));
}

}  // namespace
}  // namespace Kestrav::Config

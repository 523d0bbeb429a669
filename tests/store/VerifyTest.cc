// What the verification of a store finds.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "Child.h"
#include "RawStore.h"
#include "StoreRecords.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/JournalFormat.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/Verify.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace StoreTesting;
namespace fs = std::filesystem;

class StoreVerification : public ::testing::Test {
 protected:
  fs::path path() const { return folder_ / "store"; }
  Testing::TemporaryFolder folder_;
};

// Also keeps the model of what is a well-formed store honest: a check that is too strict fails
// here.
TEST_F(StoreVerification, FindsNothingAfterAnyChanges) {
  std::mt19937 random(3);
  ConfigStore::Options options;
  options.journalEntries = 40;
  options.journalEntriesHard = 60;
  options.initialMapSize = 1u << 20;
  for (int round = 0; round < 12; ++round) {
    const auto store = ConfigStore::open(path(), options);
    for (int commit = 0; commit < 12; ++commit) {
      ChangeSet changes;
      for (int i = 0; i < 20; ++i) {
        const auto id = static_cast<std::uint32_t>(1 + random() % 150);
        const Item record = item(id, std::string(random() % 60, 'x') + std::to_string(random()));
        const Policy other = policy(id);
        switch (random() % 5) {
          case 0:
            changes.erase(kItems, 0, id);
            changes.erase(kPolicies, 7, id);
            break;
          case 1:
            changes.put(kPolicies, random() % 2 * 7, &other);
            break;
          default:
            changes.put(kItems, 0, &record);
        }
      }
      store->commit(std::move(changes));
    }
    if (round == 5) fillWithNoise(*store, 200);  // more than the journal keeps, and a larger map
    if (round == 7) store->compact();
    const Verification found = verifyStore(path());
    ASSERT_THAT(found.damages, IsEmpty()) << "open, round " << round;
    const Snapshot snapshot = store->snapshot();
    EXPECT_EQ(found.revision, snapshot.revision());
    EXPECT_EQ(found.rows, found.indexes);
    EXPECT_EQ(found.rows,
              static_cast<std::uint64_t>(snapshot.size(kItems, 0) + snapshot.size(kPolicies, 0) +
                                         snapshot.size(kPolicies, 7)));
  }
  EXPECT_THAT(verifyStore(path()).damages, IsEmpty()) << "closed";
}

TEST_F(StoreVerification, CountsWhatItChecks) {
  { putAll(*ConfigStore::open(path()), {1, 2, 3}); }
  const Verification found = verifyStore(path());
  EXPECT_EQ(found.revision, 1u);
  EXPECT_EQ(found.tables, 1u);
  EXPECT_EQ(found.rows, 3u);
  EXPECT_EQ(found.indexes, 3u);
  EXPECT_EQ(found.revisions, 1u);
  EXPECT_EQ(found.entries, 3u);
  EXPECT_EQ(found.pages, fs::file_size(path() / "data.mdb") / 4096 - 2) << "two are free";
}

TEST_F(StoreVerification, NamesEachDamage) {
  {
    const auto store = ConfigStore::open(path());
    putAll(*store, {1, 2});
    putAll(*store, {3});
  }
  const auto row = [](std::uint32_t id, const std::string& text) {
    const Item record = item(id, text);
    return RowCodec::encode(*findTable(kItems), &record);
  };
  const auto key = [](const Key& bytes) { return std::string(std::string_view(bytes)); };
  const auto bytes = [](auto value) { return std::string(asBytes(value)); };
  const std::uint64_t third = kFirstPosition + 2 * kGap;
  const std::string thirdRow = key(rowKey(kItems, 0, third, 3));
  std::string cutRow = row(3, "3");
  cutRow.pop_back();
  const std::string item3 = "table dictionary-items, domain 0, record 3";
  const struct {
    const char* database;
    std::string key, value, damage;
  } cases[] = {
      {"rows", thirdRow, cutRow, item3 + ": the row's checksum is wrong"},
      {"rows", thirdRow, row(4, "3"), item3 + ": the row is that of record 4"},
      {"rows", thirdRow, row(3, "other"), item3 + ": it is not what the journal says"},
      {"rows", key(rowKey(kItems, 0, third + 1, 4)), row(4, "4"),
       "table dictionary-items, domain 0, record 4: the index does not know it"},
      {"rows", key(rowKey(kItems, 7, third, 3)), row(3, "3"),
       "table dictionary-items, domain 7, record 3: the table has no such record"},
      {"rows", key(rowKey(static_cast<G_CLI_GID>(99), 0, third, 3)), row(3, "3"),
       "table 99, domain 0, record 3: there is no such table"},
      {"rows", "short", "", "a key of the sub-database rows is wrong"},
      {"ids", key(idKey(kItems, 0, 3)), bytes(third + 1),
       item3 + ": the index has another position"},
      {"ids", key(idKey(kItems, 0, 4)), bytes(third + 1),
       "table dictionary-items, domain 0, record 4: the index knows it, but it has no row"},
      {"ids", key(idKey(kItems, 0, 3)), "1234", "a key of the sub-database ids is wrong"},
      {"meta", key(tableKey(kItems, 0)), bytes(TableState{4, 2, 2}),
       "table dictionary-items, domain 0: it has 3 records instead of 4"},
      {"meta", key(tableKey(kItems, 0)), bytes(TableState{3, 2, 9}),
       "table dictionary-items, domain 0: it was changed after the newest revision"},
      {"meta", key(gidKey(kItems)), bytes(Revision{1}),
       "the revisions of the tables contradict themselves"},
      {"meta", key(Key('r')), bytes(Revision{3}),
       "the journal has revisions 1 to 2 instead of 1 to 3"},
      {"meta", key(Key('j')), bytes(Revision{1}),
       "the journal has revisions 1 to 2 instead of 2 to 2"},
      {"meta", key(Key('x')), "", "an entry of the sub-database meta is wrong"},
      {"journal", key(journalKey(2, 1)), "text",
       "journal, revision 2, entry 1: it has damaged bytes"},
      {"journal", key(journalKey(2, 0)), "text", "journal, revision 2, head: it has damaged bytes"},
      {"journal", key(journalKey(2, 3)), encodeEntry({kItems, 0, 3, {}, row(3, "3"), {}, 0}),
       "journal, revision 2, entry 3: the one before it is missing"},
      {"journal", key(journalKey(1, 3)), encodeEntry({kItems, 0, 9, row(9, "9"), {}, 0, {}}),
       "journal, revision 1, head: it states 2 entries instead of 3"},
      {"journal", key(journalKey(2, 1)), encodeEntry({kItems, 0, 3, {}, cutRow, {}, 0}),
       "journal, revision 2, entry 1: " + item3 + ": the row's checksum is wrong"},
      {"journal", key(journalKey(5, 0)), encodeHead({}), "journal: revision 5 follows revision 2"},
      {"other", "key", "value", "there is a sub-database of another name"},
  };
  for (const auto& damage : cases) {
    SCOPED_TRACE(damage.damage);
    const fs::path copy = folder_ / "copy";
    fs::remove_all(copy);
    fs::copy(path(), copy);
    RawStore(copy).put(damage.database, {{damage.key, damage.value}});
    const std::vector<std::string> damages = verifyStore(copy).damages;
    EXPECT_THAT(damages, Contains(HasSubstr(damage.damage)));
  }
  EXPECT_THAT(verifyStore(path()).damages, IsEmpty());
}

TEST_F(StoreVerification, WorksWhileOthersCommit) {
  Child writer({"churn", path(), "20"});
  ASSERT_EQ(writer.line(), "ready");
  Revision last = 0;
  for (int i = 0; i < 50 || last < 20; ++i) {
    ASSERT_LT(i, 10'000);
    const Verification found = verifyStore(path());
    ASSERT_THAT(found.damages, IsEmpty());
    EXPECT_GE(found.revision, last);
    last = found.revision;
  }
}

TEST_F(StoreVerification, RefusesWhatIsNoStore) {
  expectCode(StoreError::kCannotOpen, [&] { verifyStore(path()); });
  EXPECT_FALSE(fs::exists(path()));
  fs::create_directory(path());
  fs::permissions(path(), fs::perms::owner_all);
  expectCode(StoreError::kCannotOpen, [&] { verifyStore(path()); });
}

}  // namespace
}  // namespace Kestrav::Config

// What a store answers after changes: records, order, revisions, the journal.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "StoreRecords.h"
#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/GroupRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/Tables.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace StoreTesting;

class Store : public Testing::StoreFixture {};

TEST_F(Store, IsEmptyAtFirst) {
  const Snapshot snapshot = store().snapshot();
  EXPECT_EQ(snapshot.revision(), 0u);
  EXPECT_EQ(store().revision(), 0u);
  EXPECT_EQ(snapshot.size(kItems, 0), 0);
  EXPECT_EQ(snapshot.size(kPolicies, 7), 0);
  EXPECT_FALSE(snapshot.byId(kItems, 0, 1));
  EXPECT_FALSE(snapshot.at(kItems, 0, 0));
  EXPECT_EQ(snapshot.index(kItems, 0)->size(), 0);
  EXPECT_THAT(snapshot.domains(kItems), IsEmpty());
  EXPECT_EQ(snapshot.lastChanged(kItems), 0u);
}

TEST_F(Store, AnswersWhatWasPut) {
  EXPECT_EQ(put(kItems, 0, item(5, "five")), 1u);
  EXPECT_EQ(put(kItems, 0, item(3, "three")), 2u);
  const Snapshot snapshot = store().snapshot();
  EXPECT_EQ(snapshot.revision(), 2u);
  EXPECT_EQ(snapshot.size(kItems, 0), 2);
  EXPECT_THAT(idsOf(snapshot, kItems, 0), ElementsAre(5, 3));
  const StoredRecord record = snapshot.byId(kItems, 0, 3);
  EXPECT_STREQ(record.as<Item>()->text, "three");
  EXPECT_EQ(record.id(), 3u);
  EXPECT_EQ(record.gid(), kItems);
  EXPECT_EQ(record.domain(), 0u);
  EXPECT_STREQ(snapshot.at(kItems, 0, 0).as<Item>()->text, "five");
  EXPECT_FALSE(snapshot.at(kItems, 0, 2));
  EXPECT_FALSE(snapshot.at(kItems, 0, -1));
  EXPECT_EQ(snapshot.lastChanged(kItems), 2u);
  EXPECT_EQ(snapshot.lastChanged(kPolicies), 0u);
}

TEST_F(Store, KeepsDomainsApart) {
  put(kPolicies, 0, policy(1));
  put(kPolicies, 4, policy(1));
  put(kPolicies, 2, policy(9));
  const Snapshot snapshot = store().snapshot();
  EXPECT_THAT(snapshot.domains(kPolicies), ElementsAre(0, 2, 4));
  EXPECT_THAT(idsOf(snapshot, kPolicies, 2), ElementsAre(9));
  EXPECT_FALSE(snapshot.byId(kPolicies, 2, 1));
  EXPECT_EQ(snapshot.byId(kPolicies, 4, 1).domain(), 4u);
  erase(kPolicies, 4, 1);
  EXPECT_THAT(store().snapshot().domains(kPolicies), ElementsAre(0, 2, 4))
      << "this thread still pins the older revision";
}

TEST_F(Store, CommitsRealDifferencesOnly) {
  EXPECT_EQ(put(kItems, 0, item(1, "a")), 1u);
  EXPECT_EQ(put(kItems, 0, item(1, "a")), 1u);
  EXPECT_EQ(erase(kItems, 0, 2), 1u);
  EXPECT_EQ(store().commit(ChangeSet()), 1u);
  ChangeSet thereAndBack;
  const Item b = item(1, "b");
  const Item a = item(1, "a");
  const Item fresh = item(9, "fresh");
  thereAndBack.put(kItems, 0, &b);
  thereAndBack.put(kItems, 0, &fresh);
  thereAndBack.put(kItems, 0, &a);
  thereAndBack.erase(kItems, 0, 9);
  EXPECT_EQ(store().commit(std::move(thereAndBack)), 1u);
  EXPECT_EQ(store().revision(), 1u);
  EXPECT_THAT(journalOf(store()), ElementsAre("1: 864/0/1 - a"));
}

TEST_F(Store, ReplacesInPlace) {
  putAll(store(), {1, 2, 3});
  put(kItems, 0, item(1, "again"));
  EXPECT_THAT(idsOf(store().snapshot(), kItems, 0), ElementsAre(1, 2, 3));
  EXPECT_STREQ(store().snapshot().at(kItems, 0, 0).as<Item>()->text, "again");
}

TEST_F(Store, PutsBeforeAnother) {
  struct Case {
    std::uint32_t id, before;
    std::vector<std::uint32_t> expected;
    Revision revision;
  };
  const std::vector<Case> cases = {
      {9, 1, {9, 1, 2, 3, 4}, 2}, {9, 3, {1, 2, 9, 3, 4}, 2}, {9, 0, {1, 2, 3, 4, 9}, 2},
      {4, 1, {4, 1, 2, 3}, 2},    {1, 0, {2, 3, 4, 1}, 2},    {2, 4, {1, 3, 2, 4}, 2},
      {1, 2, {1, 2, 3, 4}, 1},    {4, 0, {1, 2, 3, 4}, 1},    {3, 3, {1, 2, 3, 4}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.id) + " before " + std::to_string(c.before));
    Testing::TemporaryFolder folder;
    const auto fresh = ConfigStore::open(folder / "store");
    putAll(*fresh, {1, 2, 3, 4});
    ChangeSet changes;
    const Item record = item(c.id, std::to_string(c.id));
    changes.putBefore(kItems, 0, &record, c.before);
    EXPECT_EQ(fresh->commit(std::move(changes)), c.revision);
    EXPECT_EQ(idsOf(fresh->snapshot(), kItems, 0), c.expected);
  }
}

TEST_F(Store, OrdersAndErasesTheUnnamed) {
  putAll(store(), {1, 2, 3, 4, 5});
  ChangeSet changes;
  changes.order(kItems, 0, {5, 1, 4, 3});
  EXPECT_EQ(store().commit(std::move(changes)), 2u);
  EXPECT_THAT(idsOf(store().snapshot(), kItems, 0), ElementsAre(5, 1, 4, 3));
  EXPECT_FALSE(store().snapshot().byId(kItems, 0, 2));
}

TEST_F(Store, OrdersAnEmptyTableAndToNothing) {
  ChangeSet nothing;
  nothing.order(kItems, 0, {});
  EXPECT_EQ(store().commit(std::move(nothing)), 0u);
  putAll(store(), {1, 2});
  ChangeSet all;
  all.order(kItems, 0, {});
  EXPECT_EQ(store().commit(std::move(all)), 2u);
  EXPECT_EQ(store().snapshot().size(kItems, 0), 0);
  EXPECT_THAT(store().snapshot().domains(kItems), IsEmpty());
}

TEST_F(Store, MakesRoomWhenInsertedAtTheSamePlaceManyTimes) {
  putAll(store(), {1, 2});
  std::vector<std::uint32_t> expected = {1};
  ChangeSet changes;
  for (std::uint32_t id = 100; id < 200; ++id) {  // each halves the room before record 2
    const Item record = item(id, "x");
    changes.putBefore(kItems, 0, &record, 2);
    expected.push_back(id);
  }
  expected.push_back(2);
  store().commit(std::move(changes));
  EXPECT_EQ(idsOf(store().snapshot(), kItems, 0), expected);
  const auto journal = journalOf(store());
  EXPECT_EQ(journal.size(), 102u) << "making room moves nothing as far as anyone can tell";
  for (int i = 0; i < 102; ++i) {
    ASSERT_EQ(store().snapshot().at(kItems, 0, i).id(), expected[static_cast<std::size_t>(i)]);
  }
}

TEST_F(Store, RefusesOrdersThatCannotBe) {
  putAll(store(), {1, 2});
  const std::vector<std::vector<std::uint32_t>> orders = {{1, 2, 2}, {1, 2, 3}, {0, 1, 2}};
  for (const auto& ids : orders) {
    SCOPED_TRACE(ids.back());
    ChangeSet changes;
    const Item other = item(1, "other");
    changes.put(kItems, 0, &other);
    changes.order(kItems, 0, ids);
    expectCode(StoreError::kBadRecord, [&] { store().commit(std::move(changes)); });
  }
  ChangeSet missing;
  const Item record = item(7, "x");
  missing.putBefore(kItems, 0, &record, 99);
  expectCode(StoreError::kBadRecord, [&] { store().commit(std::move(missing)); });
  EXPECT_EQ(store().revision(), 1u);
  EXPECT_STREQ(store().snapshot().byId(kItems, 0, 1).as<Item>()->text, "1");
}

TEST_F(Store, RefusesRecordsThatDoNotFitTheirTable) {
  ChangeSet changes;
  const Item none = item(0, "x");
  const Item good = item(1, "x");
  __vexa_email_address_group group{};
  group.id = 1;
  group.member_count = 2;
  expectCode(StoreError::kBadRecord, [&] { changes.put(kItems, 0, &none); });
  expectCode(StoreError::kBadRecord, [&] { changes.put(kItems, 0, nullptr); });
  expectCode(StoreError::kBadRecord, [&] { changes.put(static_cast<G_CLI_GID>(1), 0, &good); });
  expectCode(StoreError::kBadRecord, [&] { changes.erase(static_cast<G_CLI_GID>(1), 0, 1); });
  expectCode(StoreError::kBadRecord, [&] { changes.order(static_cast<G_CLI_GID>(1), 0, {}); });
  expectCode(StoreError::kBadRecord, [&] { changes.put(GID_EMAIL_ADDRESS_GROUP, 0, &group); });
  EXPECT_TRUE(changes.empty());
}

TEST_F(Store, JournalTellsEachChange) {
  putAll(store(), {1, 2, 3, 4});
  ChangeSet changes;
  const Item modified = item(2, "two");
  const Item fresh = item(5, "5");
  changes.put(kItems, 0, &modified);
  changes.erase(kItems, 0, 1);
  changes.put(kItems, 0, &fresh);
  changes.order(kItems, 0, {4, 2, 3, 5});
  store().commit(std::move(changes));
  EXPECT_THAT(
      journalOf(store()),
      ElementsAre("1: 864/0/1 - 1", "1: 864/0/2 - 2", "1: 864/0/3 - 3", "1: 864/0/4 - 4",
                  "2: 864/0/2 2 two", "2: 864/0/1 1 -", "2: 864/0/5 - 5", "2: 864/0/4 4 4"));
  EXPECT_THAT(journalOf(store(), 0, 1), ::testing::SizeIs(4));
  EXPECT_THAT(journalOf(store(), 1, 2), ::testing::SizeIs(4));
  EXPECT_THAT(journalOf(store(), 2, 9), IsEmpty());
}

TEST_F(Store, JournalNamesTheRecordThatWasMoved) {
  putAll(store(), {1, 2});
  for (const std::uint32_t id : {2u, 1u}) {  // to the front: always the later one
    ChangeSet changes;
    const Item record = item(id, std::to_string(id));
    changes.putBefore(kItems, 0, &record, 3 - id);
    const Revision revision = store().commit(std::move(changes));
    const std::string name = std::to_string(id);
    EXPECT_THAT(
        journalOf(store(), revision - 1, revision),
        ElementsAre(std::to_string(revision) + ": 864/0/" + name + " " + name + " " + name));
  }
}

TEST_F(Store, MovedThereAndBackIsNoDifference) {
  putAll(store(), {1, 2, 3});
  ChangeSet changes;
  const Item record = item(3, "3");
  changes.putBefore(kItems, 0, &record, 1);
  changes.putBefore(kItems, 0, &record, 0);
  changes.order(kItems, 0, {3, 2, 1});
  changes.order(kItems, 0, {1, 2, 3});
  EXPECT_EQ(store().commit(std::move(changes)), 1u);
  EXPECT_THAT(idsOf(store().snapshot(), kItems, 0), ElementsAre(1, 2, 3));
}

TEST_F(Store, ErasedAndPutAgainIsANewRecordAtTheEnd) {
  putAll(store(), {1, 2});
  ChangeSet changes;
  const Item record = item(1, "1");
  changes.erase(kItems, 0, 1);
  changes.put(kItems, 0, &record);
  EXPECT_EQ(store().commit(std::move(changes)), 2u);
  EXPECT_THAT(idsOf(store().snapshot(), kItems, 0), ElementsAre(2, 1));
  EXPECT_THAT(journalOf(store(), 1, 2), ElementsAre("2: 864/0/1 1 1"));
}

TEST_F(Store, NestedSnapshotsShareTheOutermostRevision) {
  putAll(store(), {1});
  {
    Snapshot outer = store().snapshot();
    putAll(store(), {2});
    EXPECT_EQ(store().revision(), 2u);
    const Snapshot inner = store().snapshot();
    EXPECT_EQ(inner.revision(), 1u);
    EXPECT_EQ(inner.size(kItems, 0), 1);
    Snapshot moved = std::move(outer);
    EXPECT_EQ(moved.size(kItems, 0), 1);
    EXPECT_EQ(outer.size(kItems, 0), 0) << "moved from";  // NOLINT
    EXPECT_EQ(revisionSeenByAnotherThread(store()), 2u);
  }
  EXPECT_EQ(store().snapshot().revision(), 2u);
}

TEST_F(Store, IndexesAreSharedUntilMembershipOrOrderDiffer) {
  putAll(store(), {7, 3, 5});
  const auto first = store().snapshot().index(kItems, 0);
  EXPECT_EQ(first->size(), 3);
  EXPECT_EQ(first->idAt(1), 3u);
  EXPECT_EQ(first->idAt(3), 0u);
  EXPECT_EQ(first->indexOf(5), 2);
  EXPECT_EQ(first->indexOf(4), -1);
  put(kItems, 0, item(3, "changed"));
  EXPECT_EQ(store().snapshot().index(kItems, 0), first);
  putAll(store(), {4});
  const auto second = store().snapshot().index(kItems, 0);
  EXPECT_NE(second, first);
  EXPECT_EQ(second->indexOf(4), 3);
  EXPECT_EQ(first->indexOf(4), -1);
  ChangeSet changes;
  changes.order(kItems, 0, {3, 4, 5, 7});
  store().commit(std::move(changes));
  EXPECT_EQ(store().snapshot().index(kItems, 0)->indexOf(7), 3);
  EXPECT_EQ(second->indexOf(7), 0);
}

TEST_F(Store, WalksUntilToldToStop) {
  putAll(store(), {1, 2, 3});
  std::vector<std::uint32_t> seen;
  store().snapshot().walk(kItems, 0, [&seen](const StoredRecord& record) {
    seen.push_back(record.id());
    return record.id() != 2;
  });
  EXPECT_THAT(seen, ElementsAre(1, 2));
}

TEST_F(Store, SingleRecordTablesAlwaysHoldTheirRecord) {
  const Table& table = *findTable(GID_SYSTEM_GLOBAL);
  ASSERT_EQ(table.scope, Scope::kSystemSingle);
  const auto bytes = [&](const StoredRecord& record) {
    return std::string(static_cast<const char*>(record.data()), table.type->size);
  };
  const std::string defaults = bytes(store().snapshot().byId(GID_SYSTEM_GLOBAL, 0, 0));
  EXPECT_EQ(store().snapshot().size(GID_SYSTEM_GLOBAL, 0), 1);
  EXPECT_EQ(store().snapshot().size(GID_SYSTEM_GLOBAL, 3), 0);
  EXPECT_FALSE(store().snapshot().byId(GID_SYSTEM_GLOBAL, 3, 0));
  EXPECT_THAT(store().snapshot().domains(GID_SYSTEM_GLOBAL), ElementsAre(0));

  __aps_sys_global record;
  std::memcpy(&record, defaults.data(), sizeof record);
  EXPECT_EQ(put(GID_SYSTEM_GLOBAL, 0, record), 0u) << "the defaults are no difference";
  reinterpret_cast<unsigned char*>(&record)[0] ^= 1;
  EXPECT_EQ(put(GID_SYSTEM_GLOBAL, 0, record), 1u);
  EXPECT_NE(bytes(store().snapshot().at(GID_SYSTEM_GLOBAL, 0, 99)), defaults);
  EXPECT_EQ(erase(GID_SYSTEM_GLOBAL, 0, 42), 2u);
  EXPECT_EQ(bytes(store().snapshot().byId(GID_SYSTEM_GLOBAL, 0, 42)), defaults);
  int visited = 0;
  store().snapshot().walk(GID_SYSTEM_GLOBAL, 0, [&](const StoredRecord&) { return ++visited > 0; });
  EXPECT_EQ(visited, 1);

  std::vector<std::pair<bool, bool>> given;
  store().journal(0, 2, [&](const JournalEntry& entry) {
    given.emplace_back(bool(entry.before), bool(entry.after));
  });
  EXPECT_THAT(given, ElementsAre(std::pair(true, true), std::pair(true, true)));
  ChangeSet elsewhere;
  expectCode(StoreError::kBadRecord, [&] { elsewhere.put(GID_SYSTEM_GLOBAL, 3, &record); });
  expectCode(StoreError::kBadRecord, [&] { elsewhere.order(GID_SYSTEM_GLOBAL, 0, {}); });
}

TEST_F(Store, WithoutAStoreTablesAreEmptyAndSettingsAtTheirDefaults) {
  const Snapshot snapshot = ConfigStore::emptySnapshot();
  EXPECT_EQ(snapshot.revision(), 0u);
  EXPECT_EQ(snapshot.size(kItems, 0), 0);
  EXPECT_EQ(snapshot.index(kItems, 0)->size(), 0);
  EXPECT_FALSE(snapshot.byId(kItems, 0, 1));
  EXPECT_TRUE(snapshot.byId(GID_SYSTEM_GLOBAL, 0, 0));
  EXPECT_EQ(snapshot.size(static_cast<G_CLI_GID>(1), 0), 0);
  EXPECT_FALSE(store().snapshot().byId(static_cast<G_CLI_GID>(1), 0, 1));
}

TEST_F(Store, KeepsListsWhole) {
  std::vector<aps_email_address_t> members(300);
  for (std::size_t i = 0; i < members.size(); ++i) {
    std::snprintf(reinterpret_cast<char*>(&members[i]), sizeof members[i], "user%zu@example.com",
                  i);
  }
  __vexa_email_address_group group{};
  group.id = 8;
  group.member_count = members.size();
  group.members = members.data();
  put(GID_EMAIL_ADDRESS_GROUP, 0, group);
  StoredRecord record = store().snapshot().byId(GID_EMAIL_ADDRESS_GROUP, 0, 8);
  const StoredRecord moved = std::move(record);
  const auto* read = moved.as<__vexa_email_address_group>();
  ASSERT_EQ(read->member_count, 300u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(read->members) % 8, 0u);
  EXPECT_EQ(std::memcmp(read->members, members.data(), members.size() * sizeof members[0]), 0);
  EXPECT_EQ(put(GID_EMAIL_ADDRESS_GROUP, 0, *read), 1u) << "what came out goes back in unchanged";
}

}  // namespace
}  // namespace Kestrav::Config

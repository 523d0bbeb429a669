// The plain functions and the typed layer on a real store.
#include "config/CMF.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/common/Logger.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/store/StatusArea.h"
#include "tests/client/StoreFixture.h"

using testing::ElementsAre;

namespace Kestrav::CMF {
namespace {

using Testing::ChangeSet;
using Testing::ConfigStore;
using Testing::OwnedRecord;
using Testing::Revision;
using Testing::StoreTest;

using Folders = TableQuery<__aps_systemquarantine_folders, 1682>;

std::vector<std::string> names() {
  Folders folders;
  std::vector<std::string> found;
  for (auto at = folders.begin(); at != folders.end(); ++at) found.emplace_back(at->name);
  return found;
}

bool cached(const cmf_query* query) {
  return (query->header[3] & CMF_QUERY_CACHED) != 0;
}

// ---- without a store

TEST(CmfWithoutStore, TablesAreEmpty) {
  Folders folders;
  EXPECT_EQ(folders.size(), 0);
  EXPECT_TRUE(folders.begin() == folders.end());
  EXPECT_TRUE(find(folders, 1) == folders.end());
  EXPECT_TRUE(find(folders, std::string("spam")) == folders.end());
  EXPECT_EQ(cmf_query_revision(folders.query()), 0u);
}

TEST(CmfWithoutStore, SettingsHoldTheirDefaults) {
  const ObjectQuery<__aps_mailserver, 617> settings;
  ASSERT_NE(*settings, nullptr);
  const OwnedRecord expected = Testing::defaults(GID_MAIL_SERVER);
  EXPECT_EQ(settings->smtp_port, expected.as<__aps_mailserver>()->smtp_port);
  const Object<__aps_mail_disclaimer, 17> disclaimer;
  EXPECT_NE(*disclaimer, nullptr);
}

TEST(CmfWithoutStore, CommitWritesNowhere) {
  EXPECT_EQ(cmf_query_goto(nCfg_query(617), 0), 0);
  OwnedRecord record = Testing::defaults(GID_MAIL_SERVER);
  EXPECT_EQ(cmf_query_do_gui_commit(0, nCfg_query(617), record.data(), 3), -1);
}

TEST(CmfWithoutStore, NullQueriesAreHarmless) {
  EXPECT_EQ(cmf_query_do_table_size(nullptr, 0), -1);
  EXPECT_EQ(cmf_query_update(nullptr), nullptr);
  EXPECT_EQ(cmf_query_data(nullptr), nullptr);
  EXPECT_EQ(cmf_set_query_cache_st(nullptr, 0, 0), -1);
  EXPECT_EQ(cmf_query_goto(nullptr, 0), -1);
  EXPECT_EQ(cmf_query_do_get_by_gid(nullptr, 1), -1);
  EXPECT_EQ(cmf_query_index_of(nullptr, 1), -1);
  EXPECT_EQ(cmf_query_index_of_name(nullptr, "a"), -1);
  EXPECT_EQ(cmf_query_do_gui_commit(0, nullptr, nullptr, 3), -1);
  EXPECT_EQ(cmf_query_revision(nullptr), 0u);
  EXPECT_EQ(cmf_get_obj_data(nullptr), nullptr);
  EXPECT_EQ(cmf_ptr_from_shmid(0, 0), nullptr);
  EXPECT_EQ(cmf_ptr_from_shmid(100'000, 0), nullptr);
  cmf_query_free(nullptr);
  cmf_shm_read_unlock();
}

TEST(CmfWithoutStore, ZoneIsThisProcesssOwn) {
  ASSERT_NE(nCfg_debug_zone, nullptr);
  EXPECT_TRUE(Config::StatusArea(nCfg_debug_zone).contentInspection());
  EXPECT_EQ(Config::StatusArea(nCfg_debug_zone).dirtyFlags(), 0u);
}

// ---- tables

class Cmf : public StoreTest {};

TEST_F(Cmf, TableOfNRecordsIsWalkedInItsOrder) {
  putFolder(30, "spam");
  putFolder(10, "virus");
  putFolder(20, "content");
  EXPECT_THAT(names(), ElementsAre("spam", "virus", "content"));
  Folders folders;
  EXPECT_EQ(folders.size(), 3);
  EXPECT_EQ(folders.end().index(), 3);
}

TEST_F(Cmf, EmptyTableHasNoPositions) {
  Folders folders;
  EXPECT_TRUE(folders.begin() == folders.end());
  EXPECT_EQ(folders.begin().index(), -1);
  EXPECT_EQ(folders.end().index(), -1);
  EXPECT_EQ(folders.begin().operator->(), nullptr);
  EXPECT_EQ(folders.end().operator->(), nullptr);
}

TEST_F(Cmf, UnknownTableIsEmpty) {
  TableQuery<__aps_systemquarantine_folders, 99999> nothing;
  EXPECT_TRUE(nothing.begin() == nothing.end());
  EXPECT_EQ(cmf_query_update(nothing.query()), nullptr);
  EXPECT_EQ(cmf_query_index_of(nothing.query(), 1), -1);
  EXPECT_EQ(cmf_query_index_of_name(nothing.query(), "a"), -1);
  EXPECT_EQ(cmdb_find_root_entity(0, 99999), nullptr);
}

TEST_F(Cmf, FindChoosesById) {
  for (std::uint32_t id = 1; id <= 500; ++id) putFolder(id * 7, "f" + std::to_string(id));
  Folders folders;
  EXPECT_STREQ(find(folders, 7 * 321)->name, "f321");
  EXPECT_TRUE(find(folders, 8) == folders.end());
  EXPECT_TRUE(find(folders, 0) == folders.end());
}

TEST_F(Cmf, FindChoosesByNameExactInCase) {
  putFolder(1, "spam");
  putFolder(2, "Spam");
  Folders folders;
  EXPECT_EQ(find(folders, std::string("Spam"))->id, 2u);
  EXPECT_EQ(find(folders, std::string("spam")).index(), 0);
  EXPECT_TRUE(find(folders, std::string("SPAM")) == folders.end());
}

TEST_F(Cmf, RecordOfADomainIsNotTheSystems) {
  OwnedRecord record = Testing::defaults(GID_ANTISPAM_PROFILE);
  const std::uint32_t id = 77;
  record.as<__aps_gw_as_profile>()->id = id;
  boundedCopy(record.as<__aps_gw_as_profile>()->name, "strict");
  put(GID_ANTISPAM_PROFILE, record, 12);
  TableQuery<__aps_gw_as_profile, 456> system;
  TableQuery<__aps_gw_as_profile, 456> domain(12);
  EXPECT_TRUE(find(system, id) == system.end());
  EXPECT_TRUE(find(domain, id) != domain.end());
}

TEST_F(Cmf, DereferencingMovesTheQueryOnceAPosition) {
  putFolder(1, "one");
  putFolder(2, "two");
  Folders folders;
  auto at = folders.begin();
  ++at;
  EXPECT_EQ(folders.query()->current_row, -1);
  EXPECT_FALSE(cached(folders.query()));
  const auto* record = *at;
  EXPECT_EQ(folders.query()->current_row, 1);
  EXPECT_TRUE(cached(folders.query()));
  // The change in place is still there: the record was not read again.
  boundedCopy(const_cast<__aps_systemquarantine_folders*>(record)->name, "changed");
  EXPECT_EQ(*at, record);
  EXPECT_STREQ(at->name, "changed");
  // After a move to another row and back it is read again.
  EXPECT_STREQ(folders.begin()->name, "one");
  EXPECT_STREQ(at->name, "two");
}

TEST_F(Cmf, ClearedCacheBitReadsTheRowAnew) {
  putFolder(1, "one");
  putFolder(2, "two");
  Folders folders;
  EXPECT_STREQ(folders.begin()->name, "one");
  folders.query()->header[3] = 0x7f & ~CMF_QUERY_CACHED;
  folders.query()->current_row = 1;
  EXPECT_STREQ(
      static_cast<const __aps_systemquarantine_folders*>(cmf_query_update(folders.query()))->name,
      "two");
  EXPECT_EQ(folders.query()->header[3], 0xff);  // the other bits are the caller's
}

TEST_F(Cmf, PlacingOutsideTheTableStandsNowhere) {
  putFolder(1, "one");
  Folders folders;
  EXPECT_EQ(cmf_set_query_cache_st(folders.query(), 0, 0), 0);
  for (const int row : {1, -1, 1'000'000}) {
    SCOPED_TRACE(row);
    EXPECT_EQ(cmf_set_query_cache_st(folders.query(), 0, row), -1);
    EXPECT_EQ(folders.query()->current_row, -1);
    EXPECT_FALSE(cached(folders.query()));
    EXPECT_EQ(cmf_query_update(folders.query()), nullptr);
  }
}

TEST_F(Cmf, QueryKeepsItsRevision) {
  putFolder(1, "one");
  Folders before;
  EXPECT_EQ(before.size(), 1);
  const Revision revision = putFolder(2, "two");
  EXPECT_EQ(*Folders::iterator(before.query(), 1, 2), nullptr);
  {
    Folders nested;  // within the life of the first one
    EXPECT_EQ(nested.size(), 1);
  }
  std::thread([&] {
    Folders elsewhere;
    EXPECT_EQ(elsewhere.size(), 2);
    EXPECT_EQ(cmf_query_revision(elsewhere.query()), revision);
  }).join();
}

TEST_F(Cmf, ReadLocksNest) {
  putFolder(1, "one");
  cmf_shm_read_lock();
  {
    const Lock inner(true);
    putFolder(2, "two");
    EXPECT_THAT(names(), ElementsAre("one"));
  }
  EXPECT_THAT(names(), ElementsAre("one"));
  cmf_shm_read_unlock();
  EXPECT_THAT(names(), ElementsAre("one", "two"));
}

TEST_F(Cmf, UnlockWithoutALockIsIgnored) {
  cmf_shm_read_unlock();
  const Lock lock(true);
  putFolder(1, "one");
  EXPECT_TRUE(names().empty());
}

// ---- single records and single records of lists

TEST_F(Cmf, SettingsHoldTheirDefaultsUntilWritten) {
  const OwnedRecord expected = Testing::defaults(GID_MAIL_SERVER);
  {
    const ObjectQuery<__aps_mailserver, 617> settings;
    EXPECT_EQ(settings->smtp_port, expected.as<__aps_mailserver>()->smtp_port);
  }
  OwnedRecord changed = expected;
  changed.as<__aps_mailserver>()->smtp_port = 2525;
  put(GID_MAIL_SERVER, changed);
  const ObjectQuery<__aps_mailserver, 617> settings;
  EXPECT_EQ(settings->smtp_port, 2525u);
  TableQuery<__aps_mailserver, 617> asTable;
  EXPECT_EQ(asTable.size(), 1);
  EXPECT_EQ(asTable.begin()->smtp_port, 2525u);
  EXPECT_EQ((TableQuery<__aps_mailserver, 617>(3).size()), 0);
}

TEST_F(Cmf, ObjectQueryOfAListReadsItsFirstRecord) {
  const auto first = [] {
    const ObjectQuery<__aps_systemquarantine_folders, 1682> query;
    return *query == nullptr ? std::string("none") : std::string(query->name);
  };
  EXPECT_EQ(first(), "none");
  putFolder(9, "nine");
  putFolder(3, "three");
  EXPECT_EQ(first(), "nine");
}

TEST_F(Cmf, ObjectQueryByIdReadsThatRecordOrNone) {
  putFolder(9, "nine");
  putFolder(3, "three");
  EXPECT_STREQ((ObjectQueryById<__aps_systemquarantine_folders, 1682>(3))->name, "three");
  EXPECT_EQ(*(ObjectQueryById<__aps_systemquarantine_folders, 1682>(4)), nullptr);
  EXPECT_EQ(*(ObjectQueryById<__aps_systemquarantine_folders, 1682>(0)), nullptr);
}

TEST_F(Cmf, GetByIdPlacesTheQuery) {
  putFolder(9, "nine");
  putFolder(3, "three");
  Folders folders;
  EXPECT_EQ(cmf_query_do_get_by_gid(folders.query(), 3), 0);
  EXPECT_EQ(folders.query()->current_row, 1);
  EXPECT_TRUE(cached(folders.query()));
  EXPECT_EQ(cmf_query_do_get_by_gid(folders.query(), 4), -1);
  EXPECT_EQ(cmf_query_update(folders.query()), nullptr);
  TableQuery<__aps_mailserver, 617> single;
  EXPECT_EQ(cmf_query_do_get_by_gid(single.query(), 12345), 0);
}

// ---- the shared query

TEST_F(Cmf, SharedQueryIsOneATableAndThread) {
  cmf_query* mine = nCfg_query(1682);
  EXPECT_EQ(nCfg_query(1682), mine);
  EXPECT_NE(nCfg_query(617), mine);
  std::thread([&] { EXPECT_NE(nCfg_query(1682), mine); }).join();
  cmf_query_free(mine);  // no effect: the thread owns it
  EXPECT_EQ(cmf_query_do_table_size(nCfg_query(1682), 0), 0);
}

TEST_F(Cmf, SharedQueryPinsNothingBetweenCalls) {
  putFolder(1, "one");
  ASSERT_EQ(cmf_query_do_get_by_gid(nCfg_query(1682), 1), 0);
  const auto* record =
      static_cast<const __aps_systemquarantine_folders*>(cmf_query_update(nCfg_query(1682)));
  putFolder(1, "uno");
  putFolder(2, "two");
  EXPECT_STREQ(record->name, "one");  // a copy, valid until the query is requested again and read
  EXPECT_THAT(names(), ElementsAre("uno", "two"));
  record = static_cast<const __aps_systemquarantine_folders*>(cmf_query_update(nCfg_query(1682)));
  EXPECT_STREQ(record->name, "uno");
}

TEST_F(Cmf, SharedQueryStaysOnItsRecordWhenTheOrderChanges) {
  putFolder(1, "one");
  putFolder(2, "two");
  ASSERT_EQ(cmf_query_goto(nCfg_query(1682), 0), 0);
  ChangeSet changes;
  changes.order(GID_QUARANTINE_FOLDER, 0, {2, 1});
  store_->commit(std::move(changes));
  cmf_query* query = nCfg_query(1682);
  EXPECT_STREQ(static_cast<const __aps_systemquarantine_folders*>(cmf_query_update(query))->name,
               "one");
  EXPECT_EQ(query->current_row, 1);
  erase(GID_QUARANTINE_FOLDER, 1);
  EXPECT_EQ(cmf_query_update(nCfg_query(1682)), nullptr);
}

TEST_F(Cmf, SharedQueryFollowsTheThreadsDomain) {
  OwnedRecord record = Testing::defaults(GID_ANTISPAM_PROFILE);
  const std::uint32_t id = 5;
  record.as<__aps_gw_as_profile>()->id = id;
  boundedCopy(record.as<__aps_gw_as_profile>()->name, "strict");
  put(GID_ANTISPAM_PROFILE, record, 12);
  EXPECT_EQ(cmf_query_do_table_size(nCfg_query(456), 0), 0);
  cmf_set_cur_domain_id(12);
  EXPECT_EQ(cmf_query_do_table_size(nCfg_query(456), 0), 1);
  std::thread([] { EXPECT_EQ(cmf_query_do_table_size(nCfg_query(456), 0), 0); }).join();
  cmf_set_cur_domain_id(0);
  EXPECT_EQ(cmf_query_do_table_size(nCfg_query(456), 0), 0);
}

TEST_F(Cmf, SharedQueryNeverPlacedFindsTheFirstRecordOnceThereIsOne) {
  std::thread([&] {
    EXPECT_EQ(cmf_query_update(nCfg_query(1682)), nullptr);
    putFolder(4, "four");
    EXPECT_NE(cmf_query_update(nCfg_query(1682)), nullptr);
  }).join();
}

// ---- writing back

TEST_F(Cmf, CommitWritesTheChangedRecordBack) {
  putFolder(1, "one");
  putFolder(2, "two");
  Revision revision = store_->revision();
  {
    Folders folders;
    const auto found = find(folders, 2);
    boundedCopy(const_cast<__aps_systemquarantine_folders*>(*found)->name, "zwei");
    folders.commit();
  }
  EXPECT_EQ(store_->revision(), revision + 1);
  EXPECT_THAT(names(), ElementsAre("one", "zwei"));
}

TEST_F(Cmf, CommitWithoutAPositionWritesNothing) {
  putFolder(1, "one");
  const Revision revision = store_->revision();
  Folders folders;
  folders.commit();
  EXPECT_EQ(store_->revision(), revision);
}

TEST_F(Cmf, CommitOfAnErasedRecordDoesNotBringItBack) {
  putFolder(1, "one");
  putFolder(2, "two");
  ASSERT_EQ(cmf_query_goto(nCfg_query(1682), 0), 0);
  OwnedRecord copy = Testing::folderRecord(1, "changed");
  erase(GID_QUARANTINE_FOLDER, 1);
  EXPECT_EQ(cmf_query_do_gui_commit(0, nCfg_query(1682), copy.data(), 3), -1);
  EXPECT_THAT(names(), ElementsAre("two"));
}

TEST_F(Cmf, CommitAfterAnotherWritersChangeOfAnotherRecordSucceeds) {
  putFolder(1, "one");
  {
    Folders folders;
    boundedCopy(const_cast<__aps_systemquarantine_folders*>(*folders.begin())->name, "mine");
    putFolder(2, "two");
    folders.commit();
  }
  EXPECT_THAT(names(), ElementsAre("mine", "two"));
}

TEST_F(Cmf, CommitAfterAnotherWritersChangeOfTheRecordLeavesThatOne) {
  putFolder(1, "one");
  {
    Folders folders;
    boundedCopy(const_cast<__aps_systemquarantine_folders*>(*folders.begin())->name, "mine");
    putFolder(1, "theirs");
    folders.commit();
  }
  EXPECT_THAT(names(), ElementsAre("theirs"));
}

TEST_F(Cmf, CommitAfterAnotherWritersErasureDoesNotBringTheRecordBack) {
  putFolder(1, "one");
  {
    Folders folders;
    boundedCopy(const_cast<__aps_systemquarantine_folders*>(*folders.begin())->name, "mine");
    erase(GID_QUARANTINE_FOLDER, 1);
    folders.commit();
  }
  EXPECT_TRUE(names().empty());
}

TEST_F(Cmf, CommitNeedsData) {
  putFolder(1, "one");
  ASSERT_EQ(cmf_query_goto(nCfg_query(1682), 0), 0);
  EXPECT_EQ(cmf_query_do_gui_commit(0, nCfg_query(1682), nullptr, 3), -1);
}

TEST_F(Cmf, CommitOfABadRecordIsLoggedAndChangesNothing) {
  OwnedRecord map = Testing::defaults(GID_ADDRESS_MAP);
  map.as<__aps_vip_map>()->id = 4;
  boundedCopy(map.as<__aps_vip_map>()->name, "map");
  put(GID_ADDRESS_MAP, map);
  std::vector<std::uint32_t> codes;
  const auto capture = Logger::instance().capture(
      [&](const Logger::Message& message) { codes.push_back(message.code); });
  ASSERT_EQ(cmf_query_goto(nCfg_query(1418), 0), 0);
  __aps_vip_map bad = *map.as<__aps_vip_map>();
  bad.entry_count = 3;
  bad.entries = nullptr;
  EXPECT_EQ(cmf_query_do_gui_commit(0, nCfg_query(1418), &bad, 3), -1);
  EXPECT_THAT(codes, ElementsAre(0x4000301u));
}

// ---- root entities

TEST_F(Cmf, EntitiesTellSettingsFromLists) {
  const auto kind = [](unsigned int gid) -> int {
    const unsigned int* root = cmdb_find_root_entity(0, gid);
    return root == nullptr ? -1 : *static_cast<const unsigned char*>(cmf_ptr_from_shmid(*root, 0));
  };
  for (const Config::Table& table : Config::tables()) {
    SCOPED_TRACE(std::string(table.key));
    EXPECT_EQ(kind(table.gid), table.scope == Config::Scope::kSystemSingle ? 2 : 1);
  }
}

TEST_F(Cmf, ObjectOfAListThrows) {
  try {
    const Object<__aps_systemquarantine_folders, 1682> wrong;
    FAIL() << "no exception";
  } catch (const Exception& failure) {
    EXPECT_EQ(failure.code(), 2);
    EXPECT_EQ(failure.line(), 116);
  }
  putFolder(1, "one");
  EXPECT_THAT(names(), ElementsAre("one"));  // the read lock was released
}

TEST_F(Cmf, ObjectOfADomainIsMissing) {
  const Object<__aps_mail_disclaimer, 17> object(5);
  EXPECT_EQ(*object, nullptr);
}

TEST_F(Cmf, ObjectShowsTheNewestRecord) {
  const Object<__aps_mail_disclaimer, 17> object;
  EXPECT_STREQ(object->first_text, "");
  OwnedRecord changed = Testing::defaults(GID_MAIL_DISCLAIMER);
  boundedCopy(changed.as<__aps_mail_disclaimer>()->first_text, "confidential");
  const __aps_mail_disclaimer* before = *object;
  putFolder(1, "unrelated");
  EXPECT_EQ(*object, before);  // read again only after a change of its table
  put(GID_MAIL_DISCLAIMER, changed);
  EXPECT_STREQ(object->first_text, "confidential");
  {
    const Lock lock(true);
    boundedCopy(changed.as<__aps_mail_disclaimer>()->first_text, "secret");
    put(GID_MAIL_DISCLAIMER, changed);
    EXPECT_STREQ(object->first_text, "confidential");
  }
  EXPECT_STREQ(object->first_text, "secret");
}

// ---- the process

TEST_F(Cmf, ZoneIsTheAttachedStores) {
  EXPECT_EQ(nCfg_debug_zone, store_->status().zone());
  ConfigStore::detach();
  EXPECT_NE(nCfg_debug_zone, store_->status().zone());
}

TEST_F(Cmf, SharedQueryFollowsAnotherStore) {
  putFolder(1, "one");
  ASSERT_EQ(cmf_query_goto(nCfg_query(1682), 0), 0);
  const Testing::Folder second;
  ConfigStore::detach();
  ConfigStore::attach(ConfigStore::open(second.path() / "store"));
  EXPECT_EQ(cmf_query_update(nCfg_query(1682)), nullptr);
  EXPECT_EQ(cmf_query_do_table_size(nCfg_query(1682), 0), 0);
}

TEST_F(Cmf, StoreThatCannotBeReadIsAnEmptyTable) {
  putFolder(1, "one");
  const pid_t child = ::fork();
  if (child == 0) {
    // The store is the parent's: every use fails.
    Logger::instance().threshold(Logger::Severity::kError);
    const auto quiet = Logger::instance().capture([](const Logger::Message&) {});
    Folders folders;
    const bool empty = folders.size() == -1 && folders.begin() == folders.end() &&
                       find(folders, 1) == folders.end();
    const ObjectQuery<__aps_mailserver, 617> settings;
    ::_exit(empty && *settings == nullptr ? 42 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 42);
}

}  // namespace
}  // namespace Kestrav::CMF

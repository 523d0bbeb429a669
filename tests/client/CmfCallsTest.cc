// Which plain functions of the store the typed access layer calls, and in which order. This program
// supplies these functions itself and records each call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "config/CMF.h"

using testing::ElementsAre;
using testing::IsEmpty;

struct Row {
  unsigned int id;
  char name[12];
};
struct __aps_systemquarantine_folders {
  unsigned int id;
  char name[12];
};

namespace {

// The store's side. A null handle comes from a store that cannot make a query.
struct World {
  std::vector<std::string> calls;
  std::vector<int> sizes{0};  // answers of successive size requests; the last one repeats
  std::size_t sizeRequests = 0;
  std::vector<Row> rows;
  bool failCreate = false;
  bool failGoto = false;
  bool missingSharedQuery = false;
  bool dataOfQueryIsNull = false;
  cmf_query shared{{0, 0, 0, 0}, -1};
  unsigned int root = 7;
  bool haveRoot = true;
  unsigned char entity[8] = {CMDB_SHM_T_OBJ};
  Row object{3, "object"};
  int locks = 0;

  void say(std::string call) { calls.push_back(std::move(call)); }
};
World* world;

std::string number(long value) {
  return std::to_string(value);
}

}  // namespace

unsigned int cmdb = 0;
char* nCfg_debug_zone = nullptr;

cmf_query* cmf_query_create_withdomain(ngid_t domain, unsigned int gid) {
  world->say("create " + number(domain) + " " + number(gid));
  return world->failCreate ? nullptr : new cmf_query{{0, 0, 0, 0}, -1};
}
void cmf_query_free(cmf_query* query) {
  world->say("free");
  delete query;
}
int cmf_query_do_table_size(cmf_query*, int unused) {
  world->say("size " + number(unused));
  const std::size_t at = std::min(world->sizeRequests++, world->sizes.size() - 1);
  return world->sizes[at];
}
int cmf_set_query_cache_st(cmf_query* query, int unused, int index) {
  const bool cached = (query->header[3] & CMF_QUERY_CACHED) != 0;
  world->say("position " + number(unused) + " " + number(index) + " row " +
             number(query->current_row) + (cached ? " cached" : " uncached"));
  query->header[3] |= CMF_QUERY_CACHED;
  return 0;
}
const void* cmf_query_update(cmf_query* query) {
  world->say("update");
  const auto at = static_cast<std::size_t>(query->current_row);
  return at < world->rows.size() ? &world->rows[at] : nullptr;
}
int cmf_query_do_get_by_gid(cmf_query*, unsigned int id) {
  world->say("by id " + number(id));
  return 0;
}
int cmf_query_index_of(cmf_query*, unsigned int id) {
  for (std::size_t at = 0; at < world->rows.size(); ++at) {
    if (world->rows[at].id == id) return static_cast<int>(at);
  }
  return -1;
}
int cmf_query_index_of_name(cmf_query*, const char* name) {
  for (std::size_t at = 0; at < world->rows.size(); ++at) {
    if (std::strcmp(world->rows[at].name, name) == 0) return static_cast<int>(at);
  }
  return -1;
}
cmf_query* nCfg_query(unsigned int gid) {
  world->say("shared " + number(gid));
  return world->missingSharedQuery ? nullptr : &world->shared;
}
void cmf_set_cur_domain_id(ngid_t domain) {
  world->say("domain " + number(domain));
}
int cmf_query_goto(cmf_query* query, int index) {
  world->say(std::string("goto ") + (query == &world->shared ? "shared " : "other ") +
             number(index));
  return world->failGoto ? -1 : 0;
}
void* cmf_query_data(cmf_query* query) {
  const bool shared = query == &world->shared;
  world->say(shared ? "data shared" : "data");
  return !shared && world->dataOfQueryIsNull ? nullptr : &world->rows.at(shared ? 1 : 0);
}
int cmf_query_do_gui_commit(int unused, cmf_query* query, void* data, int mode) {
  world->say("commit " + number(unused) + (query == &world->shared ? " shared " : " other ") +
             static_cast<Row*>(data)->name + " mode " + number(mode));
  return 0;
}
void cmf_shm_read_lock() {
  world->say("lock");
  ++world->locks;
}
void cmf_shm_read_unlock() {
  world->say("unlock");
  --world->locks;
}
const unsigned int* cmdb_find_root_entity(ngid_t domain, unsigned int id) {
  world->say("root " + number(domain) + " " + number(id));
  return world->haveRoot ? &world->root : nullptr;
}
void* cmf_ptr_from_shmid(unsigned int shmid, int unused) {
  world->say("pointer " + number(shmid) + " " + number(unused));
  return world->entity;
}
const void* cmf_get_obj_data(void*) {
  world->say("object data");
  return &world->object;
}

namespace Kestrav::CMF {
namespace {

class CmfCalls : public testing::Test {
 protected:
  CmfCalls() {
    world = &world_;
    cmdb = 0;
  }
  void rows(int count) {
    for (int at = 0; at < count; ++at) {
      Row& row = world_.rows.emplace_back(Row{static_cast<unsigned int>(at + 100), {}});
      ("row" + number(at)).copy(row.name, sizeof row.name - 1);
    }
    world_.sizes = {count};
  }
  void forget() { world_.calls.clear(); }

  World world_;
  std::vector<std::string>& calls_ = world_.calls;
};

using Table = TableQuery<Row, 456>;

template <class Query>
constexpr bool kIsNonCopyable =
    std::is_base_of_v<NonCopyable, Query> && !std::is_copy_constructible_v<Query> &&
    !std::is_copy_assignable_v<Query>;
static_assert(kIsNonCopyable<Table>);
static_assert(kIsNonCopyable<ObjectQuery<Row, 732>>);
static_assert(kIsNonCopyable<ObjectQueryById<Row, 1511>>);
static_assert(!std::is_copy_constructible_v<Lock> && !std::is_copy_assignable_v<Lock>);
static_assert(std::has_virtual_destructor_v<Table>);
static_assert(std::has_virtual_destructor_v<_iterator<Row>>);
static_assert(std::has_virtual_destructor_v<Object<Row, 17>>);
static_assert(std::is_base_of_v<_iterator<Row>, Table::iterator>);
static_assert(sizeof(Table::iterator) == sizeof(_iterator<Row>), "the name adds nothing");

TEST_F(CmfCalls, TableQueryIsMadeForItsDomainAndFreed) {
  { Table table(12); }
  EXPECT_THAT(calls_, ElementsAre("create 12 456", "free"));
}

TEST_F(CmfCalls, DomainIsTheSystemByDefault) {
  const TableQuery<Row, GID_ANTISPAM_PROFILE> table;
  EXPECT_EQ(table.domain(), 0u);
}

TEST_F(CmfCalls, SizeIsAskedOnce) {
  rows(3);
  Table table;
  forget();
  EXPECT_EQ(table.size(), 3);
  EXPECT_EQ(table.size(), 3);
  EXPECT_THAT(calls_, ElementsAre("size 0"));
}

TEST_F(CmfCalls, SizeIsAskedOnceMoreAfterAFailure) {
  world_.sizes = {-1, 5};
  Table table;
  forget();
  EXPECT_EQ(table.size(), 5);
  EXPECT_THAT(calls_, ElementsAre("size 0", "size 0"));
}

TEST_F(CmfCalls, OtherNegativeSizesAreKept) {
  world_.sizes = {-2, 5};
  Table table;
  EXPECT_EQ(table.size(), -2);
  EXPECT_EQ(table.size(), -2);
  EXPECT_TRUE(table.begin() == table.end());
}

TEST_F(CmfCalls, SizeThatFailsTwiceIsAnEmptyTable) {
  world_.sizes = {-1};
  Table table;
  EXPECT_EQ(table.size(), -1);
  EXPECT_EQ(table.begin().index(), -1);
  EXPECT_EQ(table.end().index(), -1);
  EXPECT_TRUE(table.begin() == table.end());
  EXPECT_TRUE(find(table, 100) == table.end());
  EXPECT_EQ(*table.begin(), nullptr);
}

TEST_F(CmfCalls, QueryThatCannotBeMadeIsAnEmptyTable) {
  world_.failCreate = true;
  world_.sizes = {-1};
  Table table;
  EXPECT_TRUE(table.begin() == table.end());
  EXPECT_TRUE(find(table, 100) == table.end());
}

TEST_F(CmfCalls, CommitOfAQueryThatCannotBeMadeWritesNothing) {
  world_.failCreate = true;
  world_.failGoto = true;
  Table table;
  forget();
  table.commit();
  EXPECT_THAT(calls_, ElementsAre("domain 0", "shared 456", "goto shared -1"));
}

TEST_F(CmfCalls, EmptyTableHasNoPositions) {
  Table table;
  EXPECT_EQ(table.begin().index(), -1);
  EXPECT_TRUE(table.begin() == table.end());
  EXPECT_EQ(table.begin().operator->(), nullptr);
  EXPECT_EQ(table.end().operator->(), nullptr);
  auto at = table.begin();
  ++at;
  EXPECT_EQ(at.index(), -1);
}

TEST_F(CmfCalls, WalkVisitsEveryRecordAndArrivesAtTheEnd) {
  rows(4);
  Table table;
  std::vector<unsigned int> seen;
  auto at = table.begin();
  for (; at != table.end(); ++at) seen.push_back(at->id);
  EXPECT_THAT(seen, ElementsAre(100, 101, 102, 103));
  EXPECT_EQ(at.index(), 4);
  ++at;
  EXPECT_EQ(at.index(), 4);
  EXPECT_EQ(*at, nullptr);
}

TEST_F(CmfCalls, StepFromNoPositionGoesToTheFirstRecord) {
  rows(2);
  Table table;
  Table::iterator at(table.query(), -1, 2);
  EXPECT_EQ(*at, nullptr);
  ++at;
  EXPECT_EQ(at.index(), 0);
}

TEST_F(CmfCalls, StepInATableOfNegativeSizeLeadsNowhere) {
  Table table;
  Table::iterator at(table.query(), 3, -1);
  ++at;
  EXPECT_EQ(at.index(), -1);
}

TEST_F(CmfCalls, RecordsOutsideTheCountReadAsNull) {
  rows(4);
  Table table;
  forget();
  EXPECT_EQ(*Table::iterator(table.query(), 2, 2), nullptr);
  EXPECT_EQ(*Table::iterator(table.query(), 0, 0), nullptr);
  EXPECT_EQ(*Table::iterator(table.query(), -1, 4), nullptr);
  EXPECT_EQ(*Table::iterator(table.query(), 0, -4), nullptr);
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(CmfCalls, DereferencingMovesTheQueryOnceAPosition) {
  rows(3);
  Table table;
  auto at = table.begin();
  ++at;
  table.query()->header[3] = 0xff;
  forget();
  EXPECT_STREQ(at->name, "row1");
  EXPECT_STREQ((*at)->name, "row1");
  EXPECT_THAT(calls_, ElementsAre("position 0 1 row 1 uncached", "update", "update"));
  EXPECT_EQ(table.query()->header[3], 0xff);  // the other bits stay
}

TEST_F(CmfCalls, TwoPositionsOfOneQueryMoveItBackAndForth) {
  rows(2);
  Table table;
  auto first = table.begin();
  auto second = table.begin();
  ++second;
  EXPECT_EQ(first->id, 100u);
  EXPECT_EQ(second->id, 101u);
  EXPECT_EQ(first->id, 100u);
}

TEST_F(CmfCalls, PositionsAreEqualByQueryAndIndex) {
  rows(2);
  Table one;
  Table other;
  EXPECT_TRUE(one.begin() == one.begin());
  EXPECT_FALSE(one.begin() != one.begin());
  EXPECT_TRUE(one.begin() != one.end());
  EXPECT_TRUE(one.begin() != other.begin());
  EXPECT_TRUE(Table::iterator(one.query(), 1, 2) == Table::iterator(one.query(), 1, 9));
}

TEST_F(CmfCalls, FindByIdGivesThePositionWithoutMovingTheQuery) {
  rows(3);
  Table table;
  auto found = find(table, 102);
  EXPECT_EQ(found.index(), 2);
  EXPECT_EQ(table.query()->current_row, -1);
  EXPECT_STREQ(found->name, "row2");
  EXPECT_TRUE(find(table, 99) == table.end());
}

TEST_F(CmfCalls, FindByNameServesTheQuarantineFolders) {
  rows(3);
  TableQuery<__aps_systemquarantine_folders, 1682> folders;
  EXPECT_EQ(find(folders, std::string("row1"))->id, 101u);
  EXPECT_EQ(find(folders, 102)->id, 102u);
  EXPECT_TRUE(find(folders, std::string("Row1")) == folders.end());
}

TEST_F(CmfCalls, CommitWritesTheRecordAtThePosition) {
  rows(3);
  Table table(5);
  EXPECT_EQ(Table::iterator(table.query(), 2, 3)->id, 102u);
  forget();
  table.commit();
  EXPECT_THAT(calls_, ElementsAre("domain 5", "shared 456", "goto shared 2", "data", "shared 456",
                                  "commit 0 shared row0 mode 3"));
}

TEST_F(CmfCalls, CommitModeFollowsTheFlagWord) {
  rows(3);
  Table table;
  const struct {
    unsigned int flags;
    const char* call;
  } cases[] = {{0x4, "commit 0 shared row0 mode 1"},
               {0xff, "commit 0 shared row0 mode 1"},
               {0xfb, "commit 0 shared row0 mode 3"},
               {0x2, "commit 0 shared row0 mode 3"}};
  for (const auto& test : cases) {
    SCOPED_TRACE(test.flags);
    cmdb = test.flags;
    table.commit();
    EXPECT_EQ(calls_.back(), test.call);
  }
}

TEST_F(CmfCalls, CommitStopsWhenThePositionIsGone) {
  rows(3);
  world_.failGoto = true;
  Table table;
  forget();
  table.commit();
  EXPECT_THAT(calls_, ElementsAre("domain 0", "shared 456", "goto shared -1"));
}

TEST_F(CmfCalls, CommitStopsWithoutASharedQuery) {
  rows(3);
  world_.missingSharedQuery = true;
  Table table;
  forget();
  table.commit();
  EXPECT_THAT(calls_, ElementsAre("domain 0", "shared 456", "goto other -1", "data", "shared 456"));
}

TEST_F(CmfCalls, CommitTakesTheSharedQuerysRecordWhenItsOwnHasNone) {
  rows(3);
  world_.dataOfQueryIsNull = true;
  Table table;
  forget();
  table.commit();
  EXPECT_THAT(calls_, ElementsAre("domain 0", "shared 456", "goto shared -1", "data", "shared 456",
                                  "data shared", "commit 0 shared row1 mode 3"));
}

TEST_F(CmfCalls, LockIsTakenOnceAndReleasedWhenItGoes) {
  {
    Lock lock;
    EXPECT_FALSE(lock.held());
    lock.acquire();
    lock.acquire();
    EXPECT_TRUE(lock.held());
  }
  { Lock never; }
  {
    Lock early(true);
    early.release();
  }
  EXPECT_THAT(calls_, ElementsAre("lock", "unlock", "lock", "unlock"));
}

TEST_F(CmfCalls, ObjectQueryReadsWithoutPositioning) {
  rows(1);
  {
    ObjectQuery<Row, 732> query;
    query.query()->current_row = 0;
    EXPECT_EQ((*query)->id, 100u);
    EXPECT_EQ(query->id, 100u);
    EXPECT_EQ(query.update()->id, 100u);
  }
  EXPECT_THAT(calls_, ElementsAre("create 0 732", "update", "update", "update", "free"));
}

TEST_F(CmfCalls, ObjectQueryByIdPositionsWhenItIsMade) {
  {
    ObjectQueryById<Row, 1511> query(42);
    EXPECT_EQ(query.id(), 42u);
    EXPECT_EQ(query.update(), nullptr);
  }
  EXPECT_THAT(calls_, ElementsAre("create 0 1511", "by id 42", "update", "free"));
}

TEST_F(CmfCalls, ObjectQueryByIdOfIdZeroNamesNoRecord) {
  rows(1);
  ObjectQueryById<Row, 1511> query(0);
  EXPECT_EQ(*query, nullptr);
  EXPECT_THAT(calls_, ElementsAre("create 0 1511"));
}

TEST_F(CmfCalls, ObjectQueryByIdSurvivesAQueryThatCannotBeMade) {
  world_.failCreate = true;
  { const ObjectQueryById<Row, 1511> query(42); }
  EXPECT_THAT(calls_, ElementsAre("create 0 1511", "free"));
}

TEST_F(CmfCalls, ObjectReadsItsEntityUnderTheLock) {
  const Object<Row, 17> object;
  EXPECT_THAT(calls_, ElementsAre("lock", "root 0 17", "pointer 7 0", "unlock"));
  forget();
  EXPECT_STREQ((*object)->name, "object");
  EXPECT_THAT(calls_, ElementsAre("lock", "object data", "unlock"));
}

TEST_F(CmfCalls, ObjectReadsWithoutTheLockWhenTold) {
  Object<Row, 17> object(9);
  EXPECT_TRUE(object.lockWhileReading());
  object.lockWhileReading(false);
  forget();
  EXPECT_STREQ(object->name, "object");
  EXPECT_THAT(calls_, ElementsAre("object data"));
  EXPECT_EQ(object.domain(), 9u);
}

TEST_F(CmfCalls, MissingObjectReadsAsNull) {
  world_.haveRoot = false;
  const Object<Row, 17> object;
  EXPECT_EQ(*object, nullptr);
  EXPECT_THAT(calls_, ElementsAre("lock", "root 0 17", "unlock", "lock", "unlock"));
}

TEST_F(CmfCalls, ObjectOfTheWrongKindThrowsWithTheLockReleased) {
  for (const unsigned char kind : {0, 1, 3, 255}) {
    SCOPED_TRACE(static_cast<int>(kind));
    world_.entity[0] = kind;
    try {
      const Object<Row, 456> object;
      FAIL() << "no exception";
    } catch (const Exception& failure) {
      EXPECT_EQ(world_.locks, 0);
      EXPECT_EQ(failure.message(), "CMF::Object<T,ID>");
      EXPECT_EQ(failure.code(), 2);
      EXPECT_EQ(failure.file(), "config/CMF");
      EXPECT_EQ(failure.line(), 116);
      EXPECT_EQ(failure.stringParameter(), "Entity is not a CMDB_SHM_T_OBJ");
    }
  }
}

}  // namespace
}  // namespace Kestrav::CMF

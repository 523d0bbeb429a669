// What the journal holds of each revision, and for how long.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include "Child.h"
#include "RawStore.h"
#include "StoreRecords.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/store/Keys.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
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

// Like a handler that waits for a lock under which another thread begins to read, while a third one
// makes the map grow: all of them wait forever unless the journal ends its transaction first.
TEST_F(Journal, LetsTheMapGrowWhileItsVisitorWaits) {
  ConfigStore::Options options;
  options.initialMapSize = 1u << 20;
  options.resizePatienceMs = 600'000;
  const auto store = ConfigStore::open(folder_ / "store", options);
  commitEntries(*store, 3);
  int visited = 0;
  EXPECT_TRUE(store->journal(0, 1, [&](const JournalEntry& entry) {
    if (visited++ == 0) std::thread([&] { EXPECT_EQ(fillWithNoise(*store, 10'000), 2u); }).join();
    EXPECT_EQ(entry.revision, 1u);
    EXPECT_EQ(revisionSeenByAnotherThread(*store), 2u);
  }));
  EXPECT_EQ(visited, 3);
  EXPECT_GT(store->statistics().mapBytes, std::size_t{1} << 20);
}

TEST_F(Journal, LetsItsVisitorCommitAndGrowTheMap) {
  ConfigStore::Options options;
  options.initialMapSize = 1u << 20;
  options.resizePatienceMs = 600'000;
  const auto store = ConfigStore::open(folder_ / "store", options);
  commitEntries(*store, 1);
  EXPECT_TRUE(store->journal(0, 1, [&](const JournalEntry&) { fillWithNoise(*store, 10'000); }));
  EXPECT_EQ(store->revision(), 2u) << "and what it adds is not visited";
}

TEST_F(Journal, GivesLongRevisionsWholeAndInOrder) {
  const auto store = open(100'000, 1'000'000);
  fillWithNoise(*store, 20'000);  // several times what is copied at once
  putAll(*store, {1});
  std::uint32_t next = 1000;
  std::vector<Revision> revisions;
  EXPECT_TRUE(store->journal(0, 2, [&](const JournalEntry& entry) {
    revisions.push_back(entry.revision);
    if (entry.revision == 1) {
      EXPECT_EQ(entry.id, next++);
    }
  }));
  EXPECT_EQ(next, 21'000u);
  ASSERT_THAT(revisions, SizeIs(20'001));
  EXPECT_EQ(revisions.back(), 2u);
}

TEST_F(Journal, SaysWhenItWasCutUnderItsReader) {
  const auto store = open(10, 30'000);
  fillWithNoise(*store, 20'000);
  std::size_t visited = 0;
  EXPECT_FALSE(store->journal(0, 1, [&](const JournalEntry&) {
    if (visited++ == 0)
      commitEntries(*store, 12);  // no process is registered: revision 1 is cut off
  }));
  EXPECT_GT(visited, 0u);
  EXPECT_LT(visited, 20'000u);
  EXPECT_TRUE(reaches(*store, 1));
}

TEST_F(Journal, IsNotMissedWhenOnlyWhatWasVisitedIsCut) {
  const auto store = open(10, 30);
  commitEntries(*store, 12);
  std::size_t visited = 0;
  EXPECT_TRUE(store->journal(0, 1, [&](const JournalEntry&) {
    if (visited++ == 0) commitEntries(*store, 12);
  }));
  EXPECT_EQ(visited, 12u);
  EXPECT_FALSE(reaches(*store, 0));
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

// ---- Heads.

TEST_F(Journal, SaysWhoCommittedARevisionAndWhen) {
  const auto store = open(10, 100);
  const auto now = [] { return std::chrono::system_clock::now(); };
  const auto before = now();
  commitEntries(*store, 3);
  const auto after = now();
  commitEntries(*store, 2);
  const auto head = store->head(1);
  ASSERT_TRUE(head);
  EXPECT_EQ(head->revision, 1u);
  EXPECT_EQ(head->changes, 3u);
  EXPECT_GE(head->time, std::chrono::floor<std::chrono::microseconds>(before));
  EXPECT_LE(head->time, after);
  EXPECT_EQ(head->uid, ::getuid());
  const passwd* user = ::getpwuid(::getuid());
  EXPECT_EQ(head->user, user != nullptr ? user->pw_name : "");
  EXPECT_EQ(head->origin, "");
  EXPECT_EQ(head->originRevision, 0u);
  EXPECT_EQ(store->head(2)->changes, 2u);
  EXPECT_GE(store->head(2)->time, head->time);
  EXPECT_FALSE(store->head(0));
  EXPECT_FALSE(store->head(3));
}

TEST_F(Journal, HeadsGoWithTheirRevisions) {
  const auto store = open(10, 100);
  for (int i = 0; i < 10; ++i) commitEntries(*store, 3);
  EXPECT_FALSE(store->head(6));
  EXPECT_TRUE(store->head(7));
}

// ---- Places.

// Entries of the newest revision as "id nextBefore nextAfter", '-' for none.
std::vector<std::string> placesOf(ConfigStore& store) {
  std::vector<std::string> lines;
  const auto text = [](const std::optional<std::uint32_t>& next) {
    return next ? std::to_string(*next) : "-";
  };
  EXPECT_TRUE(store.journal(store.revision() - 1, store.revision(), [&](const JournalEntry& entry) {
    lines.push_back(std::to_string(entry.id) + " " + text(entry.nextBefore) + " " +
                    text(entry.nextAfter));
  }));
  return lines;
}

TEST_F(Journal, SaysWhatFollowedEachRecordThatCameWentOrMoved) {
  const Item changed = item(2, "changed");
  const Item nine = item(9, "9");
  const Item ten = item(10, "10");
  const Item three = item(3, "3");
  const struct {
    const char* what;
    std::function<void(ChangeSet&)> change;  // of 1 2 3 4
    std::vector<std::string> places;
  } cases[] = {
      {"added at the end", [&](ChangeSet& set) { set.put(kItems, 0, &nine); }, {"9 - 0"}},
      {"added before another",
       [&](ChangeSet& set) { set.putBefore(kItems, 0, &nine, 2); },
       {"9 - 2"}},
      {"two added",
       [&](ChangeSet& set) {
         set.put(kItems, 0, &nine);
         set.put(kItems, 0, &ten);
       },
       {"9 - 10", "10 - 0"}},
      {"changed in its place", [&](ChangeSet& set) { set.put(kItems, 0, &changed); }, {"2 - -"}},
      {"moved", [&](ChangeSet& set) { set.putBefore(kItems, 0, &three, 1); }, {"3 4 1"}},
      {"moved to the end", [&](ChangeSet& set) { set.putBefore(kItems, 0, &three, 0); }, {"3 4 0"}},
      {"moved and changed",
       [&](ChangeSet& set) { set.putBefore(kItems, 0, &changed, 0); },
       {"2 3 0"}},
      {"erased", [&](ChangeSet& set) { set.erase(kItems, 0, 2); }, {"2 3 -"}},
      {"the last one erased", [&](ChangeSet& set) { set.erase(kItems, 0, 4); }, {"4 0 -"}},
      {"neighbours erased, the later one first",
       [&](ChangeSet& set) {
         set.erase(kItems, 0, 3);
         set.erase(kItems, 0, 2);
       },
       {"3 4 -", "2 3 -"}},
      {"all erased",
       [&](ChangeSet& set) { set.order(kItems, 0, {}); },
       {"1 2 -", "2 3 -", "3 4 -", "4 0 -"}},
      {"the last one exchanged",
       [&](ChangeSet& set) {
         set.put(kItems, 0, &nine);
         set.erase(kItems, 0, 4);
       },
       {"9 - 0", "4 0 -"}},
      {"one put where one was erased",
       [&](ChangeSet& set) {
         set.putBefore(kItems, 0, &nine, 3);
         set.erase(kItems, 0, 2);
       },
       {"9 - 3", "2 3 -"}},
      {"erased and put again",
       [&](ChangeSet& set) {
         set.erase(kItems, 0, 3);
         set.put(kItems, 0, &three);
       },
       {"3 4 0"}},
  };
  const auto store = open(1000, 1000);
  for (const auto& [what, change, places] : cases) {
    SCOPED_TRACE(what);
    ChangeSet nothing;
    nothing.order(kItems, 0, {});
    store->commit(std::move(nothing));
    putAll(*store, {1, 2, 3, 4});
    ChangeSet set;
    change(set);
    store->commit(std::move(set));
    EXPECT_EQ(placesOf(*store), places);
  }
}

// When no room is left between two rows, the rows of the table get new positions.
TEST_F(Journal, PlacesDoNotDependOnTheRowsPositions) {
  const auto store = open(1000, 1000);
  putAll(*store, {1, 2});
  std::uint32_t id = 3;
  for (; id < 100; ++id) {
    const Item record = item(id, "x");
    ChangeSet set;
    set.putBefore(kItems, 0, &record, 2);
    if (id % 3 == 0) set.erase(kItems, 0, id - 2);
    store->commit(std::move(set));
    SCOPED_TRACE(id);
    if (id % 3 != 0) {
      EXPECT_THAT(placesOf(*store), ElementsAre(std::to_string(id) + " - 2"));
    } else if (id > 3) {
      EXPECT_THAT(placesOf(*store),
                  ElementsAre(std::to_string(id) + " - 2",
                              std::to_string(id - 2) + " " + std::to_string(id - 1) + " -"));
    }
  }
}

TEST_F(Journal, SingleRecordsHaveNoPlace) {
  const auto store = open(10, 100);
  __aps_sys_global settings{};
  reinterpret_cast<char*>(&settings)[0] = 1;
  ChangeSet set;
  set.put(GID_SYSTEM_GLOBAL, 0, &settings);
  store->commit(std::move(set));
  EXPECT_THAT(placesOf(*store), ElementsAre("0 - -"));
}

// ---- Damage.

TEST_F(Journal, EndsAtAnEntryThatCannotBeRead) {
  {
    const auto store = open(100, 100);
    commitEntries(*store, 3);
    commitEntries(*store, 3);
  }
  RawStore(folder_ / "store")
      .put("journal",
           {{std::string(journalKey(2, 2)), "damage"}, {std::string(journalKey(1, 0)), "damage"}});
  std::vector<std::string> logged;
  const auto token = Logger::instance().capture([&logged](const Logger::Message& message) {
    EXPECT_EQ(message.code, LogCode::kStoreRecordSkipped);
    logged.push_back(message.fields.at(0) + " " + message.fields.at(1) + " " +
                     message.fields.at(2));
  });
  const auto store = open(100, 100);
  EXPECT_TRUE(store->journal(0, 1, [](const JournalEntry&) {}));
  EXPECT_THAT(logged, IsEmpty());
  std::vector<Revision> revisions;
  EXPECT_FALSE(store->journal(
      0, 2, [&revisions](const JournalEntry& entry) { revisions.push_back(entry.revision); }));
  EXPECT_THAT(revisions, ElementsAre(1, 1, 1, 2));
  EXPECT_THAT(logged, ElementsAre("journal 2 revision 2 has damaged bytes"));
  EXPECT_FALSE(store->head(1));
  EXPECT_EQ(logged.back(), "journal 0 revision 1 has damaged bytes");
  EXPECT_TRUE(store->head(2));
}

}  // namespace
}  // namespace Kestrav::Config

// Delivery of changes to handlers.
#include "config/Event.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "config/CMF.h"
#include "config/ClientSideCache.h"
#include "platform/common/Logger.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/store/StatusFile.h"
#include "tests/client/Listening.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace Kestrav::CMF::Event {
namespace {

using Testing::ChangeSet;
using Testing::codeOf;
using Testing::ConfigStore;
using Testing::dispatcher;
using Testing::FolderHandler;
using Testing::KeyedHandler;
using Testing::kForeverMs;
using Testing::Notes;
using Testing::OwnedRecord;
using Testing::Registered;
using Testing::Revision;

class Events : public Testing::StoreTest {
 protected:
  using StoreTest::StoreTest;
  Notes notes_;
};

TEST_F(Events, HandlerSeesAdditionsModificationsAndErasures) {
  const Registered handler(new FolderHandler(notes_, "h"));
  putFolder(1, "one");
  putFolder(1, "uno");
  applied(erase(GID_QUARANTINE_FOLDER, 1));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "h: 0 one>uno", "h: 0 uno>-"));
}

TEST_F(Events, HandlerSeesOnlyItsTable) {
  const Registered handler(new FolderHandler(notes_, "h"));
  put(GID_MAIL_SERVER, Testing::defaults(GID_MAIL_SERVER));
  applied(put(GID_PROTECTED_DOMAIN, Testing::domainRecord(1, "a.example")));
  EXPECT_THAT(notes_.all(), IsEmpty());
}

TEST_F(Events, ChangesOfOneRevisionComeInTheOrderOfItsJournal) {
  const Registered handler(new FolderHandler(notes_, "h"));
  ChangeSet changes;
  for (const std::uint32_t id : {3, 1, 2}) {
    changes.put(GID_QUARANTINE_FOLDER, 0, Testing::folderRecord(id, std::to_string(id)).data());
  }
  std::vector<std::string> expected;
  const Revision revision = store_->commit(std::move(changes));
  store_->journal(revision - 1, revision, [&](const Config::JournalEntry& entry) {
    expected.push_back("h: 0 ->" + std::to_string(entry.id));
  });
  applied(revision);
  EXPECT_EQ(expected.size(), 3u);
  EXPECT_EQ(notes_.all(), expected);
}

TEST_F(Events, RecordThatOnlyMovedIsGivenTwice) {
  putFolder(1, "one");
  putFolder(2, "two");
  const Registered handler(new FolderHandler(notes_, "h"));
  ChangeSet changes;
  changes.order(GID_QUARANTINE_FOLDER, 0, {2, 1});
  applied(store_->commit(std::move(changes)));
  ASSERT_FALSE(notes_.all().empty());
  for (const std::string& line : notes_.all()) {
    EXPECT_THAT(line, testing::AnyOf("h: 0 one>one", "h: 0 two>two"));
  }
}

class MapHandler : public HandlerTemplate<__aps_vip_map, 1418> {
 public:
  explicit MapHandler(Notes& notes) : notes_(notes) {}
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_vip_map*, const __aps_vip_map* after) override {
    std::string line;
    for (std::uint64_t at = 0; after != nullptr && at < after->entry_count; ++at) {
      line += std::string(after->entries[at].pattern) + "=" + after->entries[at].replacement + ";";
    }
    notes_.add(line);
  }

 private:
  Notes& notes_;
};

OwnedRecord addressMap(std::uint32_t id, const std::vector<std::string>& patterns) {
  OwnedRecord map = Testing::defaults(GID_ADDRESS_MAP);
  map.as<__aps_vip_map>()->id = id;
  boundedCopy(map.as<__aps_vip_map>()->name, "map");
  for (const Config::Field& field : map.type().fields) {
    if (field.kind != Config::Kind::kList) continue;
    for (const std::string& pattern : patterns) {
      auto* entry = static_cast<__aps_vip_map_entry*>(map.append(field));
      boundedCopy(entry->pattern, pattern);
      boundedCopy(entry->replacement, "x" + pattern);
    }
  }
  return map;
}

TEST_F(Events, RecordsComeWithTheirLists) {
  const Registered handler(new MapHandler(notes_));
  applied(put(GID_ADDRESS_MAP, addressMap(1, {"a", "b"})));
  EXPECT_THAT(notes_.all(), ElementsAre("a=xa;b=xb;"));
}

class DomainHandler : public HandlerTemplate<__aps_gw_as_profile, 456> {
 public:
  explicit DomainHandler(Notes& notes) : notes_(notes) {}
  using HandlerTemplate::message;
  void message(unsigned int domain, const __aps_gw_as_profile*,
               const __aps_gw_as_profile*) override {
    notes_.add("domain " + std::to_string(domain));
  }

 private:
  Notes& notes_;
};

TEST_F(Events, FirstArgumentIsTheRecordsDomain) {
  const Registered handler(new DomainHandler(notes_));
  OwnedRecord record = Testing::defaults(GID_ANTISPAM_PROFILE);
  record.as<__aps_gw_as_profile>()->id = 7;
  boundedCopy(record.as<__aps_gw_as_profile>()->name, "strict");
  put(GID_ANTISPAM_PROFILE, record, 0);
  applied(put(GID_ANTISPAM_PROFILE, record, 4711));
  EXPECT_THAT(notes_.all(), ElementsAre("domain 0", "domain 4711"));
}

// ---- who is called, and when

TEST_F(Events, HandlersAreCalledInTheOrderOfTheirRegistration) {
  const Registered first(new FolderHandler(notes_, "first"));
  const Registered second(new FolderHandler(notes_, "second"));
  const Registered third(new FolderHandler(notes_, "third"));
  applied(putFolder(1, "one"));
  EXPECT_THAT(notes_.all(), ElementsAre("first: 0 ->one", "second: 0 ->one", "third: 0 ->one"));
}

TEST_F(Events, DispatchersOfAllNamesShareTheOrder) {
  Dispatcher other = Dispatcher::instance("other", true, true);
  EXPECT_FALSE(other == dispatcher());
  EXPECT_TRUE(other == Dispatcher::instance("other", false, false));
  EXPECT_EQ(other->name(), "other");
  const RefHandler first(new FolderHandler(notes_, "first"), false);
  other->add(first, 1, 2);
  {
    const Registered second(new FolderHandler(notes_, "second"));
    applied(putFolder(1, "one"));
  }
  other->remove(first);
  EXPECT_THAT(notes_.all(), ElementsAre("first: 0 ->one", "second: 0 ->one"));
}

TEST_F(Events, HandlerThatThrowsIsLoggedAndStopsNobody) {
  struct Logged {
    std::uint32_t code;
    std::vector<std::string> fields;
  };
  std::vector<Logged> logged;
  std::mutex mutex;
  const auto capture = Logger::instance().capture([&](const Logger::Message& message) {
    const std::scoped_lock lock(mutex);
    logged.push_back({message.code, message.fields});
  });
  const Registered first(
      new FolderHandler(notes_, "first", [] { throw std::runtime_error("no luck"); }));
  const Registered second(new FolderHandler(notes_, "second", [] { throw 42; }));
  const Registered third(new FolderHandler(notes_, "third"));
  putFolder(1, "one");
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("first: 0 ->one", "second: 0 ->one", "third: 0 ->one",
                                        "first: 0 ->two", "second: 0 ->two", "third: 0 ->two"));
  const std::scoped_lock lock(mutex);
  ASSERT_EQ(logged.size(), 4u);
  EXPECT_EQ(logged[0].code, 0x4000401u);
  EXPECT_THAT(logged[0].fields, ElementsAre("1682", "no luck"));
  EXPECT_EQ(logged[1].code, 0x4000401u);
  EXPECT_EQ(logged[1].fields[0], "1682");
}

TEST_F(Events, FirstHandlerSeesWhatIsCommittedAfterItsRegistration) {
  const Revision before = putFolder(1, "one");
  const Registered handler(new FolderHandler(notes_, "h"));
  EXPECT_EQ(handler.since(), before);
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->two"));
}

TEST_F(Events, FurtherHandlersSeeWhatIsDeliveredAfterTheirRegistration) {
  const Registered early(new FolderHandler(notes_, "early"));
  const Revision first = putFolder(1, "one");
  applied(first);
  dispatcher()->stop();
  putFolder(2, "two");
  const Registered late(new FolderHandler(notes_, "late"));
  EXPECT_EQ(late.since(), first);
  const Revision last = putFolder(3, "three");
  dispatcher()->start();
  applied(last);
  EXPECT_THAT(notes_.all(), ElementsAre("early: 0 ->one", "early: 0 ->two", "late: 0 ->two",
                                        "early: 0 ->three", "late: 0 ->three"));
}

TEST_F(Events, HandlerThatRemovesTheNextOneKeepsItFromBeingCalled) {
  std::unique_ptr<Registered> second;
  const Registered first(new FolderHandler(notes_, "first", [&] { second.reset(); }));
  second = std::make_unique<Registered>(new FolderHandler(notes_, "second"));
  applied(putFolder(1, "one"));
  EXPECT_THAT(notes_.all(), ElementsAre("first: 0 ->one"));
}

TEST_F(Events, HandlerThatEndsInACallMayRemoveOthersInItsDestructor) {
  class Owner : public FolderHandler {
   public:
    Owner(Notes& notes, std::function<void()> also, RefHandler companion)
        : FolderHandler(notes, "owner", std::move(also)), companion_(std::move(companion)) {}
    ~Owner() override { dispatcher()->remove(companion_); }

   private:
    const RefHandler companion_;
  };
  const RefHandler companion(new FolderHandler(notes_, "companion"), false);
  dispatcher()->add(companion, 127, 1);
  auto owner = std::make_unique<RefHandler>();
  *owner = RefHandler(new Owner(
                          notes_,
                          [&] {
                            if (owner == nullptr) return;
                            dispatcher()->remove(*owner);
                            owner.reset();
                          },
                          companion),
                      false);
  dispatcher()->add(*owner, 127, 1);
  applied(putFolder(1, "one"));
  const Registered last(new FolderHandler(notes_, "last"));
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("companion: 0 ->one", "owner: 0 ->one", "last: 0 ->two"));
}

TEST_F(Events, NullHandlerIsNotRemoved) {
  const Registered handler(new FolderHandler(notes_, "h"));
  dispatcher()->remove(RefHandler());
  applied(putFolder(1, "one"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one"));
}

TEST_F(Events, DetachOfTheMainThreadAndOfAHandlerDoNotWaitForEachOther) {
  std::atomic<bool> begun{false};
  std::vector<int> codes;
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    if (begun.exchange(true)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // detach() waits by then
    codes.push_back(codeOf([] { ConfigStore::detach(); }));
    codes.push_back(codeOf([&] { ConfigStore::attach(store_); }));
  }));
  putFolder(1, "one");
  while (!begun) std::this_thread::yield();
  ConfigStore::detach();
  EXPECT_THAT(codes, ElementsAre(Config::StoreError::kInternal, 0));
}

TEST_F(Events, StopsAndStartsOfSeveralThreadsEnd) {
  const Registered handler(new FolderHandler(notes_, "h"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 200; ++round) {
        dispatcher()->stop();
        dispatcher()->start();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  dispatcher()->start();
  applied(putFolder(1, "one"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one"));
}

TEST_F(Events, StartDuringAStopIsNotLost) {
  std::atomic<bool> begun{false};
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    if (begun.exchange(true)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    dispatcher()->start();  // stop() waits for this handler
  }));
  putFolder(1, "one");
  while (!begun) std::this_thread::yield();
  dispatcher()->stop();
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "h: 0 ->two"));
}

TEST_F(Events, DetachGivesTheSlotOfTheProcessBack) {
  const Registered handler(new FolderHandler(notes_, "h"));
  applied(putFolder(1, "one"));
  EXPECT_EQ(store_->processes().size(), 1u);
  ConfigStore::detach();
  EXPECT_THAT(store_->processes(), IsEmpty());
}

TEST_F(Events, HandlersMayNotStopDetachOrAttach) {
  std::vector<std::string> refused;
  const Testing::Folder second;
  const auto other = ConfigStore::open(second.path() / "store");
  const auto attempt = [&](auto call) {
    try {
      call();
    } catch (const Exception& reason) {
      refused.push_back(reason.message());
    }
  };
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    attempt([] { dispatcher()->stop(); });
    attempt([] { ConfigStore::detach(); });
    attempt([&] { ConfigStore::attach(other); });
  }));
  applied(putFolder(1, "one"));
  EXPECT_THAT(refused, ElementsAre("DispatcherImpl::stop was called by a handler",
                                   "ConfigStore::detach was called by a handler",
                                   "ConfigStore::attach was called by a handler"));
  EXPECT_EQ(ConfigStore::attached(), store_);
}

TEST_F(Events, RemovedHandlerIsCalledNoMore) {
  {
    const Registered handler(new FolderHandler(notes_, "h"));
    applied(putFolder(1, "one"));
  }
  const Registered other(new FolderHandler(notes_, "other"));
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "other: 0 ->two"));
}

TEST_F(Events, HandlerMayRegisterAnother) {
  std::unique_ptr<Registered> second;
  const Registered first(new FolderHandler(notes_, "first", [&] {
    if (second == nullptr)
      second = std::make_unique<Registered>(new FolderHandler(notes_, "second"));
  }));
  applied(putFolder(1, "one"));
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("first: 0 ->one", "first: 0 ->two", "second: 0 ->two"));
}

TEST_F(Events, HandlerMayReadWriteAndAskTheDispatcher) {
  Revision seen = 0;
  bool waited = true;
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    TableQuery<__aps_systemquarantine_folders, 1682> folders;
    notes_.add("read " + std::to_string(folders.size()));
    seen = dispatcher()->delivering();
    waited = dispatcher()->waitApplied(seen, kForeverMs);  // answers at once: this thread applies
    if (folders.size() == 1) putFolder(2, "two");
  }));
  const Revision first = putFolder(1, "one");
  applied(first + 1);
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "read 1", "h: 0 ->two", "read 2"));
  EXPECT_EQ(seen, first + 1);
  EXPECT_FALSE(waited);
}

TEST_F(Events, NullHandlerIsRefused) {
  EXPECT_THROW(dispatcher()->add(RefHandler(), 127, 1), Exception);
}

std::atomic<int> callbacks{0};

TEST_F(Events, CallbackFollowsTheMessage) {
  callbacks = 0;
  auto* handler = new FolderHandler(notes_, "h", [&] { notes_.add(std::to_string(callbacks)); });
  handler->callback([] { ++callbacks; });
  const Registered registered(handler);
  putFolder(1, "one");
  applied(putFolder(2, "two"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "0", "h: 0 ->two", "1"));
  EXPECT_EQ(callbacks, 2);
}

TEST_F(Events, FurtherTablesArriveWithoutRecords) {
  auto* handler = new FolderHandler(notes_, "h");
  handler->other(GID_PROTECTED_DOMAIN);
  handler->other(static_cast<G_CLI_GID>(958));  // not a table of this store
  const Registered registered(handler);
  put(GID_PROTECTED_DOMAIN, Testing::domainRecord(1, "a.example"));
  applied(putFolder(1, "one"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->-", "h: 0 ->one"));
}

TEST_F(Events, TraceLevelIsZeroUntilSet) {
  Dispatcher traced = Dispatcher::instance("traced", false, false);
  EXPECT_EQ(traced->trace(), 0u);
  traced->trace(3);
  EXPECT_EQ(Dispatcher::instance("traced", false, false)->trace(), 3u);
  EXPECT_EQ(dispatcher()->trace(), 0u);
  traced->trace(0);
}

TEST_F(Events, ObserversSeeEveryChangeAfterTheHandlers) {
  const unsigned int number = dispatcher()->observe([&](const Config::JournalEntry& entry) {
    notes_.add("observed " + std::to_string(entry.gid) + " " + std::to_string(entry.id));
  });
  {
    const Registered handler(new FolderHandler(notes_, "h"));
    putFolder(5, "five");
    applied(put(GID_PROTECTED_DOMAIN, Testing::domainRecord(6, "a.example")));
    dispatcher()->unobserve(number);
    applied(putFolder(7, "seven"));
  }
  EXPECT_THAT(notes_.all(),
              ElementsAre("h: 0 ->five", "observed 1682 5", "observed 733 6", "h: 0 ->seven"));
}

// ---- what has been applied

TEST_F(Events, AppliedFollowsTheHandlers) {
  Revision appliedDuring = 0;
  const Registered handler(
      new FolderHandler(notes_, "h", [&] { appliedDuring = dispatcher()->applied(); }));
  const Revision revision = putFolder(1, "one");
  applied(revision);
  EXPECT_EQ(appliedDuring, revision - 1);
  EXPECT_EQ(dispatcher()->applied(), revision);
  EXPECT_EQ(dispatcher()->delivering(), revision);
}

TEST_F(Events, ProcessShowsWhatItHasApplied) {
  const Registered handler(new FolderHandler(notes_, "h"));
  const Revision revision = putFolder(1, "one");
  applied(revision);
  EXPECT_THAT(store_->processes(),
              ElementsAre(AllOf(Field(&ConfigStore::Process::pid, ::getpid()),
                                Field(&ConfigStore::Process::applied, revision))));
}

TEST_F(Events, WaitTimesOut) {
  const Registered handler(new FolderHandler(notes_, "h"));
  EXPECT_FALSE(dispatcher()->waitApplied(store_->revision() + 1, 1));
}

TEST_F(Events, StoppedDispatcherCatchesUp) {
  const Registered handler(new FolderHandler(notes_, "h"));
  dispatcher()->stop();
  putFolder(1, "one");
  const Revision revision = putFolder(2, "two");
  EXPECT_FALSE(dispatcher()->waitApplied(revision, 1));
  dispatcher()->start();
  applied(revision);
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "h: 0 ->two"));
}

// ---- behind the journal

class EventsWithAShortJournal : public Events {
 protected:
  EventsWithAShortJournal() : Events(options()) {}
  static ConfigStore::Options options() {
    ConfigStore::Options options;
    options.journalEntries = 2;
    options.journalEntriesHard = 4;
    return options;
  }
};

TEST_F(EventsWithAShortJournal, HandlersAreToldThatTheyMissedChanges) {
  std::vector<std::vector<std::string>> logged;
  std::mutex mutex;
  const auto capture = Logger::instance().capture([&](const Logger::Message& message) {
    const std::scoped_lock lock(mutex);
    if (message.code == 0x4000402) logged.push_back(message.fields);
  });
  callbacks = 0;
  auto* clearing = new FolderHandler(notes_, "clearing");
  clearing->callback([] { ++callbacks; });
  const Registered first(clearing);
  const Registered second(new KeyedHandler(notes_, "keyed"));
  const Revision before = putFolder(1, "0");
  applied(before);
  dispatcher()->stop();
  notes_.clear();
  callbacks = 0;
  Revision last = 0;
  for (int change = 1; change <= 20; ++change) last = putFolder(1, std::to_string(change));
  dispatcher()->start();
  applied(last);
  EXPECT_THAT(notes_.all(), ElementsAre("clearing: 0 ->-", "resync"));
  EXPECT_EQ(callbacks, 1);
  applied(putFolder(1, "next"));
  EXPECT_THAT(notes_.all(),
              ElementsAre("clearing: 0 ->-", "resync", "clearing: 0 20>next", "keyed: 0 20>next"));
  const std::scoped_lock lock(mutex);
  EXPECT_THAT(logged, ElementsAre(ElementsAre(std::to_string(before), std::to_string(last))));
}

TEST_F(EventsWithAShortJournal, HandlerThatThrowsWhenItResynchronisesStopsNobody) {
  const auto quiet = Logger::instance().capture([](const Logger::Message&) {});
  const Registered first(
      new FolderHandler(notes_, "first", [] { throw std::runtime_error("no luck"); }));
  const Registered second(new KeyedHandler(notes_, "keyed"));
  dispatcher()->stop();
  Revision last = 0;
  for (int change = 1; change <= 20; ++change) last = putFolder(1, std::to_string(change));
  dispatcher()->start();
  applied(last);
  EXPECT_THAT(notes_.all(), ElementsAre("first: 0 ->-", "resync"));
}

// ---- one store, then another one

TEST_F(Events, AnotherStoreIsRefused) {
  const Testing::Folder second;
  const auto other = ConfigStore::open(second.path() / "store");
  EXPECT_EQ(codeOf([&] { ConfigStore::attach(other); }), Config::StoreError::kAttached);
  EXPECT_EQ(codeOf([&] { ConfigStore::attach(nullptr); }), Config::StoreError::kCannotOpen);
  EXPECT_EQ(codeOf([&] { ConfigStore::attach(store_); }), 0) << "the same one";
  EXPECT_EQ(ConfigStore::attached(), store_);
}

TEST_F(Events, StoreAttachedAfterADetachmentIsFollowed) {
  const Registered handler(new KeyedHandler(notes_, "h"));
  for (int change = 0; change < 5; ++change) putFolder(1, std::to_string(change));
  applied(store_->revision());
  notes_.clear();
  ConfigStore::detach();
  EXPECT_THAT(notes_.all(), ElementsAre("resync"));
  EXPECT_EQ(dispatcher()->applied(), 0u);
  const Testing::Folder second;
  const auto other = ConfigStore::open(second.path() / "store");
  ConfigStore::attach(other);
  EXPECT_THAT(notes_.all(), ElementsAre("resync", "resync"));
  EXPECT_EQ(dispatcher()->applied(), other->revision());
  putFolder(1, "into the former store");
  ChangeSet changes;
  changes.put(GID_QUARANTINE_FOLDER, 0, Testing::folderRecord(9, "nine").data());
  applied(other->commit(std::move(changes)));
  EXPECT_THAT(notes_.all(), ElementsAre("resync", "resync", "h: 0 ->nine"));
}

TEST_F(Events, AttachAndDetachResynchroniseOnTheirOwnThread) {
  ConfigStore::detach();
  std::vector<std::thread::id> threads;
  const Registered handler(
      new FolderHandler(notes_, "h", [&] { threads.push_back(std::this_thread::get_id()); }));
  ConfigStore::attach(store_);
  ConfigStore::detach();
  EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id(), std::this_thread::get_id()));
}

TEST_F(Events, DetachWaitsForTheHandlerThatIsRunning) {
  std::atomic<bool> begun{false};
  std::atomic<bool> ended{false};
  const Registered handler(new KeyedHandler(notes_, "keyed"));
  const Registered slow(new FolderHandler(notes_, "slow", [&] {
    if (begun.exchange(true)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ended = true;
  }));
  putFolder(1, "one");
  while (!begun) std::this_thread::yield();
  ConfigStore::detach();
  EXPECT_TRUE(ended);
}

TEST_F(Events, StoreAttachedAfterTheRegistrationIsFollowedUnasked) {
  ConfigStore::detach();
  const Registered handler(new KeyedHandler(notes_, "h"));
  EXPECT_EQ(handler.since(), 0u);
  ConfigStore::attach(store_);
  EXPECT_THAT(notes_.all(), ElementsAre("resync"));
  putFolder(1, "one");
  EXPECT_TRUE(notes_.waitFor("h: 0 ->one"));
}

TEST_F(Events, AProcessThatFoundNoFreeSlotRegistersWhenThereIsOne) {
  const auto status = Config::StatusFile::open(store_->folder() / "status");
  std::vector<int> taken;
  EXPECT_EQ(codeOf([&] {
              for (;;) taken.push_back(status->claim("other", 1));
            }),
            Config::StoreError::kNoReaderSlot);
  const auto registered = [this] {
    const auto processes = store_->processes();
    return std::any_of(processes.begin(), processes.end(),
                       [](const auto& process) { return process.name != "other"; });
  };
  const Registered handler(new FolderHandler(notes_, "h"));
  applied(putFolder(1, "one"));
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one"));
  EXPECT_FALSE(registered());
  for (const int slot : taken) status->release(slot);
  applied(putFolder(1, "two"));
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kForeverMs);
  while (!registered() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  EXPECT_TRUE(registered());
}

}  // namespace
}  // namespace Kestrav::CMF::Event

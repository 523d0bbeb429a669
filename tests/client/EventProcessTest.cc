// Events and other processes: writers, ends of processes, forks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "config/CMF.h"
#include "tests/client/Listening.h"
#include "tests/support/InChild.h"

using testing::ElementsAre;

namespace Kestrav::CMF::Event {
namespace {

using Testing::ChangeSet;
using Testing::codeOf;
using Testing::ConfigStore;
using Testing::dispatcher;
using Testing::FolderHandler;
using Testing::inChild;
using Testing::KeyedHandler;
using Testing::kForeverMs;
using Testing::Notes;
using Testing::Registered;
using Testing::Revision;

class EventsOfProcesses : public Testing::StoreTest {
 protected:
  Notes notes_;
};

Revision putFolderInto(ConfigStore& store, std::uint32_t id, std::string_view name) {
  ChangeSet changes;
  changes.put(GID_QUARANTINE_FOLDER, 0, Testing::folderRecord(id, name).data());
  return store.commit(std::move(changes));
}

int runProcess(std::vector<std::string> words) {
  words.insert(words.begin(), CLIENT_PROCESS);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (::posix_spawn(&child, CLIENT_PROCESS, nullptr, nullptr, arguments.data(), ::environ) != 0)
    return -1;
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST_F(EventsOfProcesses, ChangesOfAnotherProcessAreDelivered) {
  const Registered handler(new FolderHandler(notes_, "h"));
  const Revision before = putFolder(100, "mine");
  EXPECT_EQ(runProcess({"write", store_->folder(), "1", "30"}), 0);
  applied(before + 30);
  std::vector<std::string> expected{"h: 0 ->mine"};
  for (int id = 1; id <= 30; ++id) expected.push_back("h: 0 ->other" + std::to_string(id));
  EXPECT_EQ(notes_.all(), expected);
}

TEST_F(EventsOfProcesses, NothingIsWaitedForWhereNobodyListens) {
  EXPECT_EQ(runProcess({"wait-alone", store_->folder()}), 0);
}

TEST_F(EventsOfProcesses, ProcessEndsInTheMiddleOfDelivery) {
  EXPECT_EQ(runProcess({"end-busy", store_->folder()}), 0);
}

TEST_F(EventsOfProcesses, HandlerMayEndTheProcess) {
  EXPECT_EQ(runProcess({"end-by-handler", store_->folder()}), 7);
}

TEST_F(EventsOfProcesses, NoHandlerIsCalledOnceStaticObjectsAreGone) {
  for (int run = 0; run < 5; ++run) {
    EXPECT_EQ(runProcess({"end-listening", store_->folder()}), 0);
  }
}

TEST_F(EventsOfProcesses, RegistrationFailsWhileNoThreadCanBeMade) {
  EXPECT_EQ(runProcess({"without-threads", store_->folder()}), 0);
}

TEST_F(EventsOfProcesses, ChildForkedWhileItsParentRegistersFollowsItsOwnStore) {
  for (int run = 0; run < 20; ++run) {
    EXPECT_EQ(runProcess({"fork-early", store_->folder()}), 0);
  }
}

TEST_F(EventsOfProcesses, ChildAfterForkDeliversNothing) {
  const Registered handler(new FolderHandler(notes_, "h"));
  applied(putFolder(1, "one"));
  const std::filesystem::path folder = store_->folder();
  EXPECT_EQ(inChild([&] {
              if (runProcess({"write", folder, "2", "2"}) != 0) return 1;
              const int code = codeOf([] { dispatcher()->waitApplied(~Revision{0}, kForeverMs); });
              if (code != Config::StoreError::kForked) return 2;
              return notes_.all().size() == 1 ? 42 : 3;
            }),
            42);
  applied(store_->revision());
  EXPECT_THAT(notes_.all(), ElementsAre("h: 0 ->one", "h: 0 ->other2"));
}

TEST_F(EventsOfProcesses, ChildMayNotAttachTheStoreOfItsParent) {
  EXPECT_EQ(inChild([&] { return codeOf([&] { ConfigStore::attach(store_); }); }),
            Config::StoreError::kForked);
}

TEST_F(EventsOfProcesses, ChildThatAttachesAStoreOfItsOwnDelivers) {
  const Registered handler(new KeyedHandler(notes_, "h"));
  applied(putFolder(1, "one"));
  // Its own object of the parent's folder, and another folder.
  const Testing::Folder second;
  for (const auto& folder : {store_->folder(), second.path() / "store"}) {
    EXPECT_EQ(inChild([&] {
                const auto own = ConfigStore::open(folder);
                notes_.clear();
                ConfigStore::attach(own);
                ChangeSet changes;
                changes.put(GID_QUARANTINE_FOLDER, 0, Testing::folderRecord(9, "nine").data());
                if (!dispatcher()->waitApplied(own->commit(std::move(changes)), kForeverMs))
                  return 1;
                return notes_.all() == std::vector<std::string>{"resync", "resync", "h: 0 ->nine"}
                           ? 42
                           : 2;
              }),
              42)
        << folder;
  }
  applied(putFolder(2, "two"));  // the parent is not affected
}

TEST_F(EventsOfProcesses, ForkWaitsForADeliveryThatIsUnderWay) {
  std::atomic<bool> inHandler{false};
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    inHandler = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    inHandler = false;
  }));
  const Revision revision = putFolder(1, "one");
  while (!inHandler && dispatcher()->applied() < revision) std::this_thread::yield();
  EXPECT_EQ(inChild([&] { return inHandler ? 1 : 42; }), 42);
}

TEST_F(EventsOfProcesses, ChildForkedInTheMiddleOfADeliveryCannotAttach) {
  const Testing::Folder second;
  std::atomic<int> code{-1};
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    code = inChild([&] {
      return codeOf([&] { ConfigStore::attach(ConfigStore::open(second.path() / "store")); });
    });
  }));
  applied(putFolder(1, "one"));
  EXPECT_EQ(code, Config::StoreError::kForked);
}

TEST_F(EventsOfProcesses, ForkIsQuickBetweenTheRevisionsOfABacklog) {
  const Registered handler(new FolderHandler(
      notes_, "h", [] { std::this_thread::sleep_for(std::chrono::milliseconds(10)); }));
  Revision last = 0;
  for (int change = 0; change < 300; ++change) last = putFolder(1, std::to_string(change));
  const Testing::Folder second;
  // Seconds of delivery are to come, and every child may attach.
  for (int child = 0; child < 3; ++child) {
    EXPECT_EQ(inChild([&] {
                ConfigStore::attach(ConfigStore::open(second.path() / "store"));
                return 42;
              }),
              42);
  }
  EXPECT_LT(dispatcher()->applied(), last);
  applied(last);
}

TEST_F(EventsOfProcesses, ForkWaitsForAHandlerThatOpensAStore) {
  std::atomic<bool> begun{false};
  const Registered handler(new FolderHandler(notes_, "h", [&] {
    begun = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ConfigStore::open(store_->folder());
  }));
  putFolder(1, "one");
  while (!begun) std::this_thread::yield();
  const Testing::Folder second;
  EXPECT_EQ(
      inChild([&] {
        return codeOf([&] { ConfigStore::attach(ConfigStore::open(second.path() / "store")); });
      }),
      0);
}

TEST_F(EventsOfProcesses, ChildForkedInAHandlerMayRemoveItsHandlers) {
  std::atomic<int> result{-1};
  const RefHandler other(new FolderHandler(notes_, "other"), false);
  dispatcher()->add(other, 127, 1);
  {
    const Registered handler(new FolderHandler(notes_, "h", [&] {
      result = inChild([&] {
        std::thread([&] { dispatcher()->remove(other); }).join();
        return 42;
      });
    }));
    applied(putFolder(1, "one"));
  }
  dispatcher()->remove(other);
  EXPECT_EQ(result, 42);
}

TEST_F(EventsOfProcesses, SharedQueryOfTheParentAnswersNothingInTheChild) {
  putFolder(1, "one");
  cmf_query* query = nCfg_query(1682);
  ASSERT_NE(cmf_query_data(query), nullptr);
  const Testing::Folder second;
  EXPECT_EQ(inChild([&] {
              if (cmf_query_data(query) != nullptr) return 1;
              ConfigStore::attach(ConfigStore::open(second.path() / "store"));
              return cmf_query_data(query) == nullptr ? 42 : 2;
            }),
            42);
}

TEST_F(EventsOfProcesses, ReadLockHeldOverTheForkPinsTheChildsOwnStore) {
  const Lock outer(true);
  EXPECT_EQ(inChild([&] {
              const auto own = ConfigStore::open(store_->folder());
              ConfigStore::attach(own);
              const Lock inner(true);
              const TableQuery<__aps_systemquarantine_folders, 1682> first;
              std::thread([&] { putFolderInto(*own, 1, "one"); }).join();
              const TableQuery<__aps_systemquarantine_folders, 1682> second;
              return cmf_query_revision(first.query()) == cmf_query_revision(second.query()) ? 42
                                                                                             : 1;
            }),
            42);
}

}  // namespace
}  // namespace Kestrav::CMF::Event

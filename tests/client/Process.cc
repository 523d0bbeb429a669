// A second process for the tests:
//   write FOLDER FIRST LAST   puts the quarantine folders of these ids, one revision each
//   wait-alone FOLDER         waits for a change without having registered a handler
//   end-busy FOLDER           ends while changes are delivered to a handler
//   end-by-handler FOLDER     a handler ends the process, with code 7
//   end-listening FOLDER      ends while it listens; code 9 when a handler is called once static
//                             objects are gone
//   without-threads FOLDER    registers and attaches while no thread can be made, then again
//   fork-early FOLDER         forks right after the first registration; the child follows its own
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <system_error>
#include <thread>

#include "platform/config/records/Gid.h"
#include "tests/client/Listening.h"

namespace {

using namespace Kestrav;

Config::Revision putFolder(Config::ConfigStore& store, unsigned long id, const std::string& name) {
  Config::ChangeSet changes;
  changes.put(GID_QUARANTINE_FOLDER, 0,
              Testing::folderRecord(static_cast<std::uint32_t>(id), name).data());
  return store.commit(std::move(changes));
}

class AnyHandler : public CMF::Event::HandlerTemplate<__aps_systemquarantine_folders, 1682> {
 public:
  explicit AnyHandler(std::function<void()> call) : call_(std::move(call)) {}
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_systemquarantine_folders*,
               const __aps_systemquarantine_folders*) override {
    call_();
  }

 private:
  const std::function<void()> call_;
};

void listen(std::function<void()> call) {
  Testing::dispatcher()->add(CMF::Event::RefHandler(new AnyHandler(std::move(call))), 127, 1);
}

std::atomic<bool> staticsGone{false};

struct Static {
  ~Static() {
    staticsGone = true;
    putFolder(*Config::ConfigStore::attached(), 2, "two");
    Testing::dispatcher()->waitApplied(~Config::Revision{0}, 100);  // time for a late call
  }
};

int endListening() {
  static const Static made;
  listen([] {
    if (staticsGone) ::_exit(9);
  });
  putFolder(*Config::ConfigStore::attached(), 1, "one");
  std::exit(EXIT_SUCCESS);
}

// Makes the stack of new threads larger than any address space.
class NoThreads {
 public:
  NoThreads() {
    pthread_getattr_default_np(&before_);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{1} << 47);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t before_;
};

bool threadsCanBeMade() {
  try {
    std::thread([] {}).join();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

int withoutThreads(const std::shared_ptr<Config::ConfigStore>& store) {
  std::atomic<int> heard{0};
  {
    const NoThreads none;
    if (threadsCanBeMade()) return 3;
    try {
      listen([&] { ++heard; });
      return 4;
    } catch (const Exception&) {
    }
  }
  listen([&] { ++heard; });
  if (!Testing::dispatcher()->waitApplied(putFolder(*store, 3, "three"), Testing::kForeverMs))
    return 5;
  if (heard != 1) return 6;

  // A failed attachment leaves nothing attached, and a later one succeeds.
  Config::ConfigStore::detach();
  {
    const NoThreads none;
    if (Testing::codeOf([&] { Config::ConfigStore::attach(store); }) !=
        Config::StoreError::kInternal)
      return 7;
  }
  if (Config::ConfigStore::attached() != nullptr) return 8;
  Config::ConfigStore::attach(store);
  const int before = heard;
  if (!Testing::dispatcher()->waitApplied(putFolder(*store, 4, "four"), Testing::kForeverMs))
    return 9;
  return heard == before + 1 ? EXIT_SUCCESS : 10;
}

int forkEarly() {
  const Testing::Folder second;
  auto& heard = *new std::atomic<bool>{false};
  listen([&] { heard = true; });
  const pid_t child = ::fork();
  if (child == 0) {
    const auto own = Config::ConfigStore::open(second.path() / "store");
    Config::ConfigStore::attach(own);
    const bool waited = Testing::dispatcher()->waitApplied(putFolder(*own, 1, "one"), 20'000);
    ::_exit(waited && heard ? EXIT_SUCCESS : 1);
  }
  int status = 0;
  return ::waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}

int run(const std::string& verb, char** arguments) {
  const auto store = Config::ConfigStore::open(arguments[0]);
  if (verb == "write") {
    for (unsigned long id = std::stoul(arguments[1]); id <= std::stoul(arguments[2]); ++id) {
      putFolder(*store, id, "other" + std::to_string(id));
    }
    return EXIT_SUCCESS;
  }
  Config::ConfigStore::attach(store);
  if (verb == "wait-alone") {
    return Testing::dispatcher()->waitApplied(putFolder(*store, 1, "one"), 0) ? EXIT_SUCCESS
                                                                              : EXIT_FAILURE;
  }
  if (verb == "end-listening") return endListening();
  if (verb == "without-threads") return withoutThreads(store);
  if (verb == "fork-early") return forkEarly();
  auto& notes = *new Testing::Notes;  // the handler lives longer than this function
  if (verb == "end-busy") {
    Testing::dispatcher()->add(CMF::Event::RefHandler(new Testing::FolderHandler(
                                   notes, "h",
                                   [store, count = 0]() mutable {
                                     putFolder(*store, 1,
                                               std::to_string(++count));  // without end
                                   })),
                               127, 1);
    const Config::Revision revision = putFolder(*store, 1, "one");
    return Testing::dispatcher()->waitApplied(revision + 20, Testing::kForeverMs) ? EXIT_SUCCESS
                                                                                  : EXIT_FAILURE;
  }
  if (verb == "end-by-handler") {
    Testing::dispatcher()->add(
        CMF::Event::RefHandler(new Testing::FolderHandler(notes, "h", [] { std::exit(7); })), 127,
        1);
    const Config::Revision revision = putFolder(*store, 1, "one");
    return Testing::dispatcher()->waitApplied(revision, Testing::kForeverMs) ? EXIT_SUCCESS
                                                                             : EXIT_FAILURE;
  }
  return 2;
}

}  // namespace

int main(int count, char** arguments) {
  return count < 3 ? 2 : run(arguments[1], arguments + 2);
}

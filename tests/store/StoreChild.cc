// A process that works on a store for the tests: store_child VERB FOLDER [ARGUMENT...]. Says what
// it has on stdout; verbs that hold something wait for the end of stdin.

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <map>
#include <thread>

#include "StoreRecords.h"
#include "platform/config/store/ConfigStore.h"

namespace {

using namespace Kestrav::Config;
using namespace Kestrav::Config::StoreTesting;
using Arguments = std::vector<std::string>;

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

void untilReleased() {
  char byte;
  while (::read(0, &byte, 1) > 0) {
  }
}

// Holds ARGUMENT snapshots (default 1), each in its own thread.
void hold(ConfigStore& store, const Arguments& arguments) {
  const int count = arguments.empty() ? 1 : std::atoi(arguments[0].c_str());
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&] {
      const Snapshot snapshot = store.snapshot();
      if (ready.fetch_add(1) + 1 == count) say(std::to_string(snapshot.revision()));
      untilReleased();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Writes sets of records for ever; all records of a set carry its revision.
void churn(ConfigStore& store, const Arguments& arguments) {
  const int size = std::atoi(arguments.at(0).c_str());
  say("ready");
  for (;;) writeSet(store, size);
}

// Adds as many items as ARGUMENT says, with texts that do not compress. With a second one, files
// may not grow beyond so many bytes.
void fill(ConfigStore& store, const Arguments& arguments) {
  if (arguments.size() > 1) {
    const rlim_t bytes = std::strtoull(arguments[1].c_str(), nullptr, 10);
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  say(std::to_string(fillWithNoise(store, std::atoi(arguments.at(0).c_str()))));
}

void putOne(ConfigStore& store, const Arguments& arguments) {
  const Item record =
      item(static_cast<std::uint32_t>(std::atoi(arguments.at(0).c_str())), arguments.at(1));
  ChangeSet changes;
  changes.put(kItems, 0, &record);
  say(std::to_string(store.commit(std::move(changes))));
}

// Says when it is about to wait for a revision above ARGUMENT, then which one came.
void awaitRevision(ConfigStore& store, const Arguments& arguments) {
  const Revision seen = std::strtoull(arguments.at(0).c_str(), nullptr, 10);
  say("waiting");
  say(std::to_string(store.waitForRevision(seen, 60'000)));
}

// Registers under the first ARGUMENT; publishes the second, if any, as applied.
void follow(ConfigStore& store, const Arguments& arguments) {
  store.registerProcess(arguments.at(0));
  if (arguments.size() > 1) store.applied(std::strtoull(arguments[1].c_str(), nullptr, 10));
  say("registered");
  untilReleased();
}

// With a small map: says how many items there are, and again when it is released, twice with no
// address space to spare and once with as much as before.
void cramped(ConfigStore& store, const Arguments&) {
  const auto items = [&store] { return std::to_string(store.snapshot().size(kItems, 0)); };
  say(items());
  untilReleased();
  rlimit before{};
  ::getrlimit(RLIMIT_AS, &before);
  std::size_t pages = 0;
  if (std::FILE* statm = std::fopen("/proc/self/statm", "r"); statm != nullptr) {
    if (std::fscanf(statm, "%zu", &pages) != 1) pages = 0;
    std::fclose(statm);
  }
  const rlimit tight{(pages << 12) + (1u << 20), before.rlim_max};
  ::setrlimit(RLIMIT_AS, &tight);
  for (int i = 0; i < 2; ++i) {
    try {
      say(items() + " in spite of the limit");
    } catch (const Kestrav::Exception& exception) {
      say(std::to_string(exception.code()) + ": " + exception.message());
    }
  }
  ::setrlimit(RLIMIT_AS, &before);
  say(items() + " with more room");
}

std::uint64_t countOf(const Snapshot& snapshot, std::uint32_t id) {
  const StoredRecord record = snapshot.byId(kItems, 0, id);
  return record ? std::strtoull(record.as<Item>()->text, nullptr, 10) : 0;
}

// Counts in the item ARGUMENT for ever, one commit for each number, and says each number after its
// commit.
void count(ConfigStore& store, const Arguments& arguments) {
  const auto id = static_cast<std::uint32_t>(std::atoi(arguments.at(0).c_str()));
  for (std::uint64_t number = countOf(store.snapshot(), id) + 1;; ++number) {
    const Item record = item(id, std::to_string(number));
    ChangeSet changes;
    changes.put(kItems, 0, &record);
    store.commit(std::move(changes));
    if (countOf(store.snapshot(), id) != number) return say("wrong: its commit is lost");
    say(std::to_string(number));
  }
}

// Reads the items of all arguments for ever. Complains of a revision or a number that goes back.
void audit(ConfigStore& store, const Arguments& arguments) {
  std::map<std::string, std::uint64_t> last;
  Revision revision = 0;
  say("ready");
  for (;;) {
    const Snapshot snapshot = store.snapshot();
    if (snapshot.revision() < revision) return say("wrong: the revision goes back");
    revision = snapshot.revision();
    for (const std::string& id : arguments) {
      const std::uint64_t now =
          countOf(snapshot, static_cast<std::uint32_t>(std::atoi(id.c_str())));
      if (now < last[id]) return say("wrong: item " + id + " goes back");
      last[id] = now;
    }
  }
}

// Replaces the data file for ever.
void compact(ConfigStore& store, const Arguments&) {
  say("ready");
  for (;;) store.compact();
}

void justOpen(ConfigStore& store, const Arguments&) {
  say(std::to_string(store.revision()));
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, void (*)(ConfigStore&, const Arguments&)> verbs = {
      {"hold", hold},     {"churn", churn},   {"fill", fill},       {"put", putOne},
      {"count", count},   {"audit", audit},   {"compact", compact}, {"wait", awaitRevision},
      {"follow", follow}, {"open", justOpen}, {"cramped", cramped},
  };
  if (argc < 3 || !verbs.contains(argv[1])) return 2;
  try {
    ConfigStore::Options options;
    if (argv[1] == std::string("cramped")) options.initialMapSize = 1u << 20;
    const auto store = ConfigStore::open(argv[2], options);
    verbs.at(argv[1])(*store, Arguments(argv + 3, argv + argc));
    return 0;
  } catch (const Kestrav::Exception& exception) {
    say("failed " + std::to_string(exception.code()) + ": " + exception.asString());
    return 1;
  }
}

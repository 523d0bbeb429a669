// The program of the tests' other processes: peer ROLE STORE [ARGUMENT...]. Reads commands from
// stdin, one per line, and writes answers to stdout. Ends at the end of stdin, or after it has
// reported the first error.

#include <sys/ptrace.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <latch>
#include <sstream>

#include "platform/common/Exception.h"
#include "platform/config/store/ConfigStore.h"
#include "tests/processes/Answers.h"
#include "tests/processes/Follower.h"
#include "tests/processes/Ledger.h"
#include "tests/processes/PeerRole.h"
#include "tests/processes/Sets.h"

namespace Kestrav::Testing {
namespace {

constexpr int kPatience = 50'000;  // ms
constexpr int kComplained = 3;

}  // namespace

void say(const std::string& text) {
  const std::string line = text + "\n";
  for (std::size_t done = 0; done < line.size();) {
    const ssize_t count = ::write(STDOUT_FILENO, line.data() + done, line.size() - done);
    if (count <= 0) ::_exit(1);  // the test is gone
    done += static_cast<std::size_t>(count);
  }
}

void complain(const std::string& what) {
  say("wrong: " + what);
  ::_exit(kComplained);
}

int numberAt(const Arguments& arguments, std::size_t index) {
  return index < arguments.size() ? std::atoi(arguments[index].c_str()) : 0;
}

void answerCommands(Follower& follower) {
  const auto dispatcher = CMF::Event::Dispatcher::instance("", false, false);
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string command;
    Config::Revision revision = 0;
    words >> command >> revision;
    if (command == "await") {
      const bool applied = CMF::Event::Dispatcher(dispatcher)->waitApplied(revision, kPatience);
      say(applied ? "applied" : "not applied: " + std::to_string(dispatcher->applied()));
    } else if (command == "answers") {
      say(allAnswers() + ".");
    } else if (command == "compare") {
      say(follower.compareWithJournal() ? "compared" : "the journal does not reach back");
    } else if (command == "changes") {
      say(std::to_string(follower.chains().changes()));
    } else if (command == "asked") {
      say(std::to_string(follower.asked()));
    } else if (command == "missed") {
      say(std::to_string(follower.chains().missedTables()));
    }
  }
  follower.stopAsking();
}

}  // namespace Kestrav::Testing

namespace {

using namespace Kestrav;
using namespace Kestrav::Testing;

Config::ConfigStore::Options plainOptions() {
  Config::ConfigStore::Options options;
  options.create = false;
  return options;
}

// ARGUMENT is the number of asking threads.
void follow(const Store& store, const Arguments& arguments) {
  Config::ConfigStore::attach(store);
  auto& follower = *new Follower(complain);  // handlers may run until the process is gone
  follower.startAsking(numberAt(arguments, 0));
  say("ready");
  answerCommands(follower);
}

// ARGUMENT is the seed. The command "write N" makes N commits.
void write(const Store& store, const Arguments& arguments) {
  std::mt19937 random(static_cast<unsigned>(numberAt(arguments, 0)));
  say("ready");
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string command;
    int count = 0;
    words >> command >> count;
    Config::Revision revision = 0;
    for (int i = 0; i < count; ++i) revision = writeSomeSets(*store, random);
    say(std::to_string(revision));
  }
}

// Commits all sets with number ARGUMENT, traced by the parent.
void writeTraced(const Store& store, const Arguments& arguments) {
  Config::ChangeSet changes;
  for (int set = 0; set < kSets; ++set) {
    putSet(changes, set, static_cast<std::uint32_t>(numberAt(arguments, 0)));
  }
  if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
    say("cannot be traced");
    return;
  }
  say("ready");
  ::raise(SIGSTOP);
  store->commit(std::move(changes));
  ::_exit(0);
}

// ARGUMENT is the number of reading threads. Each keeps its snapshot.
void read(const Store& store, const Arguments& arguments) {
  store->registerProcess("reader");
  std::vector<std::thread> threads;
  std::atomic<bool> stop{false};
  std::latch reading(numberAt(arguments, 0));
  for (int i = 0; i < numberAt(arguments, 0); ++i) {
    threads.emplace_back([&, set = i % kSets] {
      const Config::Snapshot snapshot = store->snapshot();
      const std::string broken = brokenPart(snapshot, set);
      if (!broken.empty()) complain(broken);
      reading.count_down();
      stop.wait(false);
    });
  }
  reading.wait();
  say("ready");
  for (std::string line; std::getline(std::cin, line);) {
  }
  stop = true;
  stop.notify_all();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

int main(int argc, char** argv) {
  const struct {
    std::string name;
    void (*run)(const Store&, const Arguments&);
    Config::ConfigStore::Options options;
  } roles[] = {
      {"follow", follow, plainOptions()},
      {"write", write, plainOptions()},
      {"write-traced", writeTraced, plainOptions()},
      {"read", read, plainOptions()},
      {"torture-write", tortureWrite, tightOptions()},
      {"torture-follow", tortureFollow, roomyOptions()},
      {"torture-look", tortureLook, tightOptions()},
  };
  const auto role = std::find_if(std::begin(roles), std::end(roles), [&](const auto& each) {
    return argc > 2 && each.name == argv[1];
  });
  if (role == std::end(roles)) return 2;
  try {
    role->run(Config::ConfigStore::open(argv[2], role->options), Arguments(argv + 3, argv + argc));
    return 0;
  } catch (const Exception& exception) {
    complain("failed: " + exception.asString());
  } catch (const std::exception& exception) {
    complain(std::string("failed: ") + exception.what());
  }
}

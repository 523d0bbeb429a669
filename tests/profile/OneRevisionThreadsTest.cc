// Decisions under commits without pause: none lacks its profile, none mixes revisions.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/profile/Factory.h"
#include "tests/profile/Marked.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr int kCommits = 600;
constexpr int kDeciders = 3;

bool whole(const std::string& marks) {
  const std::size_t middle = marks.find(' ');
  return middle != std::string::npos && marks.substr(0, middle) == marks.substr(middle + 1);
}

}  // namespace

TEST(OneRevisionThreads, EveryDecisionIsWhole) {
  factory();
  contentInspection(true);
  const Marked marked;
  marked.put(0);

  std::atomic<bool> done{false};
  std::mutex mutex;
  std::map<std::string, int> broken;
  std::atomic<int> decisions{0};
  std::vector<std::thread> deciders;
  for (int thread = 0; thread < kDeciders; ++thread) {
    deciders.emplace_back([&, thread] {
      while (!done) {
        const std::string marks = thread % 2 == 0 ? Marked::connection() : Marked::recipient();
        ++decisions;
        if (whole(marks)) continue;
        const std::scoped_lock lock(mutex);
        ++broken[marks];
      }
    });
  }
  for (int mark = 1; mark <= kCommits; ++mark) {
    Config::ChangeSet changes;
    marked.put(changes, mark);
    store().commit(std::move(changes));
  }
  done = true;
  for (std::thread& decider : deciders) decider.join();
  awaitApplied(store().revision());
  marked.erase();

  EXPECT_GT(decisions, kDeciders);
  int total = 0;
  for (const auto& [marks, count] : broken) total += count;
  EXPECT_EQ(total, 0) << "of " << decisions << ", for example \"" << broken.begin()->first << '"';
}

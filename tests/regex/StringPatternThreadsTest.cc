// Patterns and containers shared by threads. Also run with the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "platform/common/Logger.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringContainer.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 300;

template <typename Work>
void inThreads(Work work) {
  std::barrier together(kThreads);
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&together, &work, i] {
      together.arrive_and_wait();
      work(i);
    });
  }
}

TEST(StringPatternThreads, OnePatternMatchesInAllThreads) {
  const auto quiet = Logger::instance().capture([](const Logger::Message&) {});
  const StringPattern pattern("^(\\w+)@(?=example)", true, true);
  const StringPattern runaway("(a+)+$", false, true);
  const StringPattern wildcard("*.ws[fch]", true, false);
  std::string trap(3000, 'a');
  trap += 'b';
  std::atomic<int> wrong = 0;
  inThreads([&](int thread) {
    const StringPattern copy = pattern;
    for (int round = 0; round < kRounds; ++round) {
      const std::string name = "user" + std::to_string(thread * kRounds + round);
      if (!copy.matches(name + "@Example.com")) ++wrong;
      if (pattern.matches(name + "@other.com")) ++wrong;
      if (!wildcard.matches(name + ".WSF")) ++wrong;
      if (wildcard.matches(name + ".wsx")) ++wrong;
      if (round % 50 == 0 && runaway.match(trap) != MatchResult::kLimit) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

// The first search of a subject that is not UTF-8 compiles the program for bytes.
TEST(StringPatternThreads, FirstOtherSubjectMayComeInSeveralThreads) {
  for (int round = 0; round < 50; ++round) {
    const StringPattern pattern("x.y" + std::to_string(round), true, true);
    std::atomic<int> wrong = 0;
    const std::string subject = "x\xFFy" + std::to_string(round);
    inThreads([&](int) {
      if (!pattern.matches(subject)) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
  }
}

TEST(StringPatternThreads, FilledContainersAreReadByAllThreads) {
  PatternContainer patterns;
  StringContainer headers;
  for (int i = 0; i < 100; ++i) {
    patterns.add("*@domain" + std::to_string(i) + ".example");
    patterns.add("*x?@rest" + std::to_string(i) + ".example");
    headers.add("X-Header-" + std::to_string(i));
  }
  std::atomic<int> wrong = 0;
  inThreads([&](int) {
    for (int i = 0; i < kRounds; ++i) {
      const std::string number = std::to_string(i);
      if (patterns.matches("a@Domain" + number + ".example") != (i < 100)) ++wrong;
      if (patterns.matches("axb@rest" + number + ".example") != (i < 100)) ++wrong;
      if (headers.contains("x-header-" + number) != (i < 100)) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace Kestrav

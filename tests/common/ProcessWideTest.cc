#include "platform/common/ProcessWide.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Kestrav {
namespace {

using Value = std::shared_ptr<const int>;

Value seven() {
  return std::make_shared<int>(7);
}
Value eight() {
  return std::make_shared<int>(8);
}
Value failing() {
  throw std::runtime_error("the store is closed");
}

TEST(ProcessWide, IsBuiltByTheFirstCallAndKept) {
  ProcessWide<Value> value;
  EXPECT_FALSE(value.current().has_value());
  const Value first = value.get(seven);
  EXPECT_EQ(*first, 7);
  EXPECT_EQ(value.get(eight), first);
  EXPECT_EQ(value.current(), first);
}

TEST(ProcessWide, ValueThatIsNotToBeKeptIsForItsCallerOnly) {
  ProcessWide<Value> value;
  EXPECT_EQ(*value.get(seven, [](const auto&) { return false; }), 7);
  EXPECT_FALSE(value.current().has_value());
  EXPECT_EQ(*value.get(eight, [](const auto&) { return true; }), 8);
  EXPECT_EQ(*value.get(failing, [](const auto&) { return false; }), 8)
      << "an existing value is not asked about";
}

TEST(ProcessWide, BuildThatThrowsIsRetried) {
  ProcessWide<Value> value;
  EXPECT_THROW(value.get(failing), std::runtime_error);
  EXPECT_FALSE(value.current().has_value());
  EXPECT_EQ(*value.get(seven), 7);
}

TEST(ProcessWide, HolderKeepsTheOldValueAfterAReplacement) {
  ProcessWide<Value> value;
  const Value old = value.get(seven);
  EXPECT_EQ(*value.replace(eight), 8);
  EXPECT_EQ(*old, 7);
  EXPECT_EQ(*value.get(failing), 8);
}

TEST(ProcessWide, OldValueIsDestroyedByTheReplacementWhenNobodyHoldsIt) {
  ProcessWide<Value> value;
  const std::weak_ptr<const int> old = value.get(seven);
  value.replace(eight);
  EXPECT_TRUE(old.expired());
}

TEST(ProcessWide, ReplaceNeedsNoFormerValue) {
  ProcessWide<Value> value;
  EXPECT_EQ(*value.replace(seven), 7);
  EXPECT_EQ(*value.get(failing), 7);
}

TEST(ProcessWide, ReplacementThatThrowsLeavesTheOldValue) {
  ProcessWide<Value> value;
  const Value old = value.get(seven);
  EXPECT_THROW(value.replace(failing), std::runtime_error);
  EXPECT_EQ(value.get(eight), old);
}

TEST(ProcessWide, DropMakesTheNextCallBuild) {
  ProcessWide<Value> value;
  EXPECT_FALSE(value.drop());
  const Value old = value.get(seven);
  EXPECT_TRUE(value.drop());
  EXPECT_FALSE(value.current().has_value());
  EXPECT_EQ(*value.get(eight), 8);
  EXPECT_EQ(*old, 7);
}

TEST(ProcessWide, NullHandleIsAValueToo) {
  ProcessWide<Value> value;
  EXPECT_EQ(value.get([] { return Value(); }), nullptr);
  EXPECT_EQ(value.get(seven), nullptr);
  EXPECT_TRUE(value.drop());
}

TEST(ProcessWide, ConcurrentFirstUsersBuildOnce) {
  constexpr int kThreads = 8;
  for (int round = 0; round < 50; ++round) {
    ProcessWide<Value> value;
    std::atomic<int> builds{0};
    std::latch start(kThreads);
    std::vector<Value> seen(kThreads);
    {
      std::vector<std::jthread> threads;
      for (Value& mine : seen) {
        threads.emplace_back([&] {
          start.arrive_and_wait();
          mine = value.get([&] {
            ++builds;
            return seven();
          });
        });
      }
    }
    EXPECT_EQ(builds, 1);
    for (const Value& mine : seen) EXPECT_EQ(mine, seen.front());
  }
}

TEST(ProcessWide, ReadersGetTheOldValueDuringARebuild) {
  ProcessWide<Value> value;
  const Value old = value.get(seven);
  std::promise<void> building;
  std::promise<void> finish;
  std::jthread rebuild([&] {
    value.replace([&] {
      building.set_value();
      finish.get_future().wait();
      return eight();
    });
  });
  building.get_future().wait();
  EXPECT_EQ(value.get(failing), old);
  EXPECT_EQ(value.current(), old);
  finish.set_value();
  rebuild.join();
  EXPECT_EQ(*value.get(failing), 8);
}

// A change that arrives during a build must not leave the outdated value in place.
TEST(ProcessWide, DropAndReplaceDuringABuildTakeEffectAfterIt) {
  struct Case {
    const char* what;
    void (*change)(ProcessWide<Value>&);
    std::optional<int> expected;
  };
  for (const Case& row : {Case{"drop", [](auto& value) { value.drop(); }, std::nullopt},
                          Case{"replace", [](auto& value) { value.replace(eight); }, 8}}) {
    SCOPED_TRACE(row.what);
    ProcessWide<Value> value;
    std::promise<void> building;
    std::promise<void> finish;
    std::jthread first([&] {
      value.get([&] {
        building.set_value();
        finish.get_future().wait();
        return seven();
      });
    });
    building.get_future().wait();
    std::jthread change([&] { row.change(value); });
    finish.set_value();
    first.join();
    change.join();
    const std::optional<Value> left = value.current();
    EXPECT_EQ(left ? std::optional(**left) : std::nullopt, row.expected);
  }
}

TEST(ProcessWide, ReadersAndWritersInManyThreadsSeeWholeValues) {
  constexpr int kRounds = 2000;
  ProcessWide<std::shared_ptr<const std::vector<int>>> value;
  std::atomic<int> next{0};
  const auto build = [&] { return std::make_shared<const std::vector<int>>(16, ++next); };
  std::vector<std::jthread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) value.replace(build);
    });
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) value.drop();
    });
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const auto seen = value.get(build);
        ASSERT_EQ(std::vector<int>(16, seen->front()), *seen);
      }
    });
  }
}

// --- The ways to register, as users write them

struct RegistrationCount {
  ProcessWide<Value> value;
  std::once_flag registered;
  int registrations = 0;
};

TEST(ProcessWideRegistration, OnceAtTheFirstCallWhateverItIs) {
  RegistrationCount set;
  const auto instance = [&set](bool drop) {
    std::call_once(set.registered, [&set] { ++set.registrations; });
    if (drop) {
      set.value.drop();
      return Value();
    }
    return set.value.get(seven);
  };
  EXPECT_EQ(instance(true), nullptr);
  EXPECT_EQ(set.registrations, 1);
  EXPECT_EQ(*instance(false), 7);
  instance(true);
  instance(false);
  EXPECT_EQ(set.registrations, 1);
}

TEST(ProcessWideRegistration, AtEachPlainCallThatFindsNothing) {
  RegistrationCount set;
  const auto instance = [&set](bool destroy, bool renew) {
    if (destroy && set.value.drop()) return Value();
    if (renew) return set.value.replace(seven);
    return set.value.get([&set] {
      ++set.registrations;
      return seven();
    });
  };
  instance(false, true);
  instance(false, false);
  EXPECT_EQ(set.registrations, 0);
  EXPECT_EQ(instance(true, false), nullptr);
  EXPECT_NE(instance(true, false), nullptr);  // nothing to destroy: a plain call
  EXPECT_EQ(set.registrations, 1);
  instance(false, false);
  EXPECT_EQ(set.registrations, 1);
  instance(true, false);
  instance(false, false);
  EXPECT_EQ(set.registrations, 2);
}

}  // namespace
}  // namespace Kestrav

#include "platform/common/Mutex.h"

#include <gtest/gtest.h>

#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/common/Synchronized.h"

namespace Kestrav {
namespace {

// Tried from another thread.
bool isHeld(Mutex& mutex) {
  bool held = false;
  std::jthread([&] {
    held = !mutex.try_lock();
    if (!held) mutex.unlock();
  }).join();
  return held;
}

TEST(Mutex, IsHeldFromLockToUnlock) {
  Mutex mutex;
  mutex.lock();
  EXPECT_TRUE(isHeld(mutex));
  mutex.unlock();
  ASSERT_TRUE(mutex.try_lock());
  EXPECT_TRUE(isHeld(mutex));
  mutex.unlock();
}

TEST(Mutex, WorksWithTheStandardsGuards) {
  Mutex mutex;
  {
    const std::lock_guard guard(mutex);
    EXPECT_TRUE(isHeld(mutex));
  }
  const std::unique_lock lock(mutex, std::try_to_lock);
  EXPECT_TRUE(lock.owns_lock());
}

TEST(Synchronized, HoldsForItsScope) {
  Mutex mutex;
  {
    Synchronized guard(mutex);
    EXPECT_TRUE(isHeld(mutex));
  }
  ASSERT_TRUE(mutex.try_lock());
  mutex.unlock();
}

TEST(Synchronized, ReleasesWhenAnExceptionLeavesTheScope) {
  Mutex mutex;
  EXPECT_THROW(
      {
        Synchronized guard(mutex);
        throw std::runtime_error("out");
      },
      std::runtime_error);
  ASSERT_TRUE(mutex.try_lock());
  mutex.unlock();
}

TEST(Synchronized, KeepsThreadsApart) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 5000;
  Mutex mutex;
  int counter = 0;  // guarded by mutex
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < kRounds; ++i) {
          Synchronized guard(mutex);
          ++counter;
        }
      });
    }
  }
  EXPECT_EQ(counter, kThreads * kRounds);
}

}  // namespace
}  // namespace Kestrav

// Copies of one handle, created and destroyed in several threads.
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <utility>
#include <vector>

#include "VexaRefcounted.h"

namespace Kestrav {
namespace {

constexpr int kThreads = 4;

class Impl : public virtual RefImpl, private NonCopyable {
 public:
  explicit Impl(std::atomic<int>& died) : died_(died) {}
  ~Impl() override {
    value = 0;  // not atomic on purpose: every reader must have finished
    ++died_;
  }
  int value = 42;

 private:
  std::atomic<int>& died_;
};

TEST(RefThreads, CopiesOfASharedHandleComeAndGo) {
  constexpr int kRounds = 3000;
  std::atomic<int> died{0};
  {
    const Ref<Impl> shared(new Impl(died));
    {
      std::vector<std::jthread> threads;
      for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&shared] {
          Ref<Impl> kept;
          for (int i = 0; i < kRounds; ++i) {
            const Ref<Impl> copy(shared);
            kept = copy;
            const Ref<Impl> moved(std::move(kept));
            if (moved->value != 42 || !(moved == shared)) ADD_FAILURE();
          }
        });
      }
    }
    EXPECT_EQ(shared->referenceCount(), 1u);
    EXPECT_EQ(died, 0);
  }
  EXPECT_EQ(died, 1);
}

TEST(RefThreads, ImplementationDiesOnceWhicheverThreadLetsGoLast) {
  constexpr int kRounds = 200;
  for (int round = 0; round < kRounds; ++round) {
    std::atomic<int> died{0};
    {
      std::latch start(kThreads);
      Ref<Impl> first(new Impl(died));
      std::vector<std::jthread> threads;
      for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&start, own = first]() mutable {
          start.arrive_and_wait();
          if (own->value != 42) ADD_FAILURE();
          own = Ref<Impl>();
        });
      }
      first = Ref<Impl>();
    }
    ASSERT_EQ(died, 1) << "round " << round;
  }
}

}  // namespace
}  // namespace Kestrav

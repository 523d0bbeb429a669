// Runs a function on several threads at once.
#pragma once

#include <barrier>
#include <functional>
#include <thread>
#include <vector>

namespace Kestrav::Testing {

inline constexpr int kThreads = 4;

// Calls work(0) to work(kThreads - 1), each on a thread of its own, started at the same time.
inline void together(const std::function<void(int thread)>& work) {
  std::barrier begin(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      begin.arrive_and_wait();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace Kestrav::Testing

// Reading the newest revision whatever the calling thread holds: a thread with a query or a read
// lock sees its own revision only.
#pragma once

#include <exception>
#include <thread>

namespace Kestrav::Config::Client {

// Runs `work` on a thread of its own, which holds nothing, and waits for it. What it throws is
// thrown here.
template <class Work>
void atNewestRevision(Work work) {
  std::exception_ptr failure;
  std::thread([&] {
    try {
      work();
    } catch (...) {
      failure = std::current_exception();
    }
  }).join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace Kestrav::Config::Client

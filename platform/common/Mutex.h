// A non-recursive mutex, for Synchronized and the guards of the standard library.
#pragma once

#include <mutex>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() { mutex_.lock(); }
  // REQUIRES: held by the calling thread.
  void unlock() { mutex_.unlock(); }
  // True when the lock was acquired. May fail although no thread holds it.
  [[nodiscard]] bool try_lock() { return mutex_.try_lock(); }

 private:
  std::mutex mutex_;
};

}  // namespace Kestrav

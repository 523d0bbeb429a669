// A mutual exclusion lock, not recursive: a thread that locks it twice waits for ever.
//
// Works with Synchronized and with the standard's guards. Must outlive every lock held on it.
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
  // True when the lock was taken. May fail although nobody holds it.
  [[nodiscard]] bool tryLock() { return mutex_.try_lock(); }
  // The name that std::unique_lock and std::scoped_lock ask for.
  [[nodiscard]] bool try_lock() { return tryLock(); }

 private:
  std::mutex mutex_;
};

}  // namespace Kestrav

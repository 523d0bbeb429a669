// Holds a Mutex for a scope: `Synchronized guard(mutex);`
#pragma once

#include "platform/common/Mutex.h"

namespace Kestrav {

class [[nodiscard]] Synchronized {
 public:
  explicit Synchronized(Mutex& mutex) : mutex_(mutex) { mutex_.lock(); }
  ~Synchronized() { mutex_.unlock(); }
  Synchronized(const Synchronized&) = delete;
  Synchronized& operator=(const Synchronized&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace Kestrav

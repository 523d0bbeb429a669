// Refusing work in a child that was forked while its parent had a store attached. Such a child has
// its parent's caches but nobody who keeps them up to date.
#pragma once

#include <atomic>

#include "platform/common/Export.h"

namespace Kestrav::Config {

// Counts the forks that led to this process. The first call registers the store's fork handlers.
unsigned forkGeneration();

// Set by fork in the child; cleared when the child attaches a store of its own.
extern KESTRAV_API std::atomic<bool> parentsStoreAttached;

// Throws Exception kForked.
[[noreturn]] KESTRAV_API void throwForked();

// One relaxed load where nothing was forked.
inline void refuseParentsStore() {
  if (parentsStoreAttached.load(std::memory_order_relaxed)) [[unlikely]]
    throwForked();
}

}  // namespace Kestrav::Config

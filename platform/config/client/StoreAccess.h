// What the client's functions share: reading the attached store, and logging that it failed.
#pragma once

#include <exception>

#include "platform/common/Export.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config::Client {

// Of the attached store; empty tables and default settings without one. Throws Exception.
Snapshot newestSnapshot();

// True when a record is damaged, which a caller must not take for a missing one.
bool isDamage(const std::exception& reason);

// Code 0x4000301. In a child after fork, failures to use the parent's store are logged once.
void logStoreFailure(const char* operation, const std::exception& reason);

// Runs `work` on a thread that holds no snapshot, and waits for it: a thread with a query or a read
// lock open reads its own revision only. What `work` throws is thrown here, and Exception kInternal
// when the thread cannot be started.
KESTRAV_API void atNewestRevision(const std::function<void()>& work);

}  // namespace Kestrav::Config::Client

// Waiting for this process's event handlers.
#pragma once

#include <gtest/gtest.h>

#include "config/Event.h"

namespace Kestrav::Testing {

// In milliseconds. Reached only when something hangs.
inline constexpr int kPatienceMs = 60'000;

inline CMF::Event::Dispatcher dispatcher() {
  return CMF::Event::Dispatcher::instance("", false, false);
}

// Returns when the handlers of this process have seen the revision.
inline void awaitApplied(Config::Revision revision) {
  ASSERT_TRUE(dispatcher()->waitApplied(revision, kPatienceMs));
}

}  // namespace Kestrav::Testing

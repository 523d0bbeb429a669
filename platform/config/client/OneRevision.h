// Decisions that are made from one applied revision of the configuration.
#pragma once

#include <optional>

#include "platform/common/Export.h"
#include "platform/config/store/RevisionScope.h"

namespace Kestrav::Config::Client {

// Calls `decide`, perhaps twice; only its last answer counts. Everything that the last call takes
// from the library's caches or reads from the store is as it was at one revision.
//
// The first call answers from the caches, at the applied revision. When an entry is missing and the
// store has a newer revision, the second call answers from that one. It pins the store and waits
// until the caches have followed. It does not wait for an event handler that does not return: after
// a second, and on the event thread itself, the second call takes from the caches only what was
// read at that very revision. That is as exact, but may read whole tables.
//
// Within another decision: calls `decide` once, as part of it. Throws what `decide` throws, and
// Exception when the store cannot be read.
KESTRAV_API void atOneRevision(void (*decide)(void*), void* argument);

template <class Decide>
void atOneRevision(const Decide& decide) {
  atOneRevision([](void* argument) { (*static_cast<const Decide*>(argument))(); },
                const_cast<void*>(static_cast<const void*>(&decide)));
}

// Within one, the calling thread makes something from the revision that it reads, such as a profile
// from a record. What it takes from caches for it is of the same revision. Part of a decision if
// there is one. REQUIRES: the thread has a query or a read lock open.
class KESTRAV_API MadeAtOneRevision {
 public:
  MadeAtOneRevision();

  Revision revision() const { return revision_; }

 private:
  const Revision revision_;
  std::optional<RevisionScope> scope_;
};

}  // namespace Kestrav::Config::Client

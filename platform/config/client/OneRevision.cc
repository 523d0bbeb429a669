#include "platform/config/client/OneRevision.h"

#include <cxxabi.h>

#include "platform/config/client/EventLoop.h"
#include "platform/config/client/HandlerList.h"
#include "platform/config/client/StoreAccess.h"

namespace Kestrav::Config::Client {

namespace {

using Source = RevisionScope::Source;

// False when an entry was missing. A call that missed something may have failed because of that.
bool decideFromCaches(void (*decide)(void*), void* argument) {
  RevisionScope scope(EventLoop::instance().applied(), Source::kCaches);
  try {
    decide(argument);
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    if (!scope.missed()) throw;
  }
  return !scope.missed();
}

void decideAt(const Snapshot& snapshot, void (*decide)(void*), void* argument) {
  const bool followed = EventLoop::instance().awaitCaches(snapshot.revision());
  const RevisionScope scope(snapshot.revision(),
                            followed ? Source::kCachesAndStore : Source::kStore);
  decide(argument);
}

}  // namespace

void atOneRevision(void (*decide)(void*), void* argument) {
  if (RevisionScope::active()) return decide(argument);
  if (decideFromCaches(decide, argument)) return;
  const Snapshot snapshot = newestSnapshot();
  if (snapshot.revision() >= EventLoop::instance().applied()) {
    return decideAt(snapshot, decide, argument);
  }
  // This thread has pinned an older revision; others act on the applied one.
  atNewestRevision([&] { decideAt(newestSnapshot(), decide, argument); });
}

MadeAtOneRevision::MadeAtOneRevision() : revision_(newestSnapshot().revision()) {
  if (RevisionScope::active()) return;
  scope_.emplace(revision_, revision_ <= EventLoop::instance().applied() ? Source::kCachesAndStore
                                                                         : Source::kStore);
}

}  // namespace Kestrav::Config::Client

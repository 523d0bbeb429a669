// The revision that the calling thread's answers come from.
//
// A decision takes a policy, its profiles and what they contain from several caches. Events update
// the caches one after another, so two of them may be at different revisions. Within a
// RevisionScope every cache answers from the scope's revision or not at all.
//
// It works because a cache keeps with each entry the revision at which it was read, and removes the
// entry when an event changes it. An entry read at revision e is therefore also what revision r
// says, if e <= r and all changes up to r have been applied. Without a scope any entry may be used.
#pragma once

#include <optional>

#include "platform/common/Export.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

class KESTRAV_API RevisionScope {
 public:
  // Where answers come from.
  enum class Source {
    kCaches,          // entries up to the revision, which is applied
    kCachesAndStore,  // the same; what is missing is read from the store
    kStore,           // the store: the revision is not applied yet
  };

  // REQUIRES: the thread has no scope. Except for kCaches: it reads the store at `revision`.
  RevisionScope(Revision revision, Source source);
  ~RevisionScope();
  RevisionScope(const RevisionScope&) = delete;
  RevisionScope& operator=(const RevisionScope&) = delete;

  // Whether something was missing that the store no longer says as of this revision.
  bool missed() const { return missed_; }

  // For caches. Whether the calling thread may use an entry that was read at this revision.
  static bool usable(Revision readAt) {
    const RevisionScope* scope = current;
    if (scope == nullptr) return true;
    return readAt == scope->revision_ ||
           (readAt < scope->revision_ && scope->source_ != Source::kStore);
  }
  // The same for a value that events change in place; `changedAt` is the last revision that did.
  static bool upToDate(Revision changedAt) {
    const RevisionScope* scope = current;
    return scope == nullptr || (changedAt <= scope->revision_ && scope->source_ != Source::kStore);
  }
  // Whether the calling thread may read a missing entry from the store; keeps the store at the
  // scope's revision from then on. If not, the decision is made again, and any answer will do.
  static bool mayRead() { return current == nullptr || current->pin(); }
  static bool active() { return current != nullptr; }

 private:
  static constinit thread_local RevisionScope* current;

  bool pin();

  const Revision revision_;
  Source source_;
  bool missed_ = false;
  std::optional<Snapshot> pin_;
};

}  // namespace Kestrav::Config

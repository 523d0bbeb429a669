// One kind's cached profiles, by id.
//
// Each entry carries the revision that its profile was made from, see RevisionScope.
//
// Has a lock of its own: for some kinds, entries are looked up under one of the factory's locks and
// made or dropped under another. It also rejects outdated profiles: a load takes a ticket before it
// reads the store, and its profile is kept only if nothing was dropped since and the store was not
// read at an older revision than the last drop.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/RevisionScope.h"

namespace Kestrav {

// The newest revision of the attached store; 0 without one.
inline Config::Revision newestRevision() {
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  return store == nullptr ? 0 : store->revision();
}

template <class Handle>
class ProfileCache {
 public:
  struct Entry {
    Handle profile;
    Config::Revision read = 0;
  };
  using Entries = std::map<int, Entry>;
  // Dropped entries. Destroying them may destroy profiles: do so after locks are released.
  using Dropped = typename Entries::node_type;

  // Copies the profile to `out`; false when there is none that the calling thread may use.
  bool find(int id, Handle& out) const {
    const std::shared_lock guard(mutex_);
    const auto entry = entries_.find(id);
    if (entry == entries_.end() || !Config::RevisionScope::usable(entry->second.read)) return false;
    out = entry->second.profile;
    return true;
  }

  // Taken before a load reads the store.
  std::uint64_t ticket() const {
    const std::shared_lock guard(mutex_);
    return drops_;
  }

  // Keeps `made` unless it is outdated or there is an entry that the thread may use. Returns that
  // entry's profile, or `made`.
  Handle publish(std::uint64_t ticket, Config::Revision read, int id, const Handle& made) {
    Entry replaced;  // destroyed after the lock is released
    const std::unique_lock guard(mutex_);
    const auto entry = entries_.find(id);
    if (entry != entries_.end() && Config::RevisionScope::usable(entry->second.read)) {
      return entry->second.profile;
    }
    if (entry != entries_.end() && entry->second.read >= read) return made;
    if (ticket == drops_ && read >= lastDrop_) {
      replaced = std::exchange(entries_[id], Entry{made, read});
    }
    return made;
  }

  [[nodiscard]] Dropped erase(int id) {
    const std::unique_lock guard(mutex_);
    noteDrop();
    return entries_.extract(id);
  }

  [[nodiscard]] Entries clear() {
    const std::unique_lock guard(mutex_);
    noteDrop();
    return std::exchange(entries_, Entries());
  }

 private:
  void noteDrop() {
    ++drops_;
    lastDrop_ = newestRevision();  // with the lock held: it must not go back
  }

  mutable std::shared_mutex mutex_;
  // Guarded by mutex_.
  Entries entries_;
  std::uint64_t drops_ = 0;
  Config::Revision lastDrop_ = 0;  // newest at the last drop
};

}  // namespace Kestrav

// One kind's cached profiles, by id.
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

namespace Kestrav {

// The newest revision of the attached store; 0 without one.
inline Config::Revision newestRevision() {
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  return store == nullptr ? 0 : store->revision();
}

// The revision that the calling thread reads; 0 without a store. REQUIRES: the thread has a query
// or a read lock open.
inline Config::Revision pinnedRevision() {
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  return store == nullptr ? 0 : store->snapshot().revision();
}

template <class Handle>
class ProfileCache {
 public:
  using Entries = std::map<int, Handle>;
  // Dropped entries. Destroying them may destroy profiles: do so after locks are released.
  using Dropped = typename Entries::node_type;

  // Copies the entry to `out`; false when there is none.
  bool find(int id, Handle& out) const {
    const std::shared_lock guard(mutex_);
    const auto entry = entries_.find(id);
    if (entry == entries_.end()) return false;
    out = entry->second;
    return true;
  }

  // Taken before a load reads the store.
  std::uint64_t ticket() const {
    const std::shared_lock guard(mutex_);
    return drops_;
  }

  // Keeps `made` unless it is outdated or there is an entry. Returns the entry, if there is one, or
  // `made`.
  Handle publish(std::uint64_t ticket, Config::Revision read, int id, const Handle& made) {
    const std::unique_lock guard(mutex_);
    const auto entry = entries_.find(id);
    if (entry != entries_.end()) return entry->second;
    if (ticket == drops_ && read >= lastDrop_) entries_.emplace(id, made);
    return made;
  }

  [[nodiscard]] Dropped erase(int id) {
    const Config::Revision now = newestRevision();
    const std::unique_lock guard(mutex_);
    noteDrop(now);
    return entries_.extract(id);
  }

  [[nodiscard]] Entries clear() {
    const Config::Revision now = newestRevision();
    const std::unique_lock guard(mutex_);
    noteDrop(now);
    return std::exchange(entries_, Entries());
  }

 private:
  void noteDrop(Config::Revision now) {
    ++drops_;
    lastDrop_ = now;
  }

  mutable std::shared_mutex mutex_;
  // Guarded by mutex_.
  Entries entries_;
  std::uint64_t drops_ = 0;
  Config::Revision lastDrop_ = 0;  // newest at the last drop
};

}  // namespace Kestrav

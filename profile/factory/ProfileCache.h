// One kind's cached profiles, by id.
//
// Guards itself, whatever lock its users hold: for some kinds the lock under which entries are
// looked up is not the one under which they are made or dropped. It also keeps out what is
// outdated: a load takes a ticket before it reads the store, and what it made is kept only when
// nothing was dropped from the cache since, and when the store it read was not older than the last
// drop.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav {

// A revision of a store.
class StoreMark {
 public:
  StoreMark() = default;

  // The newest one of the attached store.
  static StoreMark newest() {
    const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
    return store == nullptr ? StoreMark() : StoreMark(store, store->revision());
  }

  // The one that the calling thread reads. REQUIRES: the thread has a query or a lock open.
  static StoreMark pinned() {
    const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
    return store == nullptr ? StoreMark() : StoreMark(store, store->snapshot().revision());
  }

  // Revisions of different stores do not compare.
  bool isBefore(const StoreMark& other) const {
    return !store_.owner_before(other.store_) && !other.store_.owner_before(store_) &&
           revision_ < other.revision_;
  }

 private:
  StoreMark(const std::shared_ptr<Config::ConfigStore>& store, Config::Revision revision)
      : store_(store), revision_(revision) {}

  std::weak_ptr<Config::ConfigStore> store_;
  Config::Revision revision_ = 0;
};

template <class Handle>
class ProfileCache {
 public:
  using Entries = std::map<int, Handle>;
  // What was dropped. Destroying it may destroy profiles: do so after locks are released.
  using Dropped = typename Entries::node_type;

  // Copies the entry to `out`; false when there is none.
  bool find(int id, Handle& out) const {
    const std::shared_lock guard(mutex_);
    const auto entry = entries_.find(id);
    if (entry == entries_.end()) return false;
    out = entry->second;
    return true;
  }

  // To be taken before a load reads the store.
  std::uint64_t ticket() const {
    const std::shared_lock guard(mutex_);
    return drops_;
  }

  // Keeps `made` unless it is outdated. Returns the entry that is there already, if any, else
  // `made`.
  Handle publish(std::uint64_t ticket, const StoreMark& read, int id, const Handle& made) {
    const std::unique_lock guard(mutex_);
    const auto entry = entries_.find(id);
    if (entry != entries_.end()) return entry->second;
    if (ticket == drops_ && !read.isBefore(lastDrop_)) entries_.emplace(id, made);
    return made;
  }

  [[nodiscard]] Dropped erase(int id) {
    const StoreMark now = StoreMark::newest();
    const std::unique_lock guard(mutex_);
    noteDrop(now);
    return entries_.extract(id);
  }

  [[nodiscard]] Entries clear() {
    const StoreMark now = StoreMark::newest();
    const std::unique_lock guard(mutex_);
    noteDrop(now);
    return std::exchange(entries_, Entries());
  }

 private:
  void noteDrop(const StoreMark& now) {
    ++drops_;
    lastDrop_ = now;
  }

  mutable std::shared_mutex mutex_;
  // Guarded by mutex_.
  Entries entries_;
  std::uint64_t drops_ = 0;
  StoreMark lastDrop_;
};

}  // namespace Kestrav

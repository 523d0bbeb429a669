// The compiled policy lists of one table, one for each configuration domain. A list is compiled on
// first use and dropped when the table or a group changes.
//
// Any thread may call of(); the event thread drops. A list of a revision older than the last drop
// is used once and not kept.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "platform/config/client/Event.h"
#include "platform/config/match/PolicyList.h"
#include "platform/config/store/Fork.h"
#include "platform/config/store/RevisionScope.h"

namespace Kestrav::Config {

template <class Traits>
class PolicyLists {
 public:
  using List = PolicyList<Traits>;

  explicit PolicyLists(G_CLI_GID gid) : gid_(gid) {}

  // Null while no store is attached, and when the thread's decision will be made again.
  std::shared_ptr<const List> of(ngid_t domain) {
    refuseParentsStore();
    {
      std::shared_lock lock(mutex_);
      const auto found = lists_.find(domain);
      if (found != lists_.end() && RevisionScope::usable(found->second->revision())) {
        return found->second;
      }
    }
    if (!RevisionScope::mayRead()) return nullptr;
    const std::shared_ptr<ConfigStore> store = ConfigStore::attached();
    if (!store) return nullptr;
    const Snapshot snapshot = store->snapshot();
    auto list = std::make_shared<const List>(gid_, domain, snapshot);
    std::unique_lock lock(mutex_);
    if (snapshot.revision() < droppedAt_) return list;
    auto& kept = lists_.try_emplace(domain, list).first->second;
    if (RevisionScope::usable(kept->revision())) return kept;
    if (kept->revision() < list->revision()) kept = list;
    return list;
  }

  void drop(ngid_t domain) {
    std::shared_ptr<const List> dropped;  // destroyed after the lock is released
    std::unique_lock lock(mutex_);
    droppedAt_ = dispatcher_->delivering();
    const auto found = lists_.find(domain);
    if (found == lists_.end()) return;
    dropped = std::move(found->second);
    lists_.erase(found);
  }

  void dropAll() {
    Map dropped;
    std::unique_lock lock(mutex_);
    droppedAt_ = dispatcher_->delivering();
    dropped.swap(lists_);
  }

 private:
  using Map = std::unordered_map<ngid_t, std::shared_ptr<const List>>;

  const G_CLI_GID gid_;
  const CMF::Event::Dispatcher dispatcher_ = CMF::Event::Dispatcher::instance("", false, false);
  std::shared_mutex mutex_;  // guards what follows
  Map lists_;
  Revision droppedAt_ = 0;  // the revision whose delivery made the last drop
};

}  // namespace Kestrav::Config

// Reader slots of threads, and the revision that a thread reads.

#include <lmdb.h>

#include <algorithm>
#include <vector>

#include "platform/config/store/Keys.h"
#include "platform/config/store/StoreCore.h"

namespace Kestrav::Config {
namespace {

// The slots of a thread, one for each store that it read. Released when the thread ends.
struct ThreadSlots {
  struct Entry {
    std::uint64_t serial;
    std::weak_ptr<StoreCore> core;
    std::shared_ptr<ReaderSlot> slot;
  };
  std::vector<Entry> entries;

  ~ThreadSlots();
};

// Outlives `threadSlots`: destructors of other thread-local objects may still read.
thread_local bool threadSlotsGone = false;
thread_local ThreadSlots threadSlots;

ThreadSlots::~ThreadSlots() {
  threadSlotsGone = true;
  for (Entry& entry : entries) {
    const auto core = entry.core.lock();
    if (core == nullptr || core->forked()) continue;
    if (entry.slot->depth > 0) {
      entry.slot->threadGone = true;
    } else {
      entry.slot->env->dropSlot(entry.slot);
    }
  }
}

std::shared_ptr<ReaderSlot> temporarySlot(StoreCore& core) {
  auto slot = core.env()->addSlot();
  slot->threadGone = true;
  return slot;
}

// The calling thread's slot. Null when it has none and `make` is false.
std::shared_ptr<ReaderSlot> threadSlot(const std::shared_ptr<StoreCore>& core, bool make) {
  if (threadSlotsGone) return make ? temporarySlot(*core) : nullptr;
  auto& entries = threadSlots.entries;
  for (auto& entry : entries) {
    if (entry.serial != core->serial) continue;
    if (make && entry.slot->depth == 0 && !core->isPresent(*entry.slot->env)) {
      entry.slot->env->dropSlot(entry.slot);
      entry.slot = core->env()->addSlot();
    }
    return entry.slot;
  }
  if (!make) return nullptr;
  entries.erase(std::remove_if(entries.begin(), entries.end(),
                               [](const auto& entry) { return entry.core.expired(); }),
                entries.end());
  entries.push_back({core->serial, core, core->env()->addSlot()});
  return entries.back().slot;
}

}  // namespace

ReadTransaction::ReadTransaction(std::shared_ptr<StoreCore> core, Mode mode)
    : core_(std::move(core)) {
  core_->checkProcess();
  slot_ = threadSlot(core_, false);
  if (mode == kShared && slot_ != nullptr && slot_->depth > 0) {
    ++slot_->depth;
    return;
  }
  for (bool begun = false; !begun;) {
    core_->follow();
    slot_ = threadSlot(core_, mode == kShared);
    // kNewest leaves the thread without a slot when it has none.
    if (slot_ == nullptr || slot_->depth > 0 || !core_->isPresent(env())) {
      slot_ = temporarySlot(*core_);
    }
    try {
      begun = env().beginRead(*slot_);
    } catch (...) {
      if (slot_->threadGone) env().dropSlot(slot_);
      throw;
    }
    if (!begun && slot_->threadGone) env().dropSlot(slot_);
  }
  try {
    readRevision();
  } catch (...) {
    end();
    throw;
  }
  slot_->depth = 1;
}

void ReadTransaction::end() {
  env().endRead(*slot_);
  if (slot_->threadGone) env().dropSlot(slot_);
}

// LMDB reads the newest transaction's number first and then copies the page that describes it. When
// two commits come in between, the thread gets a later state under the earlier number. The state is
// whole and protected, but the number is wrong. So it is used only while there is no newer one.
void ReadTransaction::readRevision() {
  const std::uint64_t transaction = mdb_txn_id(slot_->txn);
  const bool certain = env().newestTransaction(*slot_) == transaction;
  if (certain && transaction == slot_->transaction) return;
  const auto revision = get(slot_->txn, db(LmdbEnv::kMeta), Key('r'));
  slot_->revision = revision ? fromBytes<Revision>(*revision) : 0;
  slot_->transaction = certain ? transaction : 0;
}

ReadTransaction::~ReadTransaction() {
  if (core_->forked() || --slot_->depth > 0) return;
  end();
}

Revision refreshRevision(const std::shared_ptr<StoreCore>& core) {
  core->checkProcess();
  core->follow();
  const std::shared_ptr<LmdbEnv> env = core->env();
  const std::uint64_t transaction = env->lastTransaction();
  std::unique_lock lock(core->lastMutex);
  if (env->number != core->lastEnv || transaction != core->lastTransaction) {
    lock.unlock();
    const ReadTransaction reading(core, ReadTransaction::kNewest);
    lock.lock();
    if (reading.env().number > core->lastEnv) {
      core->lastEnv = reading.env().number;
      core->lastTransaction = 0;
    }
    if (reading.env().number == core->lastEnv) {
      core->lastTransaction = std::max(core->lastTransaction, reading.slot().transaction);
    }
    core->lastRevision = std::max(core->lastRevision, reading.revision());
  }
  if (core->status->revision() < core->lastRevision) core->status->publish(core->lastRevision);
  return core->status->revision();
}

}  // namespace Kestrav::Config

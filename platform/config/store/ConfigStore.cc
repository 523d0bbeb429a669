#include "platform/config/store/ConfigStore.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <new>
#include <shared_mutex>

#include "platform/common/Exception.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/SnapshotPin.h"
#include "platform/config/store/StatusArea.h"
#include "platform/config/store/StoreImpl.h"

namespace Kestrav::Config {
namespace {

// A waiting process looks at the store itself at least this often.
constexpr int kLongestWaitMs = 1000;

struct Attachment {
  // Held by attach() throughout, so that the zone and the store change in the same order.
  std::mutex attaching;
  // Whoever took a zone's address may go on using it. Guarded by `attaching`.
  std::vector<std::shared_ptr<StatusFile>> everAttached;

  std::shared_mutex mutex;
  std::shared_ptr<ConfigStore> store;  // guarded by `mutex`

  std::mutex registering;  // held while this process's slot is exchanged
};

Attachment& attachment() {
  static Attachment& state = []() -> Attachment& {
    static auto* made = new Attachment;  // used until the process is gone
    // A child may ask what is attached, whatever its parent's threads were doing.
    ::pthread_atfork(
        [] {
          attachment().attaching.lock();
          attachment().mutex.lock();
        },
        [] {
          attachment().mutex.unlock();
          attachment().attaching.unlock();
        },
        [] {
          // The child's thread is another one than that which locked for writing: unlocking would
          // not be taken for a writer's.
          new (&attachment().mutex) std::shared_mutex;
          // A thread that does not exist here may hold it; the slots of the parent's stores are not
          // this process's.
          new (&attachment().registering) std::mutex;
          attachment().attaching.unlock();
        });
    return *made;
  }();
  return state;
}

}  // namespace

ConfigStore::ConfigStore(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
ConfigStore::~ConfigStore() = default;

void ConfigStore::attach(std::shared_ptr<ConfigStore> store) {
  // The former store ends with the parameter, after the locks: ending it takes others.
  Attachment& state = attachment();
  const std::scoped_lock attaching(state.attaching);
  char* zone = nullptr;
  if (store != nullptr) {
    const auto& status = store->impl_->core->status;
    auto& kept = state.everAttached;
    if (std::find(kept.begin(), kept.end(), status) == kept.end()) kept.push_back(status);
    zone = status->zone();
  }
  {
    const std::unique_lock lock(state.mutex);
    state.store.swap(store);
  }
  currentZone(zone);
}

std::shared_ptr<ConfigStore> ConfigStore::attached() {
  const std::shared_lock lock(attachment().mutex);
  return attachment().store;
}

const std::filesystem::path& ConfigStore::folder() const {
  return impl_->core->folder;
}

Snapshot ConfigStore::snapshot() {
  auto pin = std::make_unique<Snapshot::Pin>();
  pin->reading.emplace(impl_->core, Reading::kShared);
  return Snapshot(std::move(pin));
}

Snapshot ConfigStore::emptySnapshot() {
  return Snapshot(std::make_unique<Snapshot::Pin>());
}

Revision ConfigStore::revision() const {
  impl_->core->checkProcess();
  return impl_->core->status->revision();
}

Revision ConfigStore::waitForRevision(Revision seen, int timeoutMs) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
  for (;;) {
    const Revision now = revision();
    if (now > seen) return now;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    const int wait = static_cast<int>(std::clamp<std::int64_t>(left, 0, kLongestWaitMs));
    if (wait > 0 && impl_->core->status->wait(now, wait)) continue;
    const Revision stored = refreshRevision(impl_->core);
    if (stored > seen || Clock::now() >= end) return stored;
  }
}

void ConfigStore::registerProcess(std::string_view name) {
  StoreCore& core = *impl_->core;
  const Revision present = refreshRevision(impl_->core);
  core.checkProcess();
  const std::scoped_lock lock(attachment().registering);
  const int former = core.processSlot.load();
  if (former >= 0) core.status->release(former);
  core.processSlot.store(core.status->claim(name, present));
}

void ConfigStore::applied(Revision revision) {
  impl_->core->checkProcess();
  const int slot = impl_->core->processSlot.load();
  if (slot >= 0) impl_->core->status->applied(slot, revision);
}

std::vector<ConfigStore::Process> ConfigStore::processes() const {
  return impl_->core->status->processes();
}

StatusArea& ConfigStore::status() {
  return impl_->core->area;
}

ConfigStore::Statistics ConfigStore::statistics() {
  const LmdbEnv& env = *impl_->core->env;
  impl_->core->checkProcess();
  Statistics figures{};
  figures.readersInUse = env.readersInUse();  // before this one
  const Reading reading(impl_->core, Reading::kNewest);
  figures.revision = reading.revision();
  figures.usedBytes = env.usedBytes();
  figures.mapBytes = env.mapBytes();
  figures.journalEntries = entries(reading.txn(), env.db(LmdbEnv::kJournal));
  Cursor cursor(reading.txn(), env.db(LmdbEnv::kJournal));
  if (cursor.first()) figures.oldestJournalRevision = bigEndian(cursor.key().substr(0, 8));
  figures.readerSlots = env.readerLimit();
  return figures;
}

int ConfigStore::clearDeadReaders() {
  impl_->core->checkProcess();
  return impl_->core->env->clearDeadReaders();
}

}  // namespace Kestrav::Config

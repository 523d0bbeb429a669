#include "platform/config/store/ConfigStore.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "platform/common/Exception.h"
#include "platform/config/store/Journal.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/SnapshotPin.h"
#include "platform/config/store/StatusArea.h"
#include "platform/config/store/StoreImpl.h"

namespace Kestrav::Config {
namespace {

// A waiting process looks at the store itself at least this often.
constexpr int kLongestWaitMs = 1000;

}  // namespace

ConfigStore::ConfigStore(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
ConfigStore::~ConfigStore() = default;

const std::filesystem::path& ConfigStore::folder() const {
  return impl_->core->folder;
}

Snapshot ConfigStore::snapshot() {
  auto pin = std::make_unique<Snapshot::Pin>();
  pin->reading.emplace(impl_->core, ReadTransaction::kShared);
  return Snapshot(std::move(pin));
}

Snapshot ConfigStore::emptySnapshot() {
  return Snapshot(std::make_unique<Snapshot::Pin>());
}

Revision ConfigStore::revision() const {
  impl_->core->checkProcess();
  return impl_->core->status->revision();
}

Revision ConfigStore::waitForRevision(Revision seen, int timeoutMs, const std::atomic<bool>* stop) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
  for (;;) {
    const Revision now = revision();
    if (now > seen || (stop != nullptr && stop->load())) return now;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    const int wait = static_cast<int>(std::clamp<std::int64_t>(left, 0, kLongestWaitMs));
    if (wait > 0 && impl_->core->status->wait(now, wait)) continue;
    const Revision stored = refreshRevision(impl_->core);
    if (stored > seen || Clock::now() >= end) return stored;
  }
}

void ConfigStore::wakeWaiting() {
  impl_->core->checkProcess();
  impl_->core->status->wake();
}

void ConfigStore::registerProcess(std::string_view name) {
  StoreCore& core = *impl_->core;
  const Revision present = refreshRevision(impl_->core);
  core.checkProcess();
  const std::scoped_lock lock(core.registering);
  const int former = core.processSlot.load();
  if (former >= 0) core.status->release(former);
  core.processSlot.store(core.status->claim(name, present));
}

void ConfigStore::unregisterProcess() {
  StoreCore& core = *impl_->core;
  core.checkProcess();
  const std::scoped_lock lock(core.registering);
  if (const int slot = core.processSlot.exchange(-1); slot >= 0) core.status->release(slot);
}

void ConfigStore::applied(Revision revision) {
  impl_->core->checkProcess();
  const int slot = impl_->core->processSlot.load();
  if (slot >= 0) impl_->core->status->applied(slot, revision);
}

std::vector<ConfigStore::Process> ConfigStore::processes() const {
  impl_->core->checkProcess();
  return impl_->core->status->processes();
}

StatusArea& ConfigStore::status() {
  impl_->core->checkProcess();
  return impl_->core->area;
}

ConfigStore::Statistics ConfigStore::statistics() {
  impl_->core->checkProcess();
  impl_->core->follow();
  Statistics figures{};
  figures.readersInUse = impl_->core->env()->readersInUse();  // before this one
  const ReadTransaction reading(impl_->core, ReadTransaction::kNewest);
  const LmdbEnv& env = reading.env();
  figures.revision = reading.revision();
  figures.usedBytes = env.usedBytes();
  figures.mapBytes = env.mapBytes();
  figures.journalEntries = journalEntries(reading.txn(), env, reading.revision());
  Cursor cursor(reading.txn(), env.db(LmdbEnv::kJournal));
  if (cursor.first()) figures.oldestJournalRevision = revisionOfEntry(cursor.key());
  figures.readerSlots = env.readerLimit();
  return figures;
}

int ConfigStore::clearDeadReaders() {
  impl_->core->checkProcess();
  return impl_->core->env()->clearDeadReaders();
}

}  // namespace Kestrav::Config

// Opening a store: its folder and its files. A process opens each folder once.

#include <pthread.h>
#include <unistd.h>

#include <condition_variable>
#include <map>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/config/store/Compact.h"
#include "platform/config/store/DataFile.h"
#include "platform/config/store/Files.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/Migration.h"
#include "platform/config/store/StoreImpl.h"
#include "platform/config/store/Verify.h"

namespace Kestrav::Config {
namespace {

struct Registry {
  struct Entry {
    std::weak_ptr<ConfigStore> store;
    std::weak_ptr<StoreCore> core;  // lives longer: snapshots may outlive the store
  };
  std::mutex mutex;
  std::condition_variable closed;
  std::map<FolderId, Entry> entries;  // removed when the environment is closed
  std::atomic<unsigned> generation{0};
};

Registry& registry() {
  static NoDestructor<Registry> state;
  // A fork waits until no store is being opened. The child starts without open stores.
  static const int handlers =
      ::pthread_atfork([] { registry().mutex.lock(); }, [] { registry().mutex.unlock(); },
                       [] {
                         registry().entries.clear();
                         registry().generation.fetch_add(1);
                         registry().mutex.unlock();
                       });
  static_cast<void>(handlers);
  return *state;
}

std::atomic<std::uint64_t> nextSerial{1};

[[noreturn]] void cannotOpen(const std::filesystem::path& folder, const std::string& why) {
  throw Exception("Cannot open the store in " + folder.string() + ": " + why,
                  StoreError::kCannotOpen);
}

// LMDB may end the process on a damaged page, or not find what is there.
// `store`: the file is known to belong to a store.
void refuseDamage(const std::filesystem::path& data, bool store) {
  const auto [schema, damages] = checkStructure(data);
  store = store || schema;
  if (damages.empty()) return;
  throw Exception(data.string() + (store ? " is damaged: " : " is damaged or no store: ") +
                      damages.front() + " (" + std::to_string(damages.size()) +
                      " in all; vexactl verify names them)",
                  store ? StoreError::kDamaged : StoreError::kForeignFile);
}

}  // namespace

unsigned forkGeneration() {
  return registry().generation.load(std::memory_order_relaxed);
}

StoreCore::StoreCore(std::filesystem::path storeFolder, ConfigStore::Options storeOptions)
    : folder(std::move(storeFolder)),
      options(std::move(storeOptions)),
      generation(forkGeneration()),
      serial(nextSerial.fetch_add(1)) {
  const FileSizeSignalBlocked blocked;
  checkFiles(folder, groupNamed(options.group));
  const auto data = folder / "data.mdb";
  if (!options.create && !inspectDataFile(data).present) cannotOpen(folder, "there is none");
  status = StatusFile::open(folder / "status");
  area = StatusArea(status->zone());
  const StatusFile::Lock lock(*status);  // one process at a time makes or migrates the files
  finishSwap(folder, *status);
  const DataFileState state = inspectDataFile(data);
  if (!state.present && status->revision() != 0) {
    throw Exception(data.string() +
                        " is missing or empty, but the status file beside it belongs "
                        "to revision " +
                        std::to_string(status->revision()) + " of a store",
                    StoreError::kForeignFile);
  }
  const std::optional<int> other = processUsing(folder);
  std::uint32_t schema = 0;
  if (!other && state.present) refuseDamage(data, status->revision() != 0);
  try {
    schema = openEnvironment(state.mapSize, options.create, other.has_value());
  } catch (...) {
    // A data file that LMDB could not write completely would be refused the next time.
    if (!state.present && !other) static_cast<void>(!::truncate(data.c_str(), 0));
    throw;
  }
  if (schema == kSchema) return;
  if (other) {
    throw Exception("The store in " + folder.string() + " has schema " + std::to_string(schema) +
                        " and has to be migrated to schema " + std::to_string(kSchema) +
                        ", but process " + std::to_string(*other) +
                        " has it open; stop all processes of the older version first",
                    StoreError::kInUse);
  }
  migrate(*env(), schema);
  Logger::instance(false).log(LogCode::kStoreMigrated, "%s\x01%u\x01%u", folder.c_str(),
                              static_cast<unsigned>(schema), static_cast<unsigned>(kSchema));
}

StoreCore::~StoreCore() {
  if (forked()) {
    // Closing would change the parent's files, so the environment and the status file stay open.
    static NoDestructor<std::vector<std::shared_ptr<void>>> kept;
    kept->push_back(shared);
    kept->push_back(status);
    return;
  }
  if (const int slot = processSlot.load(); slot >= 0) status->release(slot);
  shared.reset();
  if (registered == FolderId{}) return;
  std::scoped_lock lock(registry().mutex);
  registry().entries.erase(registered);
  registry().closed.notify_all();
}

std::shared_ptr<LmdbEnv> StoreCore::env() const {
  const std::scoped_lock lock(envMutex);
  return shared;
}

// Returns the schema. REQUIRES: StatusFile::Lock held.
std::uint32_t StoreCore::openEnvironment(std::size_t mapSize, bool create, bool inUse) {
  prepareLockFile(folder, options.readerSlots, inUse);
  auto made = LmdbEnv::share(std::make_shared<LmdbEnv>(folder, options, mapSize));
  const std::uint32_t schema = made->openDatabases(folder, create);
  status->dataFile(inodeOf(folder / "data.mdb"));
  present = made.get();
  {
    const std::scoped_lock lock(envMutex);
    shared.swap(made);
  }
  swapsSeen = status->swaps();
  return schema;  // the former environment is closed here, or when its last reader ends
}

// The lock of another store's status file is not held, and its lock file must not be removed.
void StoreCore::refuseReplacedStore() const {
  if (status->isAt(folder / "status")) return;
  throw Exception("The store in " + folder.string() +
                      " has been replaced by another one; restart this process to use it",
                  StoreError::kForeignFile);
}

void StoreCore::announceSwap() {
  refuseReplacedStore();
  status->swapped();
}

void StoreCore::followSwap() {
  const std::scoped_lock swapping(swapMutex);
  const std::uint64_t swaps = status->swaps();
  if (swaps == swapsSeen.load()) return;
  if (!env()->superseded(folder)) {
    swapsSeen = swaps;
    return;
  }
  const FileSizeSignalBlocked blocked;
  const StatusFile::Lock lock(*status);
  refuseReplacedStore();
  finishSwap(folder, *status);
  checkFiles(folder, groupNamed(options.group));
  const DataFileState state = inspectDataFile(folder / "data.mdb");
  openEnvironment(state.mapSize, false, processUsing(folder).has_value());
}

void StoreCore::checkProcess() const {
  if (!forked()) return;
  throw Exception("The store in " + folder.string() +
                      " was opened by a parent of this process; a child opens it itself",
                  StoreError::kForked);
}

void withEnvironment(const std::filesystem::path& folder, Group group,
                     const std::function<void(LmdbEnv&)>& use) {
  std::unique_lock lock(registry().mutex);
  const FolderId id = prepareFolder(folder, false, group);
  const auto& entries = registry().entries;
  for (auto entry = entries.find(id); entry != entries.end(); entry = entries.find(id)) {
    if (const auto core = entry->second.core.lock()) {
      lock.unlock();
      core->follow();
      const std::shared_ptr<LmdbEnv> env = core->env();
      return use(*env);
    }
    registry().closed.wait(lock);
  }
  const auto data = folder / "data.mdb";
  checkFiles(folder, group);
  if (!inspectDataFile(data).present) cannotOpen(folder, "there is none");
  const auto status = StatusFile::open(folder / "status");
  const ConfigStore::Options options;
  std::shared_ptr<LmdbEnv> env;
  {
    const StatusFile::Lock opening(*status);
    finishSwap(folder, *status);
    prepareLockFile(folder, options.readerSlots, processUsing(folder).has_value());
    env = std::make_shared<LmdbEnv>(folder, options, inspectDataFile(data).mapSize);
  }
  use(*env);
}

std::shared_ptr<ConfigStore> ConfigStore::open(const std::filesystem::path& folder,
                                               const Options& options) {
  std::unique_lock lock(registry().mutex);
  const FolderId id = prepareFolder(folder, options.create, groupNamed(options.group));
  auto& entries = registry().entries;
  std::shared_ptr<StoreCore> core;
  for (;;) {
    const auto entry = entries.find(id);
    if (entry == entries.end()) break;
    if (auto store = entry->second.store.lock()) return store;
    core = entry->second.core.lock();
    if (core != nullptr) break;
    registry().closed.wait(lock);  // another thread is closing it
  }
  if (core == nullptr) {
    std::error_code error;
    auto path = std::filesystem::canonical(folder, error);
    core = std::make_shared<StoreCore>(error ? folder : path, options);
    // The status file is ahead when the data was restored from a copy. Other processes may be
    // committing, so it is read before the data.
    const Revision published = core->status->revision();
    const ReadTransaction reading(core, ReadTransaction::kNewest);
    if (published > reading.revision()) core->status->correct(published, reading.revision());
    core->status->publish(reading.revision());
    core->registered = id;
    entries[id].core = core;
  }
  auto impl = std::make_unique<Impl>();
  impl->core = core;
  std::shared_ptr<ConfigStore> store(new ConfigStore(std::move(impl)));
  entries[id].store = store;
  return store;
}

}  // namespace Kestrav::Config

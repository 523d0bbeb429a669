// The state that a ConfigStore shares with its snapshots, which may outlive it, and with its
// threads.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <tuple>
#include <utility>

#include "platform/config/records/Tables.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/Files.h"
#include "platform/config/store/Fork.h"
#include "platform/config/store/LmdbEnv.h"
#include "platform/config/store/StatusFile.h"

namespace Kestrav::Config {

struct StoreCore {
  StoreCore(std::filesystem::path storeFolder, ConfigStore::Options storeOptions);
  ~StoreCore();
  StoreCore(const StoreCore&) = delete;
  StoreCore& operator=(const StoreCore&) = delete;

  bool forked() const { return generation != forkGeneration(); }
  void checkProcess() const;  // throws Exception kForked in a child

  // The environment of the newest data file that this process knows.
  std::shared_ptr<LmdbEnv> env() const;
  bool isPresent(const LmdbEnv& other) const { return present.load() == &other; }
  // Opens the present data file when another process has replaced it. Snapshots keep the former
  // one. REQUIRES: neither a write mutex nor StatusFile::Lock held. Throws Exception.
  void follow() {
    if (status->swaps() != swapsSeen.load()) followSwap();
  }

  // For a writer that found that its data file has lost its name: makes all processes look for the
  // present one. Throws Exception kForeignFile when another store has taken the place of this one.
  void announceSwap();

  const std::filesystem::path folder;
  const ConfigStore::Options options;
  const unsigned generation;
  const std::uint64_t serial;  // unique in this process
  std::shared_ptr<StatusFile> status;
  StatusArea area{nullptr};
  FolderId registered{};  // zeros before

  std::mutex registering;  // held while processSlot is exchanged
  std::atomic<int> processSlot{-1};

  mutable std::mutex envMutex;      // a leaf
  std::shared_ptr<LmdbEnv> shared;  // guarded by envMutex
  std::atomic<const LmdbEnv*> present{nullptr};
  std::mutex swapMutex;  // held while the present data file is opened
  std::atomic<std::uint64_t> swapsSeen{0};

  // The newest transaction whose revision was read.
  std::mutex lastMutex;
  std::uint64_t lastEnv = 0;          // its number; guarded by lastMutex
  std::uint64_t lastTransaction = 0;  // guarded by lastMutex
  Revision lastRevision = 0;          // guarded by lastMutex

  std::atomic<std::chrono::steady_clock::time_point> readersChecked{};

  // The newest order of each table. Guarded by indexMutex.
  struct CachedIndex {
    Revision reordered = 0;
    std::shared_ptr<const TableIndex> index;
  };
  std::shared_mutex indexMutex;
  std::map<std::pair<unsigned, ngid_t>, CachedIndex> indexes;

  // Rows that are damaged, by table, domain, id and the hash of their bytes, and what the journal
  // has instead; empty when it has nothing. Guarded by damagedMutex.
  std::mutex damagedMutex;
  std::map<std::tuple<unsigned, ngid_t, std::uint32_t, std::uint64_t>, std::string> damagedRows;

 private:
  std::uint32_t openEnvironment(std::size_t mapSize, bool create, bool inUse);
  void followSwap();
  void refuseReplacedStore() const;
};

// Reads one revision for the life of the object. kShared: on the thread's own slot, at the revision
// that the thread has pinned, or else pins now. kNewest: at the newest revision, even when the
// thread has pinned an older one.
class ReadTransaction {
 public:
  enum Mode { kShared, kNewest };
  ReadTransaction(std::shared_ptr<StoreCore> core, Mode mode);
  ~ReadTransaction();
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;

  StoreCore& core() const { return *core_; }
  ReaderSlot& slot() const { return *slot_; }
  MDB_txn* txn() const { return slot_->txn; }
  LmdbEnv& env() const { return *slot_->env; }
  unsigned db(LmdbEnv::Db which) const { return env().db(which); }
  Revision revision() const { return slot_->revision; }

 private:
  void readRevision();
  void end();

  std::shared_ptr<StoreCore> core_;
  std::shared_ptr<ReaderSlot> slot_;
};

// Calls `use` with the environment of the store in `folder`: the one that this process has open, or
// one that is open during the call and whose sub-databases are not. Throws Exception kCannotOpen
// when there is no store.
void withEnvironment(const std::filesystem::path& folder, Group group,
                     const std::function<void(LmdbEnv&)>& use);

// Publishes the store's revision in case its writer died between commit and publication. Returns
// it.
Revision refreshRevision(const std::shared_ptr<StoreCore>& core);

}  // namespace Kestrav::Config

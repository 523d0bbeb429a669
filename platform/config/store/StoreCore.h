// What ConfigStore, its snapshots and its threads share. It lives until the last of them lets go;
// snapshots may outlive the ConfigStore they came from.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "platform/config/records/Tables.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/LmdbEnv.h"
#include "platform/config/store/StatusFile.h"

namespace Kestrav::Config {

// Counts the forks that led to this process; a store knows the count under which it was opened.
unsigned forkGeneration();

struct StoreCore {
  StoreCore(std::filesystem::path storeFolder, ConfigStore::Options storeOptions);
  ~StoreCore();
  StoreCore(const StoreCore&) = delete;
  StoreCore& operator=(const StoreCore&) = delete;

  bool forked() const { return generation != forkGeneration(); }
  void checkProcess() const;  // throws Exception kForked in a child

  const std::filesystem::path folder;
  const ConfigStore::Options options;
  const unsigned generation;
  const std::uint64_t serial;  // of this object in this process; never used twice
  std::shared_ptr<StatusFile> status;
  std::unique_ptr<LmdbEnv> env;
  StatusArea area{nullptr};
  std::pair<std::uint64_t, std::uint64_t> registered{};  // device and inode; zeros before

  std::mutex registering;  // held while processSlot is exchanged
  std::atomic<int> processSlot{-1};

  // The last transaction that was looked at for its revision.
  std::mutex lastMutex;
  std::uint64_t lastTransaction = 0;  // guarded by lastMutex
  Revision lastRevision = 0;          // guarded by lastMutex

  // Guarded by env->writeMutex().
  std::chrono::steady_clock::time_point readersChecked{};

  // Orders of tables, newest only. Guarded by indexMutex.
  struct CachedIndex {
    Revision reordered = 0;
    std::shared_ptr<const TableIndex> index;
  };
  std::shared_mutex indexMutex;
  std::map<std::pair<unsigned, ngid_t>, CachedIndex> indexes;
};

// Reads of one revision, for as long as the object lives. The thread's own slot, shared with what
// else it reads meanwhile (kShared), or the newest revision whatever the thread has pinned
// (kNewest).
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
  unsigned db(LmdbEnv::Db which) const { return core_->env->db(which); }
  Revision revision() const { return slot_->revision; }

 private:
  void readRevision();

  std::shared_ptr<StoreCore> core_;
  std::shared_ptr<ReaderSlot> slot_;
};

// Publishes the store's revision when the status file lags behind, after a writer that died before
// it could.
Revision refreshRevision(const std::shared_ptr<StoreCore>& core);

}  // namespace Kestrav::Config

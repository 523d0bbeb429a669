// The LMDB environment of one store, opened once in this process, and its reader slots.
//
// A map is resized only while no transaction of this process runs, so a resize waits until the
// slots of all other threads are idle. The resizing thread's own read transactions are reset before
// and renewed after it. Thread-safe unless a function says otherwise.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/Lmdb.h"

namespace Kestrav::Config {

// Identifies the calling thread; unique in this process.
std::uint64_t threadNumber();

// A place in LMDB's table of readers, used by one thread. Its transaction is kept between uses,
// which makes reading cheap. It is released when the thread ends or when other threads need the
// place.
class LmdbEnv;

struct ReaderSlot {
  // kGone: its environment is retired, and it is used no more.
  enum State : int { kIdle, kActive, kTaken, kGone };
  std::atomic<int> state{kIdle};
  MDB_txn* txn = nullptr;  // used only by the thread that moved `state` away from kIdle

  std::shared_ptr<LmdbEnv> env;                 // keeps the object, not what LMDB has open
  const std::uint64_t thread = threadNumber();  // the only one that reads on it

  // The rest belongs to the slot's thread.
  unsigned walks = 0;  // running: their cursors point into the map
  unsigned depth = 0;
  Revision revision = 0;          // read now, or read last
  std::uint64_t transaction = 0;  // LMDB's number of that revision's transaction; 0: unknown
  bool threadGone = false;
  struct {
    Revision revision = 0;
    unsigned gid = 0;  // 0: none yet
    ngid_t domain = 0;
    std::shared_ptr<const TableIndex> index;
  } lastIndex;
};

class LmdbEnv : public std::enable_shared_from_this<LmdbEnv> {
 public:
  enum Db : unsigned { kRows, kIds, kMeta, kJournal };
  static constexpr unsigned kDbs = 4;

  // Throws Exception. `mapSize` is the last writer's.
  LmdbEnv(const std::filesystem::path& folder, const ConfigStore::Options& options,
          std::size_t mapSize);
  ~LmdbEnv();
  LmdbEnv(const LmdbEnv&) = delete;
  LmdbEnv& operator=(const LmdbEnv&) = delete;

  // A reference for those who use the environment without a slot. After the last one has gone, and
  // after the last reader has ended, LMDB's environment is closed. Call it once.
  static std::shared_ptr<LmdbEnv> share(std::shared_ptr<LmdbEnv> env);
  const std::uint64_t number;  // unique in this process

  // Whether the data file has another inode by now: the environment is that of a former file.
  bool superseded(const std::filesystem::path& folder) const;

  // Opens the sub-databases, or makes them when the environment is empty and `create` is set.
  // Returns the store's schema, from kOldestSchema to kSchema. Call it once, before all functions
  // below.
  std::uint32_t openDatabases(const std::filesystem::path& folder, bool create);
  unsigned db(Db which) const { return dbs_[which]; }

  std::shared_ptr<ReaderSlot> addSlot();
  void dropSlot(const std::shared_ptr<ReaderSlot>& slot);
  // REQUIRES: the slot is idle and the caller's own. False when the environment is retired.
  [[nodiscard]] bool beginRead(ReaderSlot& slot);
  void endRead(ReaderSlot& slot);

  // Held from before a write transaction begins until after it ends, and during a resize.
  std::mutex& writeMutex() { return writeMutex_; }
  // REQUIRES: writeMutex() held.
  MDB_txn* beginWrite();
  // Doubles the map. REQUIRES: writeMutex() held, no write transaction. Throws Exception kFull when
  // it has its full size already, when other threads of this process keep their snapshots for too
  // long, or when the calling thread holds one that cannot be renewed.
  void grow();

  int clearDeadReaders();
  std::uint64_t lastTransaction() const;
  // As lastTransaction(), for a thread that is reading on `slot`.
  std::uint64_t newestTransaction(const ReaderSlot& slot) const;
  std::size_t usedBytes() const;
  std::size_t mapBytes() const;
  unsigned readersInUse() const;
  unsigned readerLimit() const;
  int dataDescriptor() const;  // of the data file; LMDB's own

 private:
  void makeDatabases(const std::filesystem::path& folder);
  [[nodiscard]] bool enter(ReaderSlot& slot);
  void leave(ReaderSlot& slot);
  bool reclaimIdleSlots();
  void closeWhenIdle();
  void followMapSize();
  void resize(std::size_t size);  // 0: what the newest transaction says. REQUIRES: writeMutex_ held
  std::vector<std::shared_ptr<ReaderSlot>> ownReaders() const;
  void readRevisionAgain(ReaderSlot& slot);

  MDB_env* env_ = nullptr;  // null after it was closed
  std::atomic<bool> retired_{false};
  unsigned dbs_[kDbs] = {};
  std::size_t maximumMapSize_;
  std::chrono::milliseconds resizePatience_;
  std::mutex writeMutex_;

  std::atomic<bool> resizing_{false};
  mutable std::mutex gateMutex_;
  std::condition_variable gate_;

  mutable std::mutex slotsMutex_;
  std::vector<std::shared_ptr<ReaderSlot>> slots_;
};

}  // namespace Kestrav::Config

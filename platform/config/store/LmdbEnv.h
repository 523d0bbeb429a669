// The LMDB environment of one store, opened once in this process, and the readers' places in it.
//
// A map is resized only while no transaction of this process runs. Reading threads therefore pass a
// gate: the state of their own slot, which a resize waits for. The resizing thread cannot wait for
// itself: what it reads is taken up again behind the resize. Thread-safe unless a function says
// otherwise.
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

// Of the calling thread, in this process; never used twice.
std::uint64_t threadNumber();

// A place among the readers, used by one thread at a time. Its transaction is kept between uses,
// which makes reading cheap; it is given back when the thread ends or when others need the place.
struct ReaderSlot {
  enum State : int { kIdle, kActive, kTaken };
  std::atomic<int> state{kIdle};
  MDB_txn* txn = nullptr;  // touched only by whoever moved `state` away from kIdle

  const std::uint64_t thread = threadNumber();  // the only one that reads on it

  // The rest belongs to the slot's thread.
  unsigned walks = 0;  // under way: their cursors stand in the map
  unsigned depth = 0;
  Revision revision = 0;          // that is being read, or was last
  std::uint64_t transaction = 0;  // LMDB's number of that revision's transaction; 0 when not known
  bool threadGone = false;
  struct {
    Revision revision = 0;
    unsigned gid = 0;  // 0: none yet
    ngid_t domain = 0;
    std::shared_ptr<const TableIndex> index;
  } lastIndex;
};

class LmdbEnv {
 public:
  enum Db : unsigned { kRows, kIds, kMeta, kJournal };
  static constexpr unsigned kDbs = 4;

  // Throws Exception. `mapSize` is what the last writer had.
  LmdbEnv(const std::filesystem::path& folder, const ConfigStore::Options& options,
          std::size_t mapSize);
  ~LmdbEnv();
  LmdbEnv(const LmdbEnv&) = delete;
  LmdbEnv& operator=(const LmdbEnv&) = delete;

  // Opens the sub-databases, or makes them when the environment is empty and `create` is set.
  // Returns the store's schema, from kOldestSchema to kSchema. Call it once, before all functions
  // below.
  std::uint32_t openDatabases(const std::filesystem::path& folder, bool create);
  unsigned db(Db which) const { return dbs_[which]; }

  std::shared_ptr<ReaderSlot> addSlot();
  void dropSlot(const std::shared_ptr<ReaderSlot>& slot);
  // REQUIRES: the slot is idle and the caller's own.
  void beginRead(ReaderSlot& slot);
  void endRead(ReaderSlot& slot);

  // Of the write transaction: taken before it begins and until it has ended. Also held while
  // resizing.
  std::mutex& writeMutex() { return writeMutex_; }
  // REQUIRES: writeMutex() held.
  MDB_txn* beginWrite();
  // Doubles the map. REQUIRES: writeMutex() held, no write transaction. Throws Exception kFull when
  // it has its full size already, when other readers of this process do not let go of their
  // snapshots, or when the calling thread holds one that cannot be taken up again.
  void grow();

  int clearDeadReaders();
  std::uint64_t lastTransaction() const;
  // As lastTransaction(), for a thread that is reading on `slot`.
  std::uint64_t newestTransaction(const ReaderSlot& slot) const;
  std::size_t usedBytes() const;
  std::size_t mapBytes() const;
  unsigned readersInUse() const;
  unsigned readerLimit() const;

 private:
  void makeDatabases(const std::filesystem::path& folder);
  void enter(ReaderSlot& slot);
  void leave(ReaderSlot& slot);
  bool reclaimIdleSlots();
  void followMapSize();
  void resize(std::size_t size);  // 0: what the newest transaction says. REQUIRES: writeMutex_ held
  std::vector<std::shared_ptr<ReaderSlot>> ownReaders() const;
  void takeUpAgain(ReaderSlot& slot);

  MDB_env* env_ = nullptr;
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

#include "platform/config/store/LmdbEnv.h"

#include <lmdb.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <thread>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/store/DataFile.h"
#include "platform/config/store/Keys.h"

namespace Kestrav::Config {
namespace {

constexpr const char* kNames[LmdbEnv::kDbs] = {"rows", "ids", "meta", "journal"};
constexpr int kAttempts = 20;  // to begin a transaction while other processes resize the map
constexpr std::size_t kSmallestMap = 1u << 20;

std::size_t wholePages(std::size_t size) {
  return (size + 4095) & ~std::size_t{4095};
}

// Whether the process can map that much more. A resize that fails leaves it without a map.
bool mappable(std::size_t size) {
  void* map = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (map == MAP_FAILED) return false;
  ::munmap(map, size);
  return true;
}

std::atomic<std::uint64_t> threads{0};
std::atomic<std::uint64_t> environments{0};

Exception noResize(const std::string& why) {
  return Exception("The store's map cannot be resized: " + why, StoreError::kFull);
}

}  // namespace

std::uint64_t threadNumber() {
  thread_local const std::uint64_t number = threads.fetch_add(1) + 1;
  return number;
}

LmdbEnv::LmdbEnv(const std::filesystem::path& folder, const ConfigStore::Options& options,
                 std::size_t mapSize)
    : number(environments.fetch_add(1) + 1),
      maximumMapSize_(wholePages(std::max(options.maximumMapSize, kSmallestMap))),
      resizePatience_(options.resizePatienceMs) {
  std::size_t size = wholePages(
      std::max({std::min(options.initialMapSize, maximumMapSize_), mapSize, std::size_t{65536}}));
  while (size > mapSize && size > kSmallestMap && !mappable(size)) size = wholePages(size / 2);
  check(mdb_env_create(&env_), "create");
  try {
    check(mdb_env_set_maxdbs(env_, kDbs), "create");
    check(mdb_env_set_maxreaders(env_, options.readerSlots), "create");
    check(mdb_env_set_mapsize(env_, size), "create");
    check(mdb_env_open(env_, folder.c_str(), MDB_NOTLS, 0600), "open");
  } catch (const Exception& failure) {
    mdb_env_close(env_);
    throw Exception("Cannot open the store in " + folder.string() + ": " + failure.message(),
                    failure.code());
  }
}

LmdbEnv::~LmdbEnv() {
  for (const auto& slot : slots_) mdb_txn_abort(slot->txn);
  if (env_ != nullptr) mdb_env_close(env_);
}

std::shared_ptr<LmdbEnv> LmdbEnv::share(std::shared_ptr<LmdbEnv> env) {
  LmdbEnv* const object = env.get();
  return {object, [kept = std::move(env)](LmdbEnv* retired) {
            retired->retired_.store(true);
            retired->closeWhenIdle();
          }};
}

// Either this function sees that a slot is idle, or the slot's thread sees that the environment is
// retired and calls it: both write first and then read, in one total order.
void LmdbEnv::closeWhenIdle() {
  std::vector<std::shared_ptr<ReaderSlot>> gone;  // ends after the lock
  const std::scoped_lock lock(slotsMutex_);
  const auto removed = std::stable_partition(slots_.begin(), slots_.end(), [](const auto& slot) {
    int expected = ReaderSlot::kIdle;
    if (!slot->state.compare_exchange_strong(expected, ReaderSlot::kGone)) return true;
    mdb_txn_abort(std::exchange(slot->txn, nullptr));
    return false;
  });
  gone.assign(std::make_move_iterator(removed), std::make_move_iterator(slots_.end()));
  slots_.erase(removed, slots_.end());
  if (slots_.empty() && env_ != nullptr) mdb_env_close(std::exchange(env_, nullptr));
}

bool LmdbEnv::superseded(const std::filesystem::path& folder) const {
  struct stat own {};
  struct stat present {};
  return ::fstat(dataDescriptor(), &own) == 0 &&
         ::stat((folder / "data.mdb").c_str(), &present) == 0 &&
         (own.st_dev != present.st_dev || own.st_ino != present.st_ino);
}

std::uint32_t LmdbEnv::openDatabases(const std::filesystem::path& folder, bool create) {
  const auto foreign = [&folder](const std::string& why) {
    return Exception((folder / "data.mdb").string() + " is no configuration store: " + why,
                     StoreError::kForeignFile);
  };
  ReaderSlot slot;  // no other thread knows this environment yet
  static_cast<void>(beginRead(slot));
  leave(slot);
  Transaction reading(std::exchange(slot.txn, nullptr));
  MDB_txn* const txn = reading.get();
  for (unsigned i = 0; i < kDbs; ++i) {
    const int rc = mdb_dbi_open(txn, kNames[i], 0, &dbs_[i]);
    if (rc == MDB_NOTFOUND) {
      MDB_dbi main = 0;
      check(mdb_dbi_open(txn, nullptr, 0, &main), "open");
      if (entries(txn, main) != 0) throw foreign(std::string("it has no part named ") + kNames[i]);
      if (!create) throw foreign("it is empty");
      reading.abort();
      makeDatabases(folder);
      return kSchema;
    }
    if (rc == MDB_INCOMPATIBLE) {
      throw foreign(std::string("its part ") + kNames[i] + " is of another kind");
    }
    check(rc, "open");
  }
  const auto stored = Kestrav::Config::get(txn, dbs_[kMeta], Key('s'));
  if (!stored || stored->size() != sizeof kSchema) throw foreign("it has no schema number");
  const auto schema = fromBytes<std::uint32_t>(*stored);
  if (schema > kSchema) {
    throw Exception("The store in " + folder.string() + " was written with schema " +
                        std::to_string(schema) + "; this version knows schemas up to " +
                        std::to_string(kSchema),
                    StoreError::kNewerSchema);
  }
  if (schema < kOldestSchema) throw foreign("its schema number is " + std::to_string(schema));
  reading.commit();  // keeps the sub-databases open
  return schema;
}

void LmdbEnv::makeDatabases(const std::filesystem::path& folder) {
  const std::scoped_lock lock(writeMutex_);
  Transaction writing(beginWrite());
  try {
    for (unsigned i = 0; i < kDbs; ++i) {
      check(mdb_dbi_open(writing.get(), kNames[i], MDB_CREATE, &dbs_[i]), "create");
    }
    put(writing.get(), dbs_[kMeta], Key('s'), asBytes(kSchema));
    put(writing.get(), dbs_[kMeta], Key('r'), asBytes(Revision{0}));
    put(writing.get(), dbs_[kMeta], Key('j'), asBytes(Revision{0}));
    writing.commit();
  } catch (const MapFull&) {
    throw Exception("The store in " + folder.string() + " cannot be made: its map is too small",
                    StoreError::kFull);
  }
}

// ---- Readers.

std::shared_ptr<ReaderSlot> LmdbEnv::addSlot() {
  auto slot = std::make_shared<ReaderSlot>();
  slot->env = shared_from_this();
  std::scoped_lock lock(slotsMutex_);
  slots_.push_back(slot);
  return slot;
}

void LmdbEnv::dropSlot(const std::shared_ptr<ReaderSlot>& slot) {
  std::scoped_lock lock(slotsMutex_);
  slots_.erase(std::remove(slots_.begin(), slots_.end(), slot), slots_.end());
  if (slot->txn != nullptr) mdb_txn_abort(std::exchange(slot->txn, nullptr));
}

// The reader sees the resize, or the resize sees the reader: both write first and then read, in one
// total order.
bool LmdbEnv::enter(ReaderSlot& slot) {
  for (;;) {
    int expected = ReaderSlot::kIdle;
    if (!slot.state.compare_exchange_strong(expected, ReaderSlot::kActive)) {
      if (expected == ReaderSlot::kGone) return false;
      std::this_thread::yield();  // being reclaimed, which takes microseconds
      continue;
    }
    if (!resizing_.load()) return true;
    slot.state.store(ReaderSlot::kIdle);
    std::unique_lock lock(gateMutex_);
    gate_.notify_all();
    gate_.wait(lock, [this] { return !resizing_.load(); });
  }
}

void LmdbEnv::leave(ReaderSlot& slot) {
  slot.state.store(ReaderSlot::kIdle);
  if (!resizing_.load()) return;
  std::scoped_lock lock(gateMutex_);
  gate_.notify_all();
}

bool LmdbEnv::beginRead(ReaderSlot& slot) {
  for (int attempt = 0;; ++attempt) {
    if (!enter(slot)) return false;
    const int rc = slot.txn != nullptr ? mdb_txn_renew(slot.txn)
                                       : mdb_txn_begin(env_, nullptr, MDB_RDONLY, &slot.txn);
    if (rc == MDB_SUCCESS) return true;
    if (slot.txn != nullptr) mdb_txn_abort(std::exchange(slot.txn, nullptr));
    leave(slot);
    if (rc == MDB_MAP_RESIZED && attempt < kAttempts) {
      followMapSize();
    } else if (rc == MDB_READERS_FULL) {
      if (attempt < kAttempts && (clearDeadReaders() > 0 || reclaimIdleSlots())) continue;
      throw Exception("All " + std::to_string(readerLimit()) +
                          " reader slots of the store are taken: that many threads, of all "
                          "processes, can read at once",
                      StoreError::kNoReaderSlot);
    } else {
      check(rc, "begin reading");
    }
  }
}

void LmdbEnv::endRead(ReaderSlot& slot) {
  mdb_txn_reset(slot.txn);
  leave(slot);
  if (retired_.load()) closeWhenIdle();
}

bool LmdbEnv::reclaimIdleSlots() {
  bool any = false;
  std::scoped_lock lock(slotsMutex_);
  for (const auto& slot : slots_) {
    int expected = ReaderSlot::kIdle;
    if (!slot->state.compare_exchange_strong(expected, ReaderSlot::kTaken)) continue;
    if (slot->txn != nullptr) {
      mdb_txn_abort(std::exchange(slot->txn, nullptr));
      any = true;
    }
    slot->state.store(ReaderSlot::kIdle);
  }
  return any;
}

int LmdbEnv::clearDeadReaders() {
  int dead = 0;
  check(mdb_reader_check(env_, &dead), "clear readers");
  if (dead > 0) Logger::instance().log(LogCode::kStoreReaderCleared, "%d", dead);
  return dead;
}

// ---- Writing and the size of the map.

MDB_txn* LmdbEnv::beginWrite() {
  for (int attempt = 0;; ++attempt) {
    MDB_txn* txn = nullptr;
    const int rc = mdb_txn_begin(env_, nullptr, 0, &txn);
    if (rc == MDB_SUCCESS) return txn;
    if (rc != MDB_MAP_RESIZED || attempt >= kAttempts) check(rc, "begin writing");
    resize(0);
  }
}

void LmdbEnv::grow() {
  const std::size_t size = mapBytes();
  if (size >= maximumMapSize_) {
    throw Exception(
        "The store is full: its map has its full size of " + std::to_string(size) + " bytes",
        StoreError::kFull);
  }
  resize(std::min(size * 2, maximumMapSize_));
}

void LmdbEnv::followMapSize() {
  std::scoped_lock lock(writeMutex_);
  resize(0);
}

std::vector<std::shared_ptr<ReaderSlot>> LmdbEnv::ownReaders() const {
  std::vector<std::shared_ptr<ReaderSlot>> own;
  const std::scoped_lock lock(slotsMutex_);
  std::copy_if(slots_.begin(), slots_.end(), std::back_inserter(own), [](const auto& slot) {
    return slot->thread == threadNumber() && slot->state.load() == ReaderSlot::kActive;
  });
  return own;
}

void LmdbEnv::resize(std::size_t size) {
  // While a transaction is reset, LMDB may reuse the pages of its revision, unless it is the newest
  // one.
  const auto own = ownReaders();
  for (const auto& slot : own) {
    if (slot->walks > 0) throw noResize("the calling thread is walking through a table");
    if (mdb_txn_id(slot->txn) != newestTransaction(*slot)) {
      throw noResize("the calling thread holds a snapshot of an older revision");
    }
  }
  const std::size_t present = mapBytes();
  const char* path = nullptr;
  check(mdb_env_get_path(env_, &path), "resize");
  const std::size_t wanted =
      size != 0 ? size : inspectDataFile(std::filesystem::path(path) / "data.mdb").mapSize;

  std::unique_lock gate(gateMutex_);
  resizing_.store(true);
  const auto quiet = [this] {
    std::scoped_lock lock(slotsMutex_);
    return std::none_of(slots_.begin(), slots_.end(), [](const auto& slot) {
      return slot->state.load() == ReaderSlot::kActive && slot->thread != threadNumber();
    });
  };
  const bool drained = gate_.wait_for(gate, resizePatience_, quiet);
  const bool possible = drained && (wanted <= present || mappable(wanted - present));
  int rc = MDB_SUCCESS;
  if (possible) {
    for (const auto& slot : own) mdb_txn_reset(slot->txn);
    rc = mdb_env_set_mapsize(env_, size);
    for (const auto& slot : own) {
      for (int attempt = 0; rc == MDB_SUCCESS; ++attempt) {
        rc = mdb_txn_renew(slot->txn);
        if (rc != MDB_MAP_RESIZED || attempt >= kAttempts) break;
        rc = mdb_env_set_mapsize(env_, 0);
      }
    }
  }
  resizing_.store(false);
  gate_.notify_all();
  gate.unlock();
  if (!drained) throw noResize("threads of this process hold snapshots");
  if (!possible) {
    throw Exception("The store's map cannot grow to " + std::to_string(wanted) +
                        " bytes: the process has no room for it",
                    StoreError::kFull);
  }
  check(rc, "resize");
  for (const auto& slot : own) readRevisionAgain(*slot);
}

// Another process may have committed while the transaction was reset.
void LmdbEnv::readRevisionAgain(ReaderSlot& slot) {
  const auto revision = Kestrav::Config::get(slot.txn, dbs_[kMeta], Key('r'));
  slot.revision = revision ? fromBytes<Revision>(*revision) : 0;
  slot.transaction = 0;
}

// ---- Figures.

std::uint64_t LmdbEnv::newestTransaction(const ReaderSlot&) const {
  MDB_envinfo info{};
  check(mdb_env_info(env_, &info), "look");
  return info.me_last_txnid;
}

std::uint64_t LmdbEnv::lastTransaction() const {
  std::scoped_lock lock(gateMutex_);  // the map must not move meanwhile
  MDB_envinfo info{};
  check(mdb_env_info(env_, &info), "look");
  return info.me_last_txnid;
}

std::size_t LmdbEnv::usedBytes() const {
  std::scoped_lock lock(gateMutex_);  // the map must not move meanwhile
  MDB_envinfo info{};
  MDB_stat stat{};
  check(mdb_env_info(env_, &info), "look");
  check(mdb_env_stat(env_, &stat), "look");
  return (info.me_last_pgno + 1) * stat.ms_psize;
}

std::size_t LmdbEnv::mapBytes() const {
  std::scoped_lock lock(gateMutex_);  // the map must not move meanwhile
  MDB_envinfo info{};
  check(mdb_env_info(env_, &info), "look");
  return info.me_mapsize;
}

unsigned LmdbEnv::readersInUse() const {
  // LMDB calls back for each line: a headline and one line for each reader, or a single line when
  // there is none.
  unsigned lines = 0;
  mdb_reader_list(
      env_,
      [](const char*, void* count) {
        ++*static_cast<unsigned*>(count);
        return 0;
      },
      &lines);
  return lines > 0 ? lines - 1 : 0;
}

int LmdbEnv::dataDescriptor() const {
  mdb_filehandle_t descriptor = -1;
  check(mdb_env_get_fd(env_, &descriptor), "look");
  return descriptor;
}

unsigned LmdbEnv::readerLimit() const {
  unsigned limit = 0;
  mdb_env_get_maxreaders(env_, &limit);
  return limit;
}

}  // namespace Kestrav::Config

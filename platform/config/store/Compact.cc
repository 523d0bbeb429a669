#include "platform/config/store/Compact.h"

#include <fcntl.h>
#include <lmdb.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/Files.h"
#include "platform/config/store/Journal.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/StoreImpl.h"
#include "platform/config/store/Verify.h"

namespace Kestrav::Config {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBatchBytes = 32u << 20;  // written in one transaction
constexpr const char* kNames[LmdbEnv::kDbs] = {"rows", "ids", "meta", "journal"};

[[noreturn]] void cannot(const char* what, const fs::path& path) {
  throw Exception("Cannot " + std::string(what) + " " + path.string() + ": " + std::strerror(errno),
                  codeOf(errno));
}

void synchronise(const fs::path& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) cannot("open", path);
  const int rc = ::fsync(fd);
  ::close(fd);
  if (rc != 0) cannot("write", path);
}

// Removes the file unless it got another name.
class NewFile {
 public:
  // `bytes` are zeros that have their blocks.
  NewFile(fs::path path, const struct stat& like, std::size_t bytes = 0) : path_(std::move(path)) {
    ::unlink(path_.c_str());  // of a process that died
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) cannot("make", path_);
    const bool own = (like.st_uid == ::geteuid() && like.st_gid == ::getegid()) ||
                     ::fchown(fd, like.st_uid, like.st_gid) == 0;
    const bool mode = own && ::fchmod(fd, like.st_mode & 0777) == 0;
    try {
      if (!mode) cannot("make", path_);
      if (bytes != 0) allocate(fd, bytes, path_);
    } catch (...) {
      ::close(fd);
      ::unlink(path_.c_str());
      throw;
    }
    ::close(fd);
  }
  ~NewFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  const fs::path& path() const { return path_; }
  void rename(const fs::path& name) {
    if (::rename(path_.c_str(), name.c_str()) != 0) cannot("replace", name);
    path_.clear();
  }

 private:
  fs::path path_;
};

// A data file that is being written, by key order. Pages hold the entries and nothing else: LMDB
// leaves what was erased in the free parts of a page, so pages are not copied.
class Writer {
 public:
  Writer(const fs::path& path, std::size_t mapSize) {
    check(mdb_env_create(&env_), "copy");
    try {
      check(mdb_env_set_maxdbs(env_, LmdbEnv::kDbs), "copy");
      check(mdb_env_set_mapsize(env_, mapSize), "copy");
      check(mdb_env_open(env_, path.c_str(), MDB_NOSUBDIR | MDB_NOLOCK | MDB_NOSYNC, 0600), "copy");
    } catch (...) {
      mdb_env_close(env_);
      throw;
    }
  }
  ~Writer() {
    writing_.reset();
    mdb_env_close(env_);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void begin(const char* database) {
    finish();
    check(mdb_dbi_open(txn(), database, MDB_CREATE, &database_), "copy");
  }
  void add(std::string_view key, std::string_view value) {
    append(txn(), database_, key, value);
    batch_ += key.size() + value.size();
    if (batch_ >= kBatchBytes) finish();
  }
  void finish() {
    if (writing_) writing_->commit();
    writing_.reset();
    batch_ = 0;
  }

 private:
  MDB_txn* txn() {
    if (!writing_) {
      MDB_txn* begun = nullptr;
      check(mdb_txn_begin(env_, nullptr, 0, &begun), "copy");
      writing_.emplace(begun);
    }
    return writing_->get();
  }

  MDB_env* env_ = nullptr;
  unsigned database_ = 0;
  std::optional<Transaction> writing_;
  std::size_t batch_ = 0;
};

// The row, or what the journal has instead of a damaged one: the copy has no journal.
std::string undamaged(MDB_txn* txn, const LmdbEnv& env, std::string_view key,
                      std::string_view row) {
  const auto gid = static_cast<G_CLI_GID>(bigEndian(key.substr(0, 4)));
  const auto domain = static_cast<ngid_t>(bigEndian(key.substr(4, 4)));
  const std::uint32_t id = idOfRow(key);
  const Table* table = findTable(gid);
  std::string reason;
  if (table == nullptr || RowCodec::decode(*table, domain, id, row, reason)) {
    return std::string(row);
  }
  std::string other = newestRow(txn, env, gid, domain, id);
  std::string ignored;
  if (!other.empty() && RowCodec::decode(*table, domain, id, other, ignored)) return other;
  throw Exception("The store is damaged: table " + std::string(table->key) + ", domain " +
                      std::to_string(domain) + ", record " + std::to_string(id) + ": " + reason,
                  StoreError::kDamaged);
}

void copy(MDB_txn* txn, const LmdbEnv& env, const fs::path& to, std::size_t mapSize) {
  Writer writer(to, mapSize);
  const auto revision = get(txn, env.db(LmdbEnv::kMeta), Key('r'));
  for (const auto which : {LmdbEnv::kRows, LmdbEnv::kIds, LmdbEnv::kMeta, LmdbEnv::kJournal}) {
    writer.begin(kNames[which]);
    if (which == LmdbEnv::kJournal) break;
    Cursor cursor(txn, env.db(which));
    for (bool more = cursor.first(); more; more = cursor.next()) {
      if (which == LmdbEnv::kRows) {
        writer.add(cursor.key(), undamaged(txn, env, cursor.key(), cursor.value()));
      } else {
        const bool cut = which == LmdbEnv::kMeta && cursor.key() == Key('j');
        writer.add(cursor.key(), cut ? revision.value_or("") : cursor.value());
      }
    }
  }
  writer.finish();
}

void recordSwap(const fs::path& folder, StatusFile& status) {
  synchronise(folder);  // before anything is committed to the new file
  status.swapped();
  status.dataFile(
      inodeOf(folder / "data.mdb"));  // last: until then, the next process does it again
}

// Empty when another process has replaced the data file.
std::optional<ConfigStore::Compaction> replaceDataFile(StoreCore& core, LmdbEnv& env) {
  const std::scoped_lock lock(env.writeMutex());
  const Transaction reading(env.beginWrite());  // keeps all writers out
  if (env.superseded(core.folder)) return {};
  const fs::path data = core.folder / "data.mdb";
  struct stat former {};
  if (::stat(data.c_str(), &former) != 0) cannot("open", data);
  NewFile file(core.folder / "data.mdb.new", former);
  for (std::size_t mapSize = env.mapBytes();; mapSize *= 2) {
    try {
      copy(reading.get(), env, file.path(), mapSize);
      break;
    } catch (const MapFull&) {
      if (::truncate(file.path().c_str(), 0) != 0) cannot("write", file.path());
    }
  }
  synchronise(file.path());
  const std::vector<std::string> damages = checkStructure(file.path()).damages;
  if (!damages.empty()) {
    throw Exception("The copy of the store is damaged: " + damages.front(), StoreError::kDamaged);
  }
  const ConfigStore::Compaction sizes{static_cast<std::uint64_t>(former.st_size),
                                      fs::file_size(file.path())};
  // With its blocks, because nobody could read the store when the disk had no room for them.
  const fs::path lockName = core.folder / "lock.mdb";
  std::error_code missing;
  const std::uintmax_t lockBytes = fs::file_size(lockName, missing);
  NewFile lockFile(core.folder / "lock.mdb.new", former, missing ? 0 : lockBytes);
  const StatusFile::Lock swapping(*core.status);  // nobody opens the store
  file.rename(data);
  lockFile.rename(lockName);
  recordSwap(core.folder, *core.status);
  return sizes;
}

}  // namespace

std::uint64_t inodeOf(const fs::path& file) {
  struct stat info {};
  return ::stat(file.c_str(), &info) == 0 ? info.st_ino : 0;
}

void finishSwap(const fs::path& folder, StatusFile& status) {
  const std::uint64_t inode = inodeOf(folder / "data.mdb");
  const std::uint64_t known = status.dataFile();
  if (inode == known || inode == 0 || known == 0) return;
  ::unlink((folder / "lock.mdb").c_str());
  recordSwap(folder, status);
}

ConfigStore::Compaction ConfigStore::compact() {
  StoreCore& core = *impl_->core;
  core.checkProcess();
  const FileSizeSignalBlocked blocked;
  std::optional<Compaction> sizes;
  while (!sizes) {
    core.follow();
    const std::shared_ptr<LmdbEnv> env = core.env();
    sizes = replaceDataFile(core, *env);
    if (!sizes) core.announceSwap();
  }
  core.follow();
  core.status->wake();
  return *sizes;
}

}  // namespace Kestrav::Config

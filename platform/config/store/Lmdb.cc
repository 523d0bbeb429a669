#include "platform/config/store/Lmdb.h"

#include <lmdb.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/Files.h"

namespace Kestrav::Config {
namespace {

MDB_val asValue(std::string_view bytes) {
  return {bytes.size(), const_cast<char*>(bytes.data())};
}

std::string_view view(const MDB_val& bytes) {
  return {static_cast<const char*>(bytes.mv_data), bytes.mv_size};
}

// LMDB reports a write that the disk took only in part as EIO, as it does a failure of the disk.
// Writes beyond the end of the data file to find out which of them it was. REQUIRES: a write
// transaction is open in `env`, so that nobody else writes there.
int reasonOfFailedWrite(MDB_env* env) {
  int fd = -1;
  struct stat info {};
  if (mdb_env_get_fd(env, &fd) != MDB_SUCCESS || ::fstat(fd, &info) != 0) return EIO;
  const char page[4096] = {};
  const ssize_t written = ::pwrite(fd, page, sizeof page, info.st_size);
  if (written < 0) return errno;
  if (::ftruncate(fd, info.st_size) != 0) return EIO;
  return written < static_cast<ssize_t>(sizeof page) ? ENOSPC : EIO;
}

// Large transactions write before they are committed.
void checkWrite(int rc, MDB_txn* txn, const char* operation) {
  check(rc == EIO ? reasonOfFailedWrite(mdb_txn_env(txn)) : rc, operation);
}

}  // namespace

void check(int rc, const char* operation) {
  if (rc == MDB_SUCCESS) return;
  if (rc == MDB_MAP_FULL) throw MapFull{};
  const std::string message = "Store: " + std::string(operation) + ": " + mdb_strerror(rc);
  switch (rc) {
    case MDB_INVALID:
    case MDB_CORRUPTED:
    case MDB_PAGE_NOTFOUND:
    case MDB_VERSION_MISMATCH:
      throw Exception(message, StoreError::kForeignFile);
    case ENOENT:
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ENOTDIR:
      throw Exception(message, StoreError::kCannotOpen);
    default:
      throw Exception(message,
                      codeOf(rc) == StoreError::kFull ? StoreError::kFull : StoreError::kInternal);
  }
}

void Transaction::commit() {
  MDB_env* const env = mdb_txn_env(txn_);
  int rc = mdb_txn_commit(std::exchange(txn_, nullptr));
  if (rc == EIO && mdb_txn_begin(env, nullptr, 0, &txn_) == MDB_SUCCESS) {
    rc = reasonOfFailedWrite(env);
    abort();
  }
  check(rc, "commit");
}

void Transaction::abort() {
  if (txn_ != nullptr) mdb_txn_abort(std::exchange(txn_, nullptr));
}

std::optional<std::string_view> get(MDB_txn* txn, unsigned db, std::string_view key) {
  MDB_val k = asValue(key);
  MDB_val v{};
  const int rc = mdb_get(txn, db, &k, &v);
  if (rc == MDB_NOTFOUND) return {};
  check(rc, "read");
  return view(v);
}

void put(MDB_txn* txn, unsigned db, std::string_view key, std::string_view bytes) {
  MDB_val k = asValue(key);
  MDB_val v = asValue(bytes);
  checkWrite(mdb_put(txn, db, &k, &v, 0), txn, "write");
}

void append(MDB_txn* txn, unsigned db, std::string_view key, std::string_view bytes) {
  MDB_val k = asValue(key);
  MDB_val v = asValue(bytes);
  checkWrite(mdb_put(txn, db, &k, &v, MDB_APPEND), txn, "append");
}

bool erase(MDB_txn* txn, unsigned db, std::string_view key) {
  MDB_val k = asValue(key);
  const int rc = mdb_del(txn, db, &k, nullptr);
  if (rc == MDB_NOTFOUND) return false;
  checkWrite(rc, txn, "erase");
  return true;
}

std::size_t entries(MDB_txn* txn, unsigned db) {
  MDB_stat stat{};
  check(mdb_stat(txn, db, &stat), "count");
  return stat.ms_entries;
}

Cursor::Cursor(MDB_txn* txn, unsigned db) {
  check(mdb_cursor_open(txn, db, &cursor_), "walk");
}

Cursor::~Cursor() {
  mdb_cursor_close(cursor_);
}

bool Cursor::move(int operation) {
  MDB_val k = asValue(key_);
  MDB_val v{};
  const int rc = mdb_cursor_get(cursor_, &k, &v, static_cast<MDB_cursor_op>(operation));
  if (rc == MDB_NOTFOUND) return false;
  check(rc, "walk");
  key_ = view(k);
  value_ = view(v);
  return true;
}

bool Cursor::seek(std::string_view key) {
  key_ = key;
  return move(MDB_SET_RANGE);
}

bool Cursor::next() {
  return move(MDB_NEXT);
}

bool Cursor::before(std::string_view key) {
  return seek(key) ? previous() : last();
}

bool Cursor::previous() {
  return move(MDB_PREV);
}

bool Cursor::last() {
  return move(MDB_LAST);
}

bool Cursor::first() {
  return move(MDB_FIRST);
}

void Cursor::eraseCurrent() {
  checkWrite(mdb_cursor_del(cursor_, 0), mdb_cursor_txn(cursor_), "erase");
}

}  // namespace Kestrav::Config

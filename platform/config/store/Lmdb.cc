#include "platform/config/store/Lmdb.h"

#include <lmdb.h>

#include <cerrno>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {
namespace {

MDB_val asValue(std::string_view bytes) {
  return {bytes.size(), const_cast<char*>(bytes.data())};
}

std::string_view view(const MDB_val& bytes) {
  return {static_cast<const char*>(bytes.mv_data), bytes.mv_size};
}

}  // namespace

void check(int rc, const char* operation) {
  if (rc == MDB_SUCCESS) return;
  if (rc == MDB_MAP_FULL) throw MapFull{};
  std::string message = "Store: " + std::string(operation) + ": " + mdb_strerror(rc);
  if (rc == EIO) message += "; perhaps the disk is full";  // LMDB reports a short write as EIO
  switch (rc) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      throw Exception(message, StoreError::kFull);
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
      throw Exception(message, StoreError::kInternal);
  }
}

void Transaction::commit() {
  check(mdb_txn_commit(std::exchange(txn_, nullptr)), "commit");
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
  check(mdb_put(txn, db, &k, &v, 0), "write");
}

void append(MDB_txn* txn, unsigned db, std::string_view key, std::string_view bytes) {
  MDB_val k = asValue(key);
  MDB_val v = asValue(bytes);
  check(mdb_put(txn, db, &k, &v, MDB_APPEND), "append");
}

bool erase(MDB_txn* txn, unsigned db, std::string_view key) {
  MDB_val k = asValue(key);
  const int rc = mdb_del(txn, db, &k, nullptr);
  if (rc == MDB_NOTFOUND) return false;
  check(rc, "erase");
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
  return seek(key) ? move(MDB_PREV) : move(MDB_LAST);
}

bool Cursor::first() {
  return move(MDB_FIRST);
}

void Cursor::eraseCurrent() {
  check(mdb_cursor_del(cursor_, 0), "erase");
}

}  // namespace Kestrav::Config

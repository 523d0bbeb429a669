// A store's data as any other LMDB program sees it.
#pragma once

#include <gtest/gtest.h>
#include <lmdb.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kestrav::Config::StoreTesting {

// Must be gone before the same process opens the store.
class RawStore {
 public:
  using Pairs = std::vector<std::pair<std::string, std::string>>;

  explicit RawStore(const std::filesystem::path& folder, std::size_t mapSize = 256u << 20) {
    check(mdb_env_create(&env_));
    check(mdb_env_set_maxdbs(env_, 8));
    check(mdb_env_set_mapsize(env_, mapSize));
    check(mdb_env_open(env_, folder.c_str(), MDB_NOTLS, 0600));
  }
  ~RawStore() { mdb_env_close(env_); }
  RawStore(const RawStore&) = delete;
  RawStore& operator=(const RawStore&) = delete;

  // Makes the database when there is none. A null name is the unnamed one.
  void put(const char* database, const Pairs& pairs) {
    MDB_txn* txn = nullptr;
    MDB_dbi db = 0;
    check(mdb_txn_begin(env_, nullptr, 0, &txn));
    check(mdb_dbi_open(txn, database, database != nullptr ? MDB_CREATE : 0, &db));
    for (const auto& [key, value] : pairs) {
      MDB_val k = asValue(key);
      MDB_val v = asValue(value);
      check(mdb_put(txn, db, &k, &v, 0));
    }
    check(mdb_txn_commit(txn));
  }

  Pairs all(const char* database) const {
    Pairs pairs;
    MDB_txn* txn = nullptr;
    MDB_dbi db = 0;
    MDB_cursor* cursor = nullptr;
    check(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn));
    check(mdb_dbi_open(txn, database, 0, &db));
    check(mdb_cursor_open(txn, db, &cursor));
    MDB_val k{};
    MDB_val v{};
    while (mdb_cursor_get(cursor, &k, &v, MDB_NEXT) == 0) pairs.emplace_back(text(k), text(v));
    mdb_cursor_close(cursor);
    mdb_txn_abort(txn);
    return pairs;
  }

 private:
  static void check(int rc) { ASSERT_EQ(rc, 0) << mdb_strerror(rc); }
  static MDB_val asValue(std::string_view bytes) {
    return {bytes.size(), const_cast<char*>(bytes.data())};
  }
  static std::string text(const MDB_val& value) {
    return {static_cast<const char*>(value.mv_data), value.mv_size};
  }

  MDB_env* env_ = nullptr;
};

}  // namespace Kestrav::Config::StoreTesting

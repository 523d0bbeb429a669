// The few LMDB operations that the store needs, over string views, with failures as exceptions.
//
// A view into a transaction is valid until the transaction ends or, in a write transaction, until
// its next change.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct MDB_env;
struct MDB_txn;
struct MDB_cursor;

namespace Kestrav::Config {

// The map is full. Caught within the store, which tries again with a larger map.
struct MapFull {};

// Throws MapFull, or an Exception for any other code but 0.
void check(int rc, const char* operation);

// One transaction: aborted unless committed. Begun by LmdbEnv.
class Transaction {
 public:
  Transaction() = default;
  explicit Transaction(MDB_txn* txn) : txn_(txn) {}
  ~Transaction() { abort(); }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  MDB_txn* get() const { return txn_; }
  void commit();
  void abort();

 private:
  MDB_txn* txn_ = nullptr;
};

std::optional<std::string_view> get(MDB_txn* txn, unsigned db, std::string_view key);
void put(MDB_txn* txn, unsigned db, std::string_view key, std::string_view value);
// `key` is above all others in the database.
void append(MDB_txn* txn, unsigned db, std::string_view key, std::string_view value);
bool erase(MDB_txn* txn, unsigned db, std::string_view key);
std::size_t entries(MDB_txn* txn, unsigned db);

class Cursor {
 public:
  Cursor(MDB_txn* txn, unsigned db);
  ~Cursor();
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  // Each moves the cursor and returns false at the end; otherwise key() and value() are valid.
  bool seek(std::string_view key);  // the first key not below
  bool next();
  bool before(std::string_view key);  // the last key below
  bool previous();
  bool last();
  bool first();
  void eraseCurrent();  // next() then moves to the entry after it

  std::string_view key() const { return key_; }
  std::string_view value() const { return value_; }
  bool under(std::string_view prefix) const { return key_.substr(0, prefix.size()) == prefix; }

 private:
  bool move(int operation);
  MDB_cursor* cursor_ = nullptr;
  std::string_view key_, value_;
};

}  // namespace Kestrav::Config

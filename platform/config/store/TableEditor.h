// Changes to one table in one domain, made in a write transaction as they come, and what they come
// down to.
//
// Remembers the state before the first change of each record it touches; lives as long as the
// transaction.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/config/store/Keys.h"
#include "platform/config/store/LmdbEnv.h"

namespace Kestrav::Config {

// The heaviest rising subsequence of `sequence`, whose numbers are distinct and below its size:
// true for its members. What is not a member has to move for the sequence to become sorted.
std::vector<bool> heaviestRising(const std::vector<std::uint32_t>& sequence,
                                 const std::vector<std::uint64_t>& weights);

class TableEditor {
 public:
  TableEditor(MDB_txn* txn, const LmdbEnv& env, const Table& table, ngid_t domain);
  TableEditor(const TableEditor&) = delete;
  TableEditor& operator=(const TableEditor&) = delete;

  void put(std::uint32_t id, std::string_view row);
  void putBefore(std::uint32_t id, std::string_view row, std::uint32_t beforeId);
  void erase(std::uint32_t id);
  void order(const std::vector<std::uint32_t>& ids);

  // One record that is not as it was: in the order in which they were first touched. Equal rows: it
  // moved.
  struct Difference {
    std::uint32_t id;
    std::optional<std::string> before;
    std::optional<std::string> after;
  };
  // Call once, after all changes.
  std::vector<Difference> differences();
  // Writes the table's state for the revision. Call after differences().
  void finish(Revision revision, bool changed);

  const Table& table() const { return table_; }
  ngid_t domain() const { return domain_; }

 private:
  struct Place {
    std::uint64_t position;
    std::uint32_t id;
  };
  struct Touched {
    bool existed = false;
    std::uint64_t position = 0;  // before all changes
    std::string row;             // before all changes
  };

  unsigned rows() const { return env_.db(LmdbEnv::kRows); }
  unsigned ids() const { return env_.db(LmdbEnv::kIds); }
  Key row(const Place& place) const {
    return rowKey(table_.gid, domain_, place.position, place.id);
  }

  std::optional<Place> find(std::uint32_t id) const;
  std::string read(const Place& place) const;
  std::vector<Place> places() const;
  std::optional<Place> lastPlace();
  std::optional<Place> placeBefore(const Place& place) const;

  Touched& touch(std::uint32_t id, const std::optional<Place>& place);
  void insert(const Place& place, std::string_view bytes);
  void remove(const Place& place);
  void move(const Place& from, std::uint64_t to);
  std::uint64_t endPosition();
  std::uint64_t positionBefore(std::uint32_t beforeId);
  void renumber(const std::vector<Place>& inOrder);
  void rememberOrder();
  std::vector<std::uint32_t> originalOrder() const;
  void findMoved();
  [[noreturn]] void refuse(const std::string& what) const;

  MDB_txn* txn_;
  const LmdbEnv& env_;
  const Table& table_;
  const ngid_t domain_;
  const bool single_;

  std::unordered_map<std::uint32_t, Touched> touched_;
  std::vector<std::uint32_t> touchedIds_;  // in the order of touching
  std::int64_t added_ = 0;                 // records more than before; negative: fewer
  bool placesChanged_ = false;             // a record that existed stands elsewhere
  std::optional<std::vector<std::uint32_t>>
      original_;                              // ids in order before all changes, once needed
  std::optional<std::optional<Place>> last_;  // the last row, while known
  std::unordered_map<std::uint32_t, bool> moved_;
  bool membershipChanged_ = false;
};

}  // namespace Kestrav::Config

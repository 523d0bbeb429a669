// Changes to one table in one domain, made in a write transaction, and the differences that they
// amount to (TableDifferences.cc).
//
// Remembers the state of each record before its first change. Used by one thread, and no longer
// than the transaction.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/config/records/Field.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/LmdbEnv.h"

namespace Kestrav::Config {

class TableEditor {
 public:
  TableEditor(MDB_txn* txn, const LmdbEnv& env, const Table& table, ngid_t domain);
  TableEditor(const TableEditor&) = delete;
  TableEditor& operator=(const TableEditor&) = delete;

  void put(std::uint32_t id, std::string_view row);
  void putBefore(std::uint32_t id, std::string_view row, std::uint32_t beforeId);
  void erase(std::uint32_t id);
  void order(const std::vector<std::uint32_t>& ids);

  // JournalEntry says what the members mean.
  struct Difference {
    std::uint32_t id;
    std::optional<std::string> before;
    std::optional<std::string> after;
    std::optional<std::uint32_t> nextBefore;
    std::optional<std::uint32_t> nextAfter;
  };
  // In the order in which the records were first changed. Call once, after all changes.
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
  // A record whose successor in the table is sought. 0: it is the last one.
  struct Successor {
    Place place;
    std::size_t difference;  // index
    std::uint32_t next = 0;
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
  // Both want the records in the order of their positions, those before and those after the
  // changes.
  void findOriginalNext(std::vector<Successor>& sought) const;
  void findPresentNext(std::vector<Successor>& sought) const;
  [[noreturn]] void refuse(const std::string& what) const;

  MDB_txn* txn_;
  const LmdbEnv& env_;
  const Table& table_;
  const ngid_t domain_;
  const bool single_;

  std::unordered_map<std::uint32_t, Touched> touched_;
  std::vector<std::uint32_t> touchedIds_;  // in the order of touching
  std::int64_t added_ = 0;                 // records more than before; negative: fewer
  bool placesChanged_ = false;             // a record that existed has another position
  bool membershipChanged_ = false;
  std::optional<std::optional<Place>> last_;  // the last row, while known
  // The ids in order before all changes, once needed. Always known when a position changed.
  std::optional<std::vector<std::uint32_t>> original_;
  std::unordered_set<std::uint32_t> moved_;
};

}  // namespace Kestrav::Config

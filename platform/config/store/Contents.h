// Checks what a store's sub-databases hold, entry by entry and against each other.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/config/store/JournalFormat.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/PageCheck.h"
#include "platform/config/store/Verify.h"

namespace Kestrav::Config {

class Contents {
 public:
  // Without `rows` the values of rows and of the journal are not read.
  explicit Contents(bool rows) : rowsToo_(rows) {}

  // Give all entries of the store, in the order of the keys of each sub-database.
  void visit(std::string_view database, std::string_view key, std::uint64_t size,
             const PageCheck::Value& value);
  // Adds what was found. Throws Exception kNewerSchema for another schema when rows are read.
  void finish(Verification& result);
  bool hasSchema() const { return schema_.has_value(); }

 private:
  using RecordKey = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>;  // table, domain, id
  using TableKey = std::pair<std::uint32_t, std::uint32_t>;
  struct Place {
    RecordKey record;
    std::uint64_t position;
    auto operator<=>(const Place&) const = default;
  };

  void visitMeta(std::string_view key, std::string_view value);
  void visitRow(std::string_view key, const PageCheck::Value& value);
  void visitJournal(std::string_view key, const PageCheck::Value& value);
  void visitHead(const PageCheck::Value& value);
  void visitEntry(std::uint32_t number, const PageCheck::Value& value);
  void endRevision();
  void remember(const RecordKey& key, const Table& table, const StoredRecord& record);
  void compareWithIndex();
  void compareWithStates();
  void compareWithJournal();
  std::string journalPlace(std::uint32_t number) const;
  std::string describe(const RecordKey& record) const;
  void damaged(const std::string& what) { damages_.push_back({what, {}, ""}); }
  // `place` comes before the record's description.
  void damaged(const RecordKey& record, const std::string& what, const std::string& place = "") {
    damages_.push_back({what, record, place});
  }

  const bool rowsToo_;
  struct Damage {
    std::string what;
    std::optional<RecordKey> record;  // described at the end, when all names are known
    std::string place;
  };
  std::vector<Damage> damages_;
  Verification counts_;

  std::vector<Place> ids_, rows_;
  std::map<RecordKey, std::string> names_;                  // in rows and journal entries
  std::map<RecordKey, std::uint64_t> contents_;             // hashes of rows that can be read
  std::map<RecordKey, std::optional<std::uint64_t>> last_;  // in the journal; none: erased
  std::map<TableKey, TableState> states_;
  std::map<std::uint32_t, Revision> changed_;  // by table
  std::optional<std::uint32_t> schema_;
  std::optional<Revision> revision_, cut_;

  Revision journalFirst_ = 0, journalNow_ = 0;
  std::uint32_t nextNumber_ = 0;
  std::optional<std::uint32_t> stated_;  // entries of the present revision
};

}  // namespace Kestrav::Config

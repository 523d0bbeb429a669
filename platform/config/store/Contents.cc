#include "platform/config/store/Contents.h"

#include <xxhash.h>

#include <algorithm>
#include <cstring>

#include "platform/common/Exception.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config {
namespace {

std::uint64_t hashOf(std::string_view row) {
  return XXH3_64bits(row.data(), row.size());
}

std::string nameIn(const Table& table, const void* record) {
  for (const Field& field : table.type->fields) {
    if (field.offset != table.nameOffset || field.kind != Kind::kText || field.secret) continue;
    std::string name(readText(field, record));
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char c) { return c < 0x20 || c == 0x7f || c == '"' || c == '\\'; }, '?');
    return name;
  }
  return "";
}

// Lists with entries, those within others included.
std::uint64_t listsIn(const RecordType& type, const void* record) {
  std::uint64_t lists = 0;
  for (const Field& field : type.fields) {
    if (field.kind == Kind::kStruct) lists += listsIn(*field.element, readStruct(field, record));
    if (field.kind != Kind::kList && field.kind != Kind::kArray) continue;
    const Entries entries = readEntries(field, record);
    if (entries.count > 0) ++lists;
    for (std::uint64_t i = 0; i < entries.count; ++i) {
      lists += listsIn(*field.element, entries.at(i));
    }
  }
  return lists;
}

std::uint32_t numberIn(std::string_view key, std::size_t at) {
  return static_cast<std::uint32_t>(bigEndian(key.substr(at, 4)));
}

}  // namespace

std::string Contents::describe(const RecordKey& record) const {
  const auto& [gid, domain, id] = record;
  const Table* table = findTable(static_cast<G_CLI_GID>(gid));
  std::string text = "table " + (table != nullptr ? std::string(table->key) : std::to_string(gid)) +
                     ", domain " + std::to_string(domain) + ", record " + std::to_string(id);
  const auto name = names_.find(record);
  if (name != names_.end()) text += " \"" + name->second + "\"";
  return text;
}

void Contents::remember(const RecordKey& key, const Table& table, const StoredRecord& record) {
  if (std::string name = nameIn(table, record.data()); !name.empty()) names_[key] = std::move(name);
}

void Contents::visit(std::string_view database, std::string_view key, std::uint64_t size,
                     const PageCheck::Value& value) {
  const auto wrongKey = [&] {
    damaged("a key of the sub-database " + std::string(database) + " is wrong");
  };
  if (database == "rows") {
    if (key.size() != kRowKeySize) return wrongKey();
    visitRow(key, value);
  } else if (database == "ids") {
    if (key.size() != 12 || size != 8) return wrongKey();
    ids_.push_back({{numberIn(key, 0), numberIn(key, 4), numberIn(key, 8)},
                    fromBytes<std::uint64_t>(value())});
  } else if (database == "journal") {
    if (key.size() != 12) return wrongKey();
    visitJournal(key, value);
  } else if (database == "meta") {
    visitMeta(key, value());
  } else {
    damaged("there is a sub-database of another name");
  }
}

// ---- Rows

void Contents::visitRow(std::string_view key, const PageCheck::Value& value) {
  const RecordKey record{numberIn(key, 0), numberIn(key, 4), idOfRow(key)};
  rows_.push_back({record, positionOfRow(key)});
  const auto& [gid, domain, id] = record;
  const Table* table = findTable(static_cast<G_CLI_GID>(gid));
  if (table == nullptr) return damaged(record, "there is no such table");
  const bool single = table->scope == Scope::kSystemSingle;
  if ((table->scope != Scope::kDomainList && domain != 0) || single != (id == 0)) {
    return damaged(record, "the table has no such record");
  }
  if (!rowsToo_) return;
  std::string reason;
  const std::string_view row = value();
  const StoredRecord decoded = RowCodec::decode(*table, domain, id, row, reason);
  if (!decoded) return damaged(record, reason);
  counts_.lists += listsIn(*table->type, decoded.data());
  contents_[record] = hashOf(row);
  remember(record, *table, decoded);
  if (RowCodec::idOf(*table, decoded.data()) != id) {
    damaged(record,
            "the row is that of record " + std::to_string(RowCodec::idOf(*table, decoded.data())));
  } else if (RowCodec::encode(*table, decoded.data()) != row) {
    damaged(record, "the row has bytes that belong to no field");
  }
}

void Contents::compareWithIndex() {
  std::sort(rows_.begin(), rows_.end());
  std::sort(ids_.begin(), ids_.end());
  auto row = rows_.begin();
  auto index = ids_.begin();
  while (row != rows_.end() || index != ids_.end()) {
    if (index == ids_.end() || (row != rows_.end() && row->record < index->record)) {
      damaged(row->record, "the index does not know it");
      ++row;
    } else if (row == rows_.end() || index->record < row->record) {
      damaged(index->record, "the index knows it, but it has no row");
      ++index;
    } else {
      if (row->position != index->position) {
        damaged(row->record, "the index has another position");
      }
      ++row;
      ++index;
    }
  }
}

// ---- Revisions and counts

void Contents::visitMeta(std::string_view key, std::string_view value) {
  const char kind = key.empty() ? '\0' : key.front();
  if (key.size() == 1 && kind == 's' && value.size() == sizeof kSchema) {
    schema_ = fromBytes<std::uint32_t>(value);
  } else if (key.size() == 1 && kind == 'r' && value.size() == sizeof(Revision)) {
    revision_ = fromBytes<Revision>(value);
  } else if (key.size() == 1 && kind == 'j' && value.size() == sizeof(Revision)) {
    cut_ = fromBytes<Revision>(value);
  } else if (key.size() == 9 && kind == 't' && value.size() == sizeof(TableState)) {
    states_[{numberIn(key, 1), numberIn(key, 5)}] = fromBytes<TableState>(value);
  } else if (key.size() == 5 && kind == 'g' && value.size() == sizeof(Revision)) {
    changed_[numberIn(key, 1)] = fromBytes<Revision>(value);
  } else {
    damaged("an entry of the sub-database meta is wrong");
  }
}

void Contents::compareWithStates() {
  if (!revision_) return damaged("there is no revision");
  if (!cut_) return damaged("there is no beginning of the journal");
  std::map<TableKey, std::uint64_t> found;
  for (const Place& row : rows_) ++found[{std::get<0>(row.record), std::get<1>(row.record)}];
  counts_.tables = found.size();
  for (const auto& [table, state] : states_) found.try_emplace(table, 0);
  std::map<std::uint32_t, Revision> changed;
  for (const auto& [key, count] : found) {
    const Table* table = findTable(static_cast<G_CLI_GID>(key.first));
    const std::string text =
        "table " + (table != nullptr ? std::string(table->key) : std::to_string(key.first)) +
        ", domain " + std::to_string(key.second);
    const TableState state = states_[key];
    if (state.count != count) {
      damaged(text + ": it has " + std::to_string(count) + " records instead of " +
              std::to_string(state.count));
    }
    if (std::max(state.lastChanged, state.lastReordered) > *revision_) {
      damaged(text + ": it was changed after the newest revision");
    }
    Revision& newest = changed[key.first];
    newest = std::max(newest, state.lastChanged);
  }
  std::erase_if(changed, [](const auto& entry) { return entry.second == 0; });
  if (changed != changed_) damaged("the revisions of the tables contradict themselves");
  const Revision begin = counts_.revisions > 0 ? journalFirst_ : *revision_ + 1;
  const Revision end = counts_.revisions > 0 ? journalNow_ : *cut_;
  if (begin != *cut_ + 1 || end != *revision_) {
    damaged("the journal has revisions " + std::to_string(begin) + " to " + std::to_string(end) +
            " instead of " + std::to_string(*cut_ + 1) + " to " + std::to_string(*revision_));
  }
}

// ---- The journal

std::string Contents::journalPlace(std::uint32_t number) const {
  return "journal, revision " + std::to_string(journalNow_) + ", " +
         (number == kHeadNumber ? "head" : "entry " + std::to_string(number));
}

void Contents::visitJournal(std::string_view key, const PageCheck::Value& value) {
  const Revision revision = revisionOfEntry(key);
  const std::uint32_t number = numberOfEntry(key);
  if (counts_.revisions == 0 || revision != journalNow_) {
    if (counts_.revisions == 0) {
      journalFirst_ = revision;
    } else {
      endRevision();
      if (revision != journalNow_ + 1) {
        damaged("journal: revision " + std::to_string(revision) + " follows revision " +
                std::to_string(journalNow_));
      }
    }
    ++counts_.revisions;
    journalNow_ = revision;
    nextNumber_ = kHeadNumber;
    stated_.reset();
  }
  if (number != nextNumber_) damaged(journalPlace(number) + ": the one before it is missing");
  nextNumber_ = number + 1;
  if (number != kHeadNumber) ++counts_.entries;
  if (!rowsToo_) return;
  if (number == kHeadNumber) {
    visitHead(value);
  } else {
    visitEntry(number, value);
  }
}

void Contents::visitHead(const PageCheck::Value& value) {
  const auto head = decodeHead(value());
  if (!head) return damaged(journalPlace(kHeadNumber) + ": it has damaged bytes");
  stated_ = head->changes;
}

void Contents::endRevision() {
  if (stated_ && *stated_ != nextNumber_ - 1) {
    damaged(journalPlace(kHeadNumber) + ": it states " + std::to_string(*stated_) +
            " entries instead of " + std::to_string(nextNumber_ - 1));
  }
}

void Contents::visitEntry(std::uint32_t number, const PageCheck::Value& value) {
  const std::string_view bytes = value();
  const auto change = decodeEntry(bytes);
  if (!change) return damaged(journalPlace(number) + ": it has damaged bytes");
  const RecordKey record{change->gid, change->domain, change->id};
  const Table* table = findTable(change->gid);
  if (table == nullptr) {
    return damaged(record, "there is no such table", journalPlace(number) + ": ");
  }
  for (const auto& row : {change->before, change->after}) {
    if (!row) continue;
    std::string reason;
    const StoredRecord decoded = RowCodec::decode(*table, change->domain, change->id, *row, reason);
    if (decoded) {
      remember(record, *table, decoded);
    } else {
      damaged(record, reason, journalPlace(number) + ": ");
    }
  }
  last_[record] =
      change->after ? std::optional<std::uint64_t>(hashOf(*change->after)) : std::nullopt;
}

// The newest entry of a record has the row that is in its table.
void Contents::compareWithJournal() {
  for (const auto& [record, after] : last_) {
    const auto row = contents_.find(record);
    const bool known =
        std::binary_search(rows_.begin(), rows_.end(), Place{record, 0},
                           [](const Place& a, const Place& b) { return a.record < b.record; });
    if (known && row == contents_.end()) continue;  // damaged and reported
    const Table* table = findTable(static_cast<G_CLI_GID>(std::get<0>(record)));
    if (!known && table->scope == Scope::kSystemSingle) continue;  // has its defaults
    if (known != after.has_value() || (after && row->second != *after)) {
      damaged(record, "it is not what the journal says");
    }
  }
}

void Contents::finish(Verification& result) {
  if (schema_ && *schema_ != kSchema) {
    if (!rowsToo_) return;  // its contents are not known
    throw Exception("The store has schema " + std::to_string(*schema_) +
                        "; this version verifies schema " + std::to_string(kSchema),
                    StoreError::kNewerSchema);
  }
  if (!schema_) damaged("there is no schema number");
  if (counts_.revisions > 0) endRevision();
  compareWithIndex();
  compareWithStates();
  if (rowsToo_) compareWithJournal();
  counts_.rows = rows_.size();
  counts_.indexes = ids_.size();
  counts_.revision = revision_.value_or(0);
  counts_.pages = result.pages;
  counts_.damages = std::move(result.damages);
  for (const auto& [what, record, place] : damages_) {
    counts_.damages.push_back(record ? place + describe(*record) + ": " + what : what);
  }
  result = std::move(counts_);
}

}  // namespace Kestrav::Config

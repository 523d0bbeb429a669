#include <xxhash.h>

#include <algorithm>
#include <limits>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/config/records/Field.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/Journal.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/SnapshotPin.h"
#include "platform/config/store/StoreCore.h"
#include "platform/config/store/TableOrder.h"

namespace Kestrav::Config {
namespace {

constexpr std::size_t kCachedIndexes = 4096;
constexpr std::size_t kCachedDamages = 1024;

[[noreturn]] void throwDamaged(const Table& table, ngid_t domain, const std::string& what) {
  throw Exception("The store is damaged: table " + std::string(table.key) + ", domain " +
                      std::to_string(domain) + ", " + what,
                  StoreError::kDamaged);
}

const std::shared_ptr<const TableIndex>& emptyIndex() {
  static NoDestructor<std::shared_ptr<const TableIndex>> index(std::make_shared<TableOrder>());
  return *index;
}

const std::shared_ptr<const TableIndex>& singleIndex() {
  static NoDestructor<std::shared_ptr<const TableIndex>> index(std::make_shared<TableOrder>(
      std::vector<std::uint32_t>{0}, std::vector<std::uint64_t>{kFirstPosition}));
  return *index;
}

TableState stateOf(const ReadTransaction& reading, G_CLI_GID gid, ngid_t domain) {
  const auto bytes = get(reading.txn(), reading.db(LmdbEnv::kMeta), tableKey(gid, domain));
  TableState state = bytes ? fromBytes<TableState>(*bytes) : TableState{};
  // Damaged bytes may give any number.
  const std::uint64_t rows = entries(reading.txn(), reading.db(LmdbEnv::kRows));
  state.count = std::min(state.count, rows);
  return state;
}

std::shared_ptr<const TableIndex> readIndex(const ReadTransaction& reading, G_CLI_GID gid,
                                            ngid_t domain, std::size_t count) {
  std::vector<std::uint32_t> ids;
  std::vector<std::uint64_t> positions;
  ids.reserve(count);
  positions.reserve(count);
  const Key prefix = tablePrefix(gid, domain);
  Cursor cursor(reading.txn(), reading.db(LmdbEnv::kRows));
  for (bool more = cursor.seek(prefix); more && cursor.under(prefix); more = cursor.next()) {
    if (cursor.key().size() != kRowKeySize) continue;
    ids.push_back(idOfRow(cursor.key()));
    positions.push_back(positionOfRow(cursor.key()));
  }
  if (ids.size() != count) {
    throwDamaged(*findTable(gid), domain,
                 std::to_string(ids.size()) + " records instead of " + std::to_string(count));
  }
  return std::make_shared<TableOrder>(std::move(ids), std::move(positions));
}

std::shared_ptr<const TableIndex> findIndex(const ReadTransaction& reading, G_CLI_GID gid,
                                            ngid_t domain) {
  auto& last = reading.slot().lastIndex;
  if (last.revision == reading.revision() && last.gid == gid && last.domain == domain) {
    return last.index;
  }
  const TableState state = stateOf(reading, gid, domain);
  std::shared_ptr<const TableIndex> index;
  if (state.count == 0) {
    index = emptyIndex();
  } else {
    StoreCore& core = reading.core();
    const auto key = std::pair<unsigned, ngid_t>(gid, domain);
    {
      std::shared_lock lock(core.indexMutex);
      const auto found = core.indexes.find(key);
      if (found != core.indexes.end() && found->second.reordered == state.lastReordered) {
        index = found->second.index;
      }
    }
    if (index == nullptr) {
      index = readIndex(reading, gid, domain, state.count);
      std::unique_lock lock(core.indexMutex);
      if (core.indexes.size() >= kCachedIndexes && !core.indexes.contains(key)) {
        core.indexes.clear();  // snapshots keep those in use
      }
      auto& cached = core.indexes[key];
      if (cached.index != nullptr && cached.reordered == state.lastReordered) {
        index = cached.index;  // another thread read the same order meanwhile
      } else if (cached.reordered < state.lastReordered) {
        cached = {state.lastReordered, index};
      }
    }
  }
  last = {reading.revision(), gid, domain, index};
  return index;
}

std::optional<std::string_view> rowAt(const ReadTransaction& reading, const Table& table,
                                      ngid_t domain, std::uint64_t position, std::uint32_t id) {
  return get(reading.txn(), reading.db(LmdbEnv::kRows), rowKey(table.gid, domain, position, id));
}

// Searching the journal takes long, so the result is kept. It depends on the damaged bytes only: a
// row that is written again has others.
std::string replacementOf(const ReadTransaction& reading, const Table& table, ngid_t domain,
                          std::uint32_t id, std::string_view row, const std::string& reason) {
  StoreCore& core = reading.core();
  const std::tuple key(table.gid, domain, id, XXH3_64bits(row.data(), row.size()));
  {
    const std::scoped_lock lock(core.damagedMutex);
    const auto known = core.damagedRows.find(key);
    if (known != core.damagedRows.end()) return known->second;
  }
  const std::string found = newestRow(reading.txn(), reading.env(), table.gid, domain, id);
  Logger::instance().log(
      found.empty() ? LogCode::kStoreRecordDamaged : LogCode::kStoreRecordRecovered,
      "%s\x01%u\x01%s", std::string(table.key).c_str(), id, reason.c_str());
  const std::scoped_lock lock(core.damagedMutex);
  if (core.damagedRows.size() >= kCachedDamages) core.damagedRows.clear();
  return core.damagedRows[key] = found;
}

StoredRecord decodeOrRecover(const ReadTransaction& reading, const Table& table, ngid_t domain,
                             std::uint32_t id, std::string_view row) {
  std::string reason;
  StoredRecord record = RowCodec::decode(table, domain, id, row, reason);
  if (record) return record;
  const std::string other = replacementOf(reading, table, domain, id, row, reason);
  std::string ignored;
  if (!other.empty()) record = RowCodec::decode(table, domain, id, other, ignored);
  if (!record) throwDamaged(table, domain, "record " + std::to_string(id) + ": " + reason);
  return record;
}

StoredRecord readRow(const ReadTransaction& reading, const Table& table, ngid_t domain,
                     std::uint64_t position, std::uint32_t id) {
  const auto row = rowAt(reading, table, domain, position, id);
  if (!row) throwDamaged(table, domain, "record " + std::to_string(id) + " has no row");
  return decodeOrRecover(reading, table, domain, id, *row);
}

StoredRecord readSingle(const ReadTransaction* reading, const Table& table) {
  const auto row = reading != nullptr ? rowAt(*reading, table, 0, kFirstPosition, 0) : std::nullopt;
  return row ? decodeOrRecover(*reading, table, 0, 0, *row) : RowCodec::defaults(table);
}

// The map is not resized during a walk.
class Walk {
 public:
  explicit Walk(ReaderSlot& slot) : slot_(slot) { ++slot_.walks; }
  ~Walk() { --slot_.walks; }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

 private:
  ReaderSlot& slot_;
};

bool isSingle(const Table& table) {
  return table.scope == Scope::kSystemSingle;
}

}  // namespace

// ---- TableOrder

TableOrder::TableOrder(std::vector<std::uint32_t> ids, std::vector<std::uint64_t> positions)
    : ids_(std::move(ids)), positions_(std::move(positions)) {
  if (std::is_sorted(ids_.begin(), ids_.end())) return;
  byId_.reserve(ids_.size());
  for (std::size_t i = 0; i < ids_.size(); ++i) byId_.emplace_back(ids_[i], static_cast<int>(i));
  std::sort(byId_.begin(), byId_.end());
}

std::uint32_t TableOrder::idAt(int index) const {
  return index >= 0 && index < size() ? ids_[static_cast<std::size_t>(index)] : 0;
}

int TableOrder::indexOf(std::uint32_t id) const {
  if (byId_.empty()) {
    const auto found = std::lower_bound(ids_.begin(), ids_.end(), id);
    return found != ids_.end() && *found == id ? static_cast<int>(found - ids_.begin()) : -1;
  }
  const auto found = std::lower_bound(byId_.begin(), byId_.end(), std::pair(id, 0));
  return found != byId_.end() && found->first == id ? found->second : -1;
}

// ---- Snapshot

Snapshot::Snapshot(std::unique_ptr<Pin> pin) : pin_(std::move(pin)) {}
Snapshot::Snapshot(Snapshot&&) noexcept = default;
Snapshot& Snapshot::operator=(Snapshot&&) noexcept = default;
Snapshot::~Snapshot() = default;

const ReadTransaction* Snapshot::reading() const {
  if (pin_ == nullptr || !pin_->reading) return nullptr;
  pin_->reading->core().checkProcess();
  return &*pin_->reading;
}

Revision Snapshot::revision() const {
  const ReadTransaction* from = reading();
  return from != nullptr ? from->revision() : 0;
}

int Snapshot::size(G_CLI_GID gid, ngid_t domain) const {
  const ReadTransaction* from = reading();
  const Table* table = findTable(gid);
  if (table == nullptr) return 0;
  if (isSingle(*table)) return domain == 0 ? 1 : 0;
  if (from == nullptr) return 0;
  constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
  return static_cast<int>(std::min(stateOf(*from, gid, domain).count, kMost));
}

StoredRecord Snapshot::byId(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const {
  const ReadTransaction* from = reading();
  const Table* table = findTable(gid);
  if (table == nullptr) return {};
  if (isSingle(*table)) return domain == 0 ? readSingle(from, *table) : StoredRecord();
  if (from == nullptr) return {};
  const auto position = get(from->txn(), from->db(LmdbEnv::kIds), idKey(gid, domain, id));
  if (!position) return {};
  return readRow(*from, *table, domain, fromBytes<std::uint64_t>(*position), id);
}

StoredRecord Snapshot::at(G_CLI_GID gid, ngid_t domain, int at) const {
  const ReadTransaction* from = reading();
  const Table* table = findTable(gid);
  if (table == nullptr) return {};
  if (isSingle(*table)) return domain == 0 ? readSingle(from, *table) : StoredRecord();
  if (from == nullptr || at < 0) return {};
  const auto found = findIndex(*from, gid, domain);
  if (at >= found->size()) return {};
  const auto& order = static_cast<const TableOrder&>(*found);
  return readRow(*from, *table, domain, order.positionAt(at), order.idAt(at));
}

std::shared_ptr<const TableIndex> Snapshot::index(G_CLI_GID gid, ngid_t domain) const {
  const ReadTransaction* from = reading();
  const Table* table = findTable(gid);
  if (table == nullptr) return emptyIndex();
  if (isSingle(*table)) return domain == 0 ? singleIndex() : emptyIndex();
  return from != nullptr ? findIndex(*from, gid, domain) : emptyIndex();
}

void Snapshot::walk(G_CLI_GID gid, ngid_t domain,
                    const std::function<bool(const StoredRecord&)>& visit) const {
  const ReadTransaction* from = reading();
  const Table* table = findTable(gid);
  if (table == nullptr) return;
  if (isSingle(*table)) {
    if (domain == 0) visit(readSingle(from, *table));
    return;
  }
  if (from == nullptr) return;
  const Walk walking(from->slot());
  const Key prefix = tablePrefix(gid, domain);
  Cursor cursor(from->txn(), from->db(LmdbEnv::kRows));
  for (bool more = cursor.seek(prefix); more && cursor.under(prefix); more = cursor.next()) {
    if (cursor.key().size() != kRowKeySize) continue;
    if (!visit(decodeOrRecover(*from, *table, domain, idOfRow(cursor.key()), cursor.value()))) {
      return;
    }
  }
}

std::vector<ngid_t> Snapshot::domains(G_CLI_GID gid) const {
  const ReadTransaction* from = reading();
  const Table* table = findTable(gid);
  std::vector<ngid_t> found;
  if (table == nullptr) return found;
  if (isSingle(*table)) return {0};
  if (from == nullptr) return found;
  const Key prefix = Key('t').u32(gid);
  Cursor cursor(from->txn(), from->db(LmdbEnv::kMeta));
  for (bool more = cursor.seek(prefix); more && cursor.under(prefix); more = cursor.next()) {
    if (fromBytes<TableState>(cursor.value()).count == 0) continue;
    found.push_back(static_cast<ngid_t>(bigEndian(cursor.key().substr(5))));
  }
  return found;
}

Revision Snapshot::lastChanged(G_CLI_GID gid) const {
  const ReadTransaction* from = reading();
  if (from == nullptr) return 0;
  const auto revision = get(from->txn(), from->db(LmdbEnv::kMeta), gidKey(gid));
  return revision ? fromBytes<Revision>(*revision) : 0;
}

}  // namespace Kestrav::Config

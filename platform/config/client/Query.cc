#include "config/client/Query.h"

#include <cstring>

#include "config/records/Tables.h"
#include "config/store/RowCodec.h"

namespace Kestrav::Config::Client {

// The snapshot that one call reads from: the query's own, or one that lasts for the call. None
// without a store.
class Query::Reading {
 public:
  explicit Reading(Query& query) {
    if (!query.shared()) {
      query.open();
      if (query.snapshot_) snapshot_ = &*query.snapshot_;
      return;
    }
    store_ = ConfigStore::attached();
    if (store_ != nullptr) {
      own_.emplace(store_->snapshot());
      snapshot_ = &*own_;
    }
    query.follow(*this);
  }

  explicit operator bool() const { return snapshot_ != nullptr; }
  const Snapshot* operator->() const { return snapshot_; }
  const std::shared_ptr<ConfigStore>& store() const { return store_; }

 private:
  std::shared_ptr<ConfigStore> store_;
  std::optional<Snapshot> own_;
  const Snapshot* snapshot_ = nullptr;
};

Query::Query(unsigned int gid, ngid_t domain, Life life)
    : cmf_query{{0, 0, 0, 0}, -1},
      table_(findTable(static_cast<G_CLI_GID>(gid))),
      domain_(domain),
      life_(life) {}

void Query::open() {
  if (opened_) return;
  std::shared_ptr<ConfigStore> store = ConfigStore::attached();
  if (store != nullptr) {
    snapshot_.emplace(store->snapshot());
    revision_ = snapshot_->revision();
    store_ = std::move(store);
  }
  opened_ = true;
}

const TableIndex* Query::index(const Reading& reading) {
  if (index_ == nullptr && reading && table_ != nullptr)
    index_ = reading->index(table_->gid, domain_);
  return index_.get();
}

// Brings a shared query's row up to the snapshot, after a refresh or another store was attached.
void Query::follow(const Reading& reading) {
  const std::shared_ptr<ConfigStore>& store = reading.store();
  if (seen_.owner_before(store) || store.owner_before(seen_)) {
    seen_ = store;
    moveTo(domain_);
  }
  revision_ = reading ? reading->revision() : 0;
  if (index_ != nullptr || single() || index(reading) == nullptr) return;
  if (placedId_ == 0) return;
  current_row = index_->indexOf(placedId_);
  if (current_row < 0) leave();
}

void Query::refresh() {
  index_.reset();
  cached(false);
}

void Query::moveTo(ngid_t domain) {
  domain_ = domain;
  refresh();
  leave();
  nowhere_ = false;
}

void Query::leave() {
  current_row = -1;
  placedId_ = 0;
  nowhere_ = true;
  cached(false);
}

void Query::cached(bool on) {
  const auto bit = static_cast<unsigned char>(CMF_QUERY_CACHED);
  header[3] = static_cast<unsigned char>(on ? header[3] | bit : header[3] & ~bit);
}

int Query::size() {
  const Reading reading(*this);
  if (single()) return domain_ == 0 ? 1 : 0;
  return reading && table_ != nullptr ? reading->size(table_->gid, domain_) : 0;
}

bool Query::place(int row) {
  const Reading reading(*this);
  std::uint32_t id = 0;
  bool found = false;
  if (single()) {
    found = row == 0 && domain_ == 0;
  } else if (const TableIndex* order = index(reading); order != nullptr) {
    found = row >= 0 && row < order->size();
    if (found) id = order->idAt(row);
  }
  if (!found) {
    leave();
    return false;
  }
  if (current_row != row) cached(false);
  current_row = row;
  placedId_ = id;
  nowhere_ = false;
  return true;
}

bool Query::placeById(std::uint32_t id) {
  return place(single() ? 0 : indexOf(id)) && record() != nullptr;
}

int Query::indexOf(std::uint32_t id) {
  const Reading reading(*this);
  if (single()) return domain_ == 0 ? 0 : -1;
  const TableIndex* order = index(reading);
  return order == nullptr ? -1 : order->indexOf(id);
}

int Query::indexOf(std::string_view name) {
  const Reading reading(*this);
  if (table_ == nullptr || table_->nameOffset == kNoName || single() || !reading) return -1;
  std::size_t room = table_->type->size - table_->nameOffset;
  for (const Field& field : table_->type->fields) {
    if (field.offset == table_->nameOffset) room = field.size;
  }
  int row = 0;
  bool found = false;
  reading->walk(table_->gid, domain_, [&](const StoredRecord& record) {
    const char* text = static_cast<const char*>(record.data()) + table_->nameOffset;
    found = std::string_view(text, ::strnlen(text, room)) == name;
    if (!found) ++row;
    return !found;
  });
  return found ? row : -1;
}

void Query::load(const Reading& reading) {
  if (table_ == nullptr) {
    record_ = StoredRecord();
  } else if (single()) {
    record_ = reading ? reading->byId(table_->gid, 0, 0) : RowCodec::defaults(*table_);
  } else if (const TableIndex* order = index(reading);
             order == nullptr || current_row >= order->size()) {
    record_ = StoredRecord();
  } else {
    // By id: a shared query's order may be that of an earlier snapshot.
    record_ = reading->byId(table_->gid, domain_, order->idAt(current_row));
  }
  cached(static_cast<bool>(record_));
}

void* Query::record() {
  if (!cached()) {
    if (current_row < 0 && nowhere_) return nullptr;
    if (current_row < 0 && !place(0)) {
      nowhere_ = false;
      return nullptr;
    }
    load(Reading(*this));
  }
  return const_cast<void*>(record_.data());
}

bool Query::put(const void* data) {
  const Reading reading(*this);
  if (table_ == nullptr || data == nullptr || current_row < 0) return false;
  const std::shared_ptr<ConfigStore> store = ConfigStore::attached();
  if (store == nullptr) return false;
  // A record that was erased meanwhile stays erased.
  if (!single() && indexOf(RowCodec::idOf(*table_, data)) < 0) return false;
  ChangeSet changes;
  changes.put(table_->gid, domain_, data);
  store->commit(std::move(changes));
  cached(false);
  return true;
}

}  // namespace Kestrav::Config::Client

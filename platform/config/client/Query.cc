#include "platform/config/client/Query.h"

#include <cstring>

#include "platform/config/client/StoreAccess.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config::Client {

namespace {

bool onlyInSystem(G_CLI_GID gid) {
  const Table* table = findTable(gid);
  return table != nullptr && table->scope != Scope::kDomainList;
}

}  // namespace

// The snapshot that one call reads from: the query's own, or one that lasts for the call.
class Query::View {
 public:
  explicit View(Query& query) {
    if (query.shared()) {
      own_.emplace(newestSnapshot());
      query.follow(*own_);
      snapshot_ = &*own_;
    } else {
      query.open();
      snapshot_ = &*query.snapshot_;
    }
  }

  const Snapshot& operator*() const { return *snapshot_; }
  const Snapshot* operator->() const { return snapshot_; }

 private:
  std::optional<Snapshot> own_;
  const Snapshot* snapshot_ = nullptr;
};

Query::Query(unsigned int gid, ngid_t domain, Life life)
    : cmf_query{{0, 0, 0, 0}, -1},
      gid_(static_cast<G_CLI_GID>(gid)),
      domain_(domain),
      life_(life) {}

void Query::open() {
  if (snapshot_) return;
  snapshot_.emplace(newestSnapshot());
  revision_ = snapshot_->revision();
}

const TableIndex& Query::index(const Snapshot& snapshot) {
  if (index_ == nullptr) index_ = snapshot.index(gid_, domain_);
  return *index_;
}

// Brings a shared query's row up to the snapshot, after a refresh or another attachment.
void Query::follow(const Snapshot& snapshot) {
  if (const std::uint64_t present = attachmentNumber(); attachment_ != present) {
    attachment_ = present;
    forget();
  }
  revision_ = snapshot.revision();
  if (index_ != nullptr || !place_) return;
  current_row = index(snapshot).indexOf(*place_);
  if (current_row < 0) leave();
}

void Query::refresh(ngid_t current) {
  if (const ngid_t domain = onlyInSystem(gid_) ? 0 : current; domain != domain_) {
    domain_ = domain;
    forget();
  }
  index_.reset();
  cached(false);
}

void Query::forget() {
  index_.reset();
  leave();
  lost_ = false;
}

void Query::leave() {
  current_row = -1;
  place_.reset();
  lost_ = true;
  cached(false);
}

void Query::cached(bool on) {
  const auto bit = static_cast<unsigned char>(CMF_QUERY_CACHED);
  header[3] = static_cast<unsigned char>(on ? header[3] | bit : header[3] & ~bit);
}

int Query::size() {
  return View(*this)->size(gid_, domain_);
}

bool Query::place(int row) {
  const View view(*this);
  const TableIndex& order = index(*view);
  if (row < 0 || row >= order.size()) {
    leave();
    return false;
  }
  if (current_row != row) cached(false);
  current_row = row;
  place_ = order.idAt(row);
  lost_ = false;
  return true;
}

bool Query::placeById(std::uint32_t id) {
  return place(indexOf(id)) && record() != nullptr;
}

int Query::indexOf(std::uint32_t id) {
  const Table* table = findTable(gid_);
  const bool single = table != nullptr && table->scope == Scope::kSystemSingle;
  const View view(*this);
  return index(*view).indexOf(single ? 0 : id);  // a single record answers to any id
}

int Query::indexOf(std::string_view name) {
  const View view(*this);
  const Table* table = findTable(gid_);
  if (table == nullptr || table->nameOffset == kNoName) return -1;
  std::size_t room = table->type->size - table->nameOffset;
  for (const Field& field : table->type->fields) {
    if (field.offset == table->nameOffset) room = field.size;
  }
  std::optional<std::uint32_t> found;
  view->walk(gid_, domain_, [&](const StoredRecord& record) {
    const char* text = static_cast<const char*>(record.data()) + table->nameOffset;
    if (std::string_view(text, ::strnlen(text, room)) == name) found = record.id();
    return !found;
  });
  return found ? index(*view).indexOf(*found) : -1;
}

void* Query::record() {
  // A shared query may keep a record of the store that was attached before.
  if (shared() && attachment_ != attachmentNumber()) cached(false);
  if (!cached()) {
    if (current_row < 0 && lost_) return nullptr;
    if (current_row < 0 && !place(0)) {
      lost_ = false;
      return nullptr;
    }
    load(*View(*this));
  }
  return const_cast<void*>(record_.data());
}

void Query::load(const Snapshot& snapshot) {
  const TableIndex& order = index(snapshot);
  record_ = StoredRecord();
  // By id: a shared query's order may be that of an earlier snapshot.
  if (current_row >= 0 && current_row < order.size()) {
    record_ = snapshot.byId(gid_, domain_, order.idAt(current_row));
  }
  cached(static_cast<bool>(record_));
}

bool Query::put(const void* data) {
  const Table* table = findTable(gid_);
  const std::shared_ptr<ConfigStore> store = ConfigStore::attached();
  std::uint32_t id = 0;
  StoredRecord basis;
  Revision basisRevision = 0;
  {
    // Ended before the commit, which may have to make the store's map grow.
    const View view(*this);
    if (table == nullptr || store == nullptr || data == nullptr || current_row < 0) return false;
    id = RowCodec::idOf(*table, data);
    basis = view->byId(gid_, domain_, id);
    basisRevision = view->revision();
  }
  const auto commitAt = [&](Revision revision) {
    ChangeSet changes;
    changes.put(gid_, domain_, data);
    return store->commitAt(revision, std::move(changes)).has_value();
  };
  bool done = basis && commitAt(basisRevision);
  if (basis && !done) {
    // Somebody else has written since. What they did to other records does not matter; this one
    // must be as it was when the change was made, or their change would be lost.
    atNewestRevision([&] {
      for (;;) {
        const Snapshot now = store->snapshot();
        const StoredRecord current = now.byId(gid_, domain_, id);
        if (!current || !sameRecord(*table->type, basis.data(), current.data())) return;
        if (commitAt(now.revision())) {
          done = true;
          return;
        }
      }
    });
  }
  cached(false);
  return done;
}

}  // namespace Kestrav::Config::Client

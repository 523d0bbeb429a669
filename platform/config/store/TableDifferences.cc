// What the changes of a TableEditor come down to.

#include <algorithm>

#include "platform/config/store/IncreasingSubsequence.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/TableEditor.h"

namespace Kestrav::Config {

// ---- Which records moved.

std::vector<std::uint32_t> TableEditor::originalOrder() const {
  std::vector<Place> before;
  for (const Place& place : places()) {
    if (!touched_.contains(place.id)) before.push_back(place);
  }
  for (const auto& [id, touched] : touched_) {
    if (touched.existed) before.push_back({touched.position, id});
  }
  std::sort(before.begin(), before.end(),
            [](const Place& a, const Place& b) { return a.position < b.position; });
  std::vector<std::uint32_t> order;
  order.reserve(before.size());
  for (const Place& place : before) order.push_back(place.id);
  return order;
}

void TableEditor::rememberOrder() {
  if (!original_) original_ = originalOrder();
}

void TableEditor::findMoved() {
  rememberOrder();
  std::unordered_map<std::uint32_t, std::uint32_t> now;  // id -> index; without added records
  for (const Place& place : places()) {
    const auto touched = touched_.find(place.id);
    if (touched == touched_.end() || touched->second.existed) now.emplace(place.id, now.size());
  }
  std::vector<std::uint32_t> sequence;
  std::vector<std::uint64_t> weights;
  std::vector<std::uint32_t> kept;
  for (std::uint32_t id : *original_) {
    const auto at = now.find(id);
    if (at == now.end()) continue;
    kept.push_back(id);
    sequence.push_back(at->second);
    // Records that no change named keep their order among themselves. The weight makes sure that
    // none of them counts as moved.
    weights.push_back(touched_.contains(id) ? 1 : now.size() + 1);
  }
  const std::vector<bool> stays = heaviestIncreasing(sequence, weights);
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (!stays[i]) moved_.insert(kept[i]);
  }
}

// ---- Which record follows which.

void TableEditor::findPresentNext(std::vector<Successor>& sought) const {
  const Key prefix = tablePrefix(table_.gid, domain_);
  Cursor cursor(txn_, rows());
  bool more = false;
  for (Successor& record : sought) {
    const Key key = row(record.place);
    if (!more || cursor.key() != key) more = cursor.seek(key);  // often where the last step ended
    more = more && cursor.next();
    if (more && cursor.under(prefix)) record.next = idOfRow(cursor.key());
  }
}

void TableEditor::findOriginalNext(std::vector<Successor>& sought) const {
  if (original_) {
    std::unordered_map<std::uint32_t, Successor*> byId;
    for (Successor& record : sought) byId.emplace(record.place.id, &record);
    for (std::size_t i = 0; i + 1 < original_->size(); ++i) {
      const auto found = byId.find((*original_)[i]);
      if (found != byId.end()) found->second->next = (*original_)[i + 1];
    }
    return;
  }
  // No record moved, so all that are sought were erased. Each is followed by the next erased one or
  // by a present one that was not added.
  const auto added = [this](std::uint32_t id) {
    const auto found = touched_.find(id);
    return found != touched_.end() && !found->second.existed;
  };
  const Key prefix = tablePrefix(table_.gid, domain_);
  Cursor cursor(txn_, rows());
  for (std::size_t i = 0; i < sought.size(); ++i) {
    const Place* erased = i + 1 < sought.size() ? &sought[i + 1].place : nullptr;
    const auto inReach = [&] {
      return cursor.under(prefix) &&
             (erased == nullptr || positionOfRow(cursor.key()) < erased->position);
    };
    bool more = cursor.seek(row(sought[i].place));
    while (more && inReach() && added(idOfRow(cursor.key()))) more = cursor.next();
    if (more && inReach()) {
      sought[i].next = idOfRow(cursor.key());
    } else if (erased != nullptr) {
      sought[i].next = erased->id;
    }
  }
}

// ---- The differences.

std::vector<TableEditor::Difference> TableEditor::differences() {
  for (const auto& [id, touched] : touched_) {
    // Erased and put again: a new row in another place.
    const auto place = touched.existed ? find(id) : std::nullopt;
    if (place && place->position != touched.position) placesChanged_ = true;
  }
  if (placesChanged_) findMoved();
  const auto defaults = [this]() -> std::optional<std::string> {
    if (!single_) return {};
    return RowCodec::encode(table_, RowCodec::defaults(table_).data());
  };
  std::vector<Difference> found;
  std::vector<Successor> before;
  std::vector<Successor> after;
  for (std::uint32_t id : touchedIds_) {
    Touched& touched = touched_[id];
    const auto place = find(id);
    const bool moved = moved_.contains(id);
    std::optional<std::string> oldRow = touched.existed ? std::move(touched.row) : defaults();
    std::optional<std::string> newRow = place ? read(*place) : defaults();
    if (touched.existed != place.has_value()) membershipChanged_ = true;
    if (oldRow == newRow && (!oldRow || !moved)) continue;
    if (touched.existed && (!place || moved))
      before.push_back({{touched.position, id}, found.size()});
    if (place && (!touched.existed || moved)) after.push_back({*place, found.size()});
    found.push_back({id, std::move(oldRow), std::move(newRow), {}, {}});
  }
  if (single_) return found;
  const auto byPosition = [](const Successor& a, const Successor& b) {
    return a.place.position < b.place.position;
  };
  std::sort(before.begin(), before.end(), byPosition);
  std::sort(after.begin(), after.end(), byPosition);
  findOriginalNext(before);
  findPresentNext(after);
  for (const Successor& record : before) found[record.difference].nextBefore = record.next;
  for (const Successor& record : after) found[record.difference].nextAfter = record.next;
  return found;
}

void TableEditor::finish(Revision revision, bool changed) {
  if (!changed && !membershipChanged_ && !placesChanged_) return;
  const unsigned meta = env_.db(LmdbEnv::kMeta);
  const Key key = tableKey(table_.gid, domain_);
  TableState state;
  if (const auto bytes = get(txn_, meta, key)) state = fromBytes<TableState>(*bytes);
  state.count += static_cast<std::uint64_t>(added_);
  if (changed) state.lastChanged = revision;
  if (membershipChanged_ || placesChanged_) state.lastReordered = revision;
  Kestrav::Config::put(txn_, meta, key, asBytes(state));
  if (changed) Kestrav::Config::put(txn_, meta, gidKey(table_.gid), asBytes(revision));
}

}  // namespace Kestrav::Config

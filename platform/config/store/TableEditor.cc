#include "platform/config/store/TableEditor.h"

#include <algorithm>
#include <limits>

#include "platform/common/Exception.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config {

std::vector<bool> heaviestRising(const std::vector<std::uint32_t>& sequence,
                                 const std::vector<std::uint64_t>& weights) {
  // best[v]: over the numbers below v, a prefix-maximum tree of (weight of the best run ending
  // there, its end).
  const std::size_t n = sequence.size();
  struct Best {
    std::uint64_t weight = 0;
    std::size_t end = 0;
  };
  std::vector<Best> tree(n + 1);
  std::vector<std::size_t> previous(n);
  Best best;
  for (std::size_t i = 0; i < n; ++i) {
    Best below;
    for (std::size_t v = sequence[i]; v > 0; v &= v - 1) {
      if (tree[v].weight > below.weight) below = tree[v];
    }
    previous[i] = below.weight > 0 ? below.end : n;
    const Best here{below.weight + weights[i], i};
    for (std::size_t v = sequence[i] + std::size_t{1}; v <= n; v += v & (~v + 1)) {
      if (here.weight > tree[v].weight) tree[v] = here;
    }
    if (here.weight > best.weight) best = here;
  }
  std::vector<bool> member(n, false);
  if (best.weight == 0) return member;
  for (std::size_t i = best.end; i != n; i = previous[i]) member[i] = true;
  return member;
}

TableEditor::TableEditor(MDB_txn* txn, const LmdbEnv& env, const Table& table, ngid_t domain)
    : txn_(txn),
      env_(env),
      table_(table),
      domain_(domain),
      single_(table.scope == Scope::kSystemSingle) {}

void TableEditor::refuse(const std::string& what) const {
  throw Exception(
      "Table " + std::string(table_.key) + " of domain " + std::to_string(domain_) + ": " + what,
      StoreError::kBadRecord);
}

// ---- Reading.

std::optional<TableEditor::Place> TableEditor::find(std::uint32_t id) const {
  const auto position = get(txn_, ids(), idKey(table_.gid, domain_, id));
  if (!position) return {};
  return Place{fromBytes<std::uint64_t>(*position), id};
}

std::string TableEditor::read(const Place& place) const {
  return std::string(get(txn_, rows(), row(place)).value_or(""));
}

std::vector<TableEditor::Place> TableEditor::places() const {
  std::vector<Place> found;
  const Key prefix = tablePrefix(table_.gid, domain_);
  Cursor cursor(txn_, rows());
  for (bool more = cursor.seek(prefix); more && cursor.under(prefix); more = cursor.next()) {
    found.push_back({positionOfRow(cursor.key()), idOfRow(cursor.key())});
  }
  return found;
}

std::optional<TableEditor::Place> TableEditor::placeBefore(const Place& place) const {
  Cursor cursor(txn_, rows());
  if (!cursor.before(row(place)) || !cursor.under(tablePrefix(table_.gid, domain_))) return {};
  return Place{positionOfRow(cursor.key()), idOfRow(cursor.key())};
}

std::optional<TableEditor::Place> TableEditor::lastPlace() {
  if (!last_) {
    constexpr auto kTop = std::numeric_limits<std::uint64_t>::max();
    last_ = placeBefore({kTop, std::numeric_limits<std::uint32_t>::max()});
  }
  return *last_;
}

// ---- Writing rows.

TableEditor::Touched& TableEditor::touch(std::uint32_t id, const std::optional<Place>& place) {
  const auto [at, isNew] = touched_.try_emplace(id);
  if (isNew) {
    touchedIds_.push_back(id);
    if (place) at->second = {true, place->position, read(*place)};
  }
  return at->second;
}

void TableEditor::insert(const Place& place, std::string_view bytes) {
  Kestrav::Config::put(txn_, rows(), row(place), bytes);
  Kestrav::Config::put(txn_, ids(), idKey(table_.gid, domain_, place.id), asBytes(place.position));
  if (last_ && (!*last_ || (*last_)->position < place.position)) last_ = place;
}

void TableEditor::remove(const Place& place) {
  Kestrav::Config::erase(txn_, rows(), row(place));
  Kestrav::Config::erase(txn_, ids(), idKey(table_.gid, domain_, place.id));
  if (last_ && *last_ && (*last_)->id == place.id) last_.reset();
}

void TableEditor::move(const Place& from, std::uint64_t to) {
  if (from.position == to) return;
  const std::string bytes = read(from);
  remove(from);
  insert({to, from.id}, bytes);
  placesChanged_ = true;
}

// ---- Finding room.

// Positions are spread out again; readers see the same order.
void TableEditor::renumber(const std::vector<Place>& inOrder) {
  rememberOrder();
  placesChanged_ = true;
  const std::uint64_t room = std::numeric_limits<std::uint64_t>::max() / (inOrder.size() + 2);
  const std::uint64_t gap = std::min(kGap, room);
  std::uint64_t position = kFirstPosition - inOrder.size() / 2 * gap;
  for (const Place& place : inOrder) {
    move(place, position);
    position += gap;
  }
  last_.reset();
}

std::uint64_t TableEditor::endPosition() {
  const auto last = lastPlace();
  if (!last) return kFirstPosition;
  if (last->position < std::numeric_limits<std::uint64_t>::max() - 2 * kGap) {
    return last->position + kGap;
  }
  renumber(places());
  return lastPlace()->position + kGap;
}

std::uint64_t TableEditor::positionBefore(std::uint32_t beforeId) {
  for (;;) {
    const Place next = *find(beforeId);
    const auto previous = placeBefore(next);
    if (!previous && next.position > 2 * kGap) return next.position - kGap;
    const std::uint64_t below = previous ? previous->position : 0;
    if (next.position - below >= 2) return below + (next.position - below) / 2;
    renumber(places());
  }
}

// ---- The four changes.

void TableEditor::put(std::uint32_t id, std::string_view bytes) {
  const auto place = find(id);
  if (place) {
    if (read(*place) == bytes) return;
    touch(id, place);
    insert(*place, bytes);
    return;
  }
  touch(id, {});
  insert({single_ ? kFirstPosition : endPosition(), id}, bytes);
  ++added_;
}

void TableEditor::putBefore(std::uint32_t id, std::string_view bytes, std::uint32_t beforeId) {
  if (beforeId != 0 && !find(beforeId)) {
    refuse("there is no record " + std::to_string(beforeId) + " to put record " +
           std::to_string(id) + " before");
  }
  const auto place = find(id);
  if (!place) {
    touch(id, {});
    insert({beforeId == 0 ? endPosition() : positionBefore(beforeId), id}, bytes);
    ++added_;
    return;
  }
  put(id, bytes);
  if (beforeId == id) return;
  if (beforeId == 0) {
    if (lastPlace()->id == id) return;
    touch(id, place);
    const std::uint64_t to = endPosition();
    move(*find(id), to);  // making room may have moved it
    return;
  }
  const auto previous = placeBefore(*find(beforeId));
  if (previous && previous->id == id) return;
  touch(id, place);
  const std::uint64_t to = positionBefore(beforeId);
  move(*find(id), to);
}

void TableEditor::erase(std::uint32_t id) {
  const auto place = find(id);
  if (!place) return;
  touch(id, place);
  remove(*place);
  --added_;
}

void TableEditor::order(const std::vector<std::uint32_t>& wanted) {
  std::unordered_map<std::uint32_t, std::uint32_t> rank;  // id -> index among the wanted
  rank.reserve(wanted.size());
  for (std::uint32_t id : wanted) {
    if (!rank.emplace(id, rank.size()).second) {
      refuse("the order names record " + std::to_string(id) + " twice");
    }
  }
  std::vector<Place> present;
  for (const Place& place : places()) {
    if (rank.contains(place.id)) {
      present.push_back(place);
    } else {
      erase(place.id);
    }
  }
  if (present.size() != wanted.size()) {
    for (std::uint32_t id : wanted) {
      if (!find(id)) refuse("the order names record " + std::to_string(id) + ", which is missing");
    }
  }
  // In the wanted order, each with where it stands now.
  std::vector<Place> target(wanted.size());
  std::vector<std::uint32_t> sequence(wanted.size());
  for (std::uint32_t i = 0; i < present.size(); ++i) {
    const std::uint32_t at = rank[present[i].id];
    target[at] = present[i];
    sequence[at] = i;
  }
  const std::vector<bool> stays =
      heaviestRising(sequence, std::vector<std::uint64_t>(wanted.size(), 1));

  // New positions for the runs of records that move, between those that stay.
  std::vector<std::uint64_t> positions(target.size());
  for (std::size_t i = 0; i < target.size();) {
    if (stays[i]) {
      positions[i] = target[i].position;
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < target.size() && !stays[end]) ++end;
    const std::uint64_t count = end - i;
    const std::uint64_t low = i > 0 ? target[i - 1].position : 0;  // a neighbour that stays
    const std::uint64_t high =
        end < target.size() ? target[end].position : std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t gap = std::min(kGap, (high - low) / (count + 1));
    if (gap == 0) {
      for (std::size_t k = 0; k < target.size(); ++k) {
        if (!stays[k]) touch(target[k].id, target[k]);
      }
      renumber(target);
      return;
    }
    // At the front they go right before what follows, elsewhere right behind what precedes.
    std::uint64_t position = i > 0 || end == target.size() ? low : high - gap * (count + 1);
    for (; i < end; ++i) positions[i] = position += gap;
  }
  for (std::size_t i = 0; i < target.size(); ++i) {
    if (stays[i]) continue;
    touch(target[i].id, target[i]);
    move(target[i], positions[i]);
  }
}

// ---- What it comes down to.

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
  std::unordered_map<std::uint32_t, std::uint32_t>
      now;  // id -> index, of those that were there before too
  std::vector<Place> present = places();
  for (const Place& place : present) {
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
    // Records that no change named stay among themselves as they were, so they are never the ones
    // that moved.
    weights.push_back(touched_.contains(id) ? 1 : now.size() + 1);
  }
  const std::vector<bool> stays = heaviestRising(sequence, weights);
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (!stays[i]) moved_[kept[i]] = true;
  }
}

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
  for (std::uint32_t id : touchedIds_) {
    Touched& touched = touched_[id];
    const auto place = find(id);
    std::optional<std::string> before = touched.existed ? std::move(touched.row) : defaults();
    std::optional<std::string> after = place ? read(*place) : defaults();
    if (touched.existed != place.has_value()) membershipChanged_ = true;
    if (before == after && (!before || !moved_.contains(id))) continue;
    found.push_back({id, std::move(before), std::move(after)});
  }
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

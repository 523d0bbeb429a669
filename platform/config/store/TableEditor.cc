#include "platform/config/store/TableEditor.h"

#include <algorithm>
#include <limits>

#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/store/IncreasingSubsequence.h"

namespace Kestrav::Config {

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

// Gives all rows new positions; readers see the same order.
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
    move(*find(id), to);  // renumber() may have changed its position
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
  // In the wanted order, each with its present place.
  std::vector<Place> target(wanted.size());
  std::vector<std::uint32_t> sequence(wanted.size());
  for (std::uint32_t i = 0; i < present.size(); ++i) {
    const std::uint32_t at = rank[present[i].id];
    target[at] = present[i];
    sequence[at] = i;
  }
  const std::vector<bool> stays =
      heaviestIncreasing(sequence, std::vector<std::uint64_t>(wanted.size(), 1));

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
    const std::uint64_t low = i > 0 ? target[i - 1].position : 0;  // its neighbour stays
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
    // At the front they go right before the next record, elsewhere right after the previous one.
    std::uint64_t position = i > 0 || end == target.size() ? low : high - gap * (count + 1);
    for (; i < end; ++i) positions[i] = position += gap;
  }
  for (std::size_t i = 0; i < target.size(); ++i) {
    if (stays[i]) continue;
    touch(target[i].id, target[i]);
    move(target[i], positions[i]);
  }
}

}  // namespace Kestrav::Config

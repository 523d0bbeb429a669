#include "platform/config/client/DomainIndex.h"

#include <algorithm>
#include <cstring>

#include "platform/common/Strings.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config::Client {
namespace {

constexpr std::size_t kUnit = 8;
constexpr std::size_t kChunkUnits = (1u << 20) / kUnit;
constexpr std::size_t kFirstSlots = 64;

// FNV-1a over the name in lower case, its bits mixed once more for the low ones to be good.
std::uint32_t hashOf(std::string_view name) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const char letter : name)
    hash = (hash ^ static_cast<unsigned char>(asciiToLower(letter))) * 0x100000001b3u;
  hash ^= hash >> 32;
  hash *= 0x9e3779b97f4a7c15u;
  return static_cast<std::uint32_t>(hash >> 32);
}

// The bytes that keep all of the record; none when it is `plain`.
std::string rowOf(const __aps_gw_server& record) {
  auto plain = std::make_unique<__aps_gw_server>();
  boundedCopy(plain->name, boundedText(record.name));
  boundedCopy(plain->alias_of, boundedText(record.alias_of));
  plain->id = record.id;
  plain->disclaimer_mode = record.disclaimer_mode;
  plain->configuration_domain = record.configuration_domain;
  if (std::memcmp(plain.get(), &record, sizeof record) == 0) return {};
  return RowCodec::encode(*findTable(GID_PROTECTED_DOMAIN), &record);
}

}  // namespace

// Followed by the name, the alias and the row.
struct DomainIndex::Head {
  std::uint32_t hash;
  std::uint32_t id;
  std::uint32_t disclaimerMode;
  std::uint32_t configurationDomain;
  std::uint16_t nameSize;
  std::uint16_t aliasSize;
  std::uint32_t rowSize;

  const char* texts() const { return reinterpret_cast<const char*>(this + 1); }
  std::string_view name() const { return {texts(), nameSize}; }
  std::string_view alias() const { return {texts() + nameSize, aliasSize}; }
  std::string_view row() const { return {texts() + nameSize + aliasSize, rowSize}; }
  std::size_t units() const {
    return (sizeof(Head) + nameSize + aliasSize + rowSize + kUnit - 1) / kUnit;
  }
};

DomainIndex::DomainIndex() : slots_(kFirstSlots, kFree) {
  static_assert(kErased < 2);
  used_ = 2;  // no record lies at the places that mean free and erased
}

const DomainIndex::Head& DomainIndex::head(Place place) const {
  const std::byte* chunk = chunks_[place / kChunkUnits].get();
  return *reinterpret_cast<const Head*>(chunk + place % kChunkUnits * kUnit);
}

// The slot of the record with this name and id, slots_.size() when there is none.
std::size_t DomainIndex::slotOf(std::string_view name, std::uint32_t hash, std::uint32_t id) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask; slots_[at] != kFree; at = (at + 1) & mask) {
    if (slots_[at] == kErased) continue;
    const Head& found = head(slots_[at]);
    if (found.hash == hash && found.id == id && stringEqualsNoCase(found.name(), name)) return at;
  }
  return slots_.size();
}

DomainIndex::Place DomainIndex::allocate(std::size_t units) {
  if (used_ % kChunkUnits + units > kChunkUnits) {
    const std::size_t next = (used_ / kChunkUnits + 1) * kChunkUnits;
    waste_ += next - used_;
    used_ = next;
  }
  const std::size_t place = used_;
  used_ += units;
  if (place > 0xffffffffu) throw std::bad_alloc();
  if (place / kChunkUnits >= chunks_.size()) {
    chunks_.push_back(std::make_unique_for_overwrite<std::byte[]>(kChunkUnits * kUnit));
  }
  return static_cast<Place>(place);
}

void DomainIndex::insert(const Head& made, std::string_view name, std::string_view alias,
                         std::string_view row) {
  if ((filled_ + 1) * 10 > slots_.size() * 7) rehash();
  const Place place = allocate(made.units());
  std::byte* bytes = chunks_[place / kChunkUnits].get() + place % kChunkUnits * kUnit;
  std::memcpy(bytes, &made, sizeof made);
  char* texts = reinterpret_cast<char*>(bytes + sizeof made);
  name.copy(texts, name.size());
  alias.copy(texts + name.size(), alias.size());
  row.copy(texts + name.size() + alias.size(), row.size());
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = made.hash & mask;
  while (slots_[at] > kErased) at = (at + 1) & mask;
  if (slots_[at] == kFree) ++filled_;
  slots_[at] = place;
  ++live_;
}

void DomainIndex::rehash() {
  std::vector<Place> former = std::move(slots_);
  std::size_t size = kFirstSlots;
  while (size < live_ * 2 + 2) size *= 2;
  slots_.assign(size, kFree);
  filled_ = live_;
  for (const Place place : former) {
    if (place <= kErased) continue;
    std::size_t at = head(place).hash & (size - 1);
    while (slots_[at] != kFree) at = (at + 1) & (size - 1);
    slots_[at] = place;
  }
}

void DomainIndex::put(const __aps_gw_server& record) {
  const std::string_view name = boundedText(record.name);
  if (name.empty()) return;
  const std::string_view alias = boundedText(record.alias_of);
  const std::string row = rowOf(record);
  erase(record);
  const Head made{hashOf(name),
                  record.id,
                  record.disclaimer_mode,
                  record.configuration_domain,
                  static_cast<std::uint16_t>(name.size()),
                  static_cast<std::uint16_t>(alias.size()),
                  static_cast<std::uint32_t>(row.size())};
  insert(made, name, alias, row);
}

void DomainIndex::erase(const __aps_gw_server& record) {
  const std::string_view name = boundedText(record.name);
  const std::size_t at = slotOf(name, hashOf(name), record.id);
  if (at == slots_.size()) return;
  waste_ += head(slots_[at]).units();
  slots_[at] = kErased;
  --live_;
}

bool DomainIndex::find(std::string_view name, Contents& contents) const {
  const std::uint32_t hash = hashOf(name);
  const std::size_t mask = slots_.size() - 1;
  const Head* best = nullptr;
  for (std::size_t at = hash & mask; slots_[at] != kFree; at = (at + 1) & mask) {
    if (slots_[at] == kErased) continue;
    const Head& found = head(slots_[at]);
    if (found.hash != hash || !stringEqualsNoCase(found.name(), name)) continue;
    if (best == nullptr || found.id < best->id) best = &found;
  }
  if (best == nullptr) return false;
  contents.name = best->name();
  contents.aliasOf = best->alias();
  contents.row = best->row();
  contents.id = best->id;
  contents.disclaimerMode = best->disclaimerMode;
  contents.configurationDomain = best->configurationDomain;
  return true;
}

std::size_t DomainIndex::bytes() const {
  return chunks_.size() * kChunkUnits * kUnit + slots_.capacity() * sizeof(Place) + sizeof *this;
}

bool DomainIndex::wasteful() const {
  return waste_ > kChunkUnits && waste_ * 2 > used_;
}

std::unique_ptr<DomainIndex> DomainIndex::compacted() const {
  auto made = std::make_unique<DomainIndex>();
  for (const Place place : slots_) {
    if (place <= kErased) continue;
    const Head& record = head(place);
    made->insert(record, record.name(), record.alias(), record.row());
  }
  return made;
}

}  // namespace Kestrav::Config::Client

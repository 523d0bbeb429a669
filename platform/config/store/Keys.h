// Keys and fixed-size values of the four sub-databases. Keys are big-endian, so that they sort as
// numbers do.
//
//   rows     table, domain, position, id   -> a row (RowCodec)
//   ids      table, domain, id             -> position
//   meta     's'                           -> schema number
//            'r'                           -> revision
//            'j'                           -> revision up to which the journal has been cut off
//            't', table, domain            -> TableState
//            'g', table                    -> revision that last changed the table in any domain
//   journal  revision, number              -> a head or an entry (JournalFormat.h)
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

// Raised by each change of the bytes in the store. Older schemas from kOldestSchema on are migrated
// (Migration.h).
inline constexpr std::uint32_t kSchema = 2;
inline constexpr std::uint32_t kOldestSchema = 1;

class Key {
 public:
  Key() = default;
  explicit Key(char tag) { bytes_[size_++] = tag; }
  Key& u32(std::uint32_t value) { return append(value, 4); }
  Key& u64(std::uint64_t value) { return append(value, 8); }
  operator std::string_view() const { return {bytes_, size_}; }

 private:
  Key& append(std::uint64_t value, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) {
      bytes_[size_++] = static_cast<char>(value >> (8 * i));
    }
    return *this;
  }
  char bytes_[24];
  std::size_t size_ = 0;
};

inline std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (char c : bytes) value = value << 8 | static_cast<unsigned char>(c);
  return value;
}

// The number in these bytes of a key. 0 when a damaged key is too short for it.
inline std::uint64_t numberOfKey(std::string_view key, std::size_t at, std::size_t size) {
  return key.size() < at + size ? 0 : bigEndian(key.substr(at, size));
}

inline constexpr std::size_t kRowKeySize = 20;
inline Key tablePrefix(G_CLI_GID gid, ngid_t domain) {
  return Key().u32(gid).u32(domain);
}
inline Key rowKey(G_CLI_GID gid, ngid_t domain, std::uint64_t position, std::uint32_t id) {
  return tablePrefix(gid, domain).u64(position).u32(id);
}
inline std::uint64_t positionOfRow(std::string_view key) {
  return numberOfKey(key, 8, 8);
}
inline std::uint32_t idOfRow(std::string_view key) {
  return static_cast<std::uint32_t>(numberOfKey(key, 16, 4));
}
inline Key idKey(G_CLI_GID gid, ngid_t domain, std::uint32_t id) {
  return tablePrefix(gid, domain).u32(id);
}
inline Key tableKey(G_CLI_GID gid, ngid_t domain) {
  return Key('t').u32(gid).u32(domain);
}
inline Key gidKey(G_CLI_GID gid) {
  return Key('g').u32(gid);
}
inline Key journalKey(Revision revision, std::uint32_t number) {
  return Key().u64(revision).u32(number);
}

inline Revision revisionOfEntry(std::string_view key) {
  return numberOfKey(key, 0, 8);
}
inline std::uint32_t numberOfEntry(std::string_view key) {
  return static_cast<std::uint32_t>(numberOfKey(key, 8, 4));
}

// One table in one domain. Little-endian, as it is in memory.
struct TableState {
  std::uint64_t count = 0;
  Revision lastChanged = 0;
  Revision lastReordered = 0;  // membership, order or positions
};

template <class T>
std::string_view asBytes(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

// Missing bytes are read as zeros.
template <class T>
T fromBytes(std::string_view bytes) {
  T value{};
  std::memcpy(&value, bytes.data(), bytes.size() < sizeof value ? bytes.size() : sizeof value);
  return value;
}

// Positions of rows: far enough apart that most insertions leave their neighbours alone.
inline constexpr std::uint64_t kGap = std::uint64_t{1} << 20;
inline constexpr std::uint64_t kFirstPosition = std::uint64_t{1} << 63;

}  // namespace Kestrav::Config

// Between a record in memory and a row of the store.
//
// A row is the record's fixed part with its pointers zeroed, followed by its lists (and theirs) in
// field order, each 8-aligned; runs of zeros are written as their length, since most of a record is
// empty. Equal records give equal rows. Stateless: any thread may call any function.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/config/records/Field.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

class KESTRAV_API RowCodec {
 public:
  // Largest record with its lists, uncompressed.
  static constexpr std::size_t kMaximumSize = 256u << 20;

  // Throws Exception kBadRecord when the record does not fit its field table.
  static std::string encode(const Table& table, const void* record);

  // A null record when the bytes are no row of the table; `reason` then says why.
  static StoredRecord decode(const Table& table, ngid_t domain, std::uint32_t id,
                             std::string_view row, std::string& reason);

  // As above; rows that cannot be read are logged.
  static StoredRecord decodeOrLog(const Table& table, ngid_t domain, std::uint32_t id,
                                  std::string_view row);

  // The record that a single-record table answers with before it was written.
  static StoredRecord defaults(const Table& table);

  // The record's own id; 0 for single-record tables.
  static std::uint32_t idOf(const Table& table, const void* record);
};

}  // namespace Kestrav::Config

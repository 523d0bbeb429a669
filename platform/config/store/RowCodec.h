// Converts records to rows of the store and back.
//
// A row is the version byte, the size of the record's fixed part and the size of all of it as
// 7-bit groups, the record, and a checksum (Checksum.h). The record is its fixed part with its
// pointers zeroed, followed by its lists (and theirs) in field order, each 8-aligned; runs of zeros
// are written as their length, because most of a record is empty. Equal records give equal rows.
// Stateless: any thread may call any function.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/config/records/Forward.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

class KESTRAV_API RowCodec {
 public:
  static constexpr char kVersion = 2;
  // Largest record with its lists, uncompressed.
  static constexpr std::size_t kMaximumSize = 256u << 20;

  // Throws Exception kBadRecord when the record does not fit its field table.
  static std::string encode(const Table& table, const void* record);

  // A null record when the bytes are no row of the table; `reason` then says why. The row is
  // checked as a whole first: a damaged one is never taken for another record.
  static StoredRecord decode(const Table& table, ngid_t domain, std::uint32_t id,
                             std::string_view row, std::string& reason);

  // As above; rows that cannot be read are logged.
  static StoredRecord decodeOrLog(const Table& table, ngid_t domain, std::uint32_t id,
                                  std::string_view row);

  // The record of a single-record table that was never written.
  static StoredRecord defaults(const Table& table);

  // The record's own id; 0 for single-record tables.
  static std::uint32_t idOf(const Table& table, const void* record);
};

}  // namespace Kestrav::Config

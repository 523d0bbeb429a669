// Rows with a right checksum, and any bytes as rows: they are read or refused with a reason, and
// what was read can be written and read again. Input: the table's number in two bytes, then the
// row without its version and checksum.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/Checksum.h"
#include "platform/config/store/RowCodec.h"

namespace {

using namespace Kestrav::Config;

constexpr std::uint64_t kLargestRecord = 1u << 20;  // larger ones take only time

void require(bool condition) {
  if (!condition) std::abort();
}

// The second number of a row: the size of all of the record.
std::uint64_t sizeIn(std::string_view row) {
  std::uint64_t value = 0;
  for (int number = 0; number < 2; ++number) {
    value = 0;
    for (int shift = 0; shift < 63 && !row.empty(); shift += 7) {
      const auto byte = static_cast<unsigned char>(row.front());
      row.remove_prefix(1);
      value |= std::uint64_t{byte & 0x7fu} << shift;
      if (byte < 0x80) break;
    }
  }
  return value;
}

StoredRecord decoded(const Table& table, std::string_view row) {
  std::string reason;
  StoredRecord record = RowCodec::decode(table, 1, 2, row, reason);
  require(record ? reason.empty() : !reason.empty());
  return record;
}

// Empty when the record exceeds a limit that only writing enforces.
std::string encoded(const Table& table, const StoredRecord& record) {
  try {
    return RowCodec::encode(table, record.data());
  } catch (const Kestrav::Exception& exception) {
    require(exception.code() == StoreError::kBadRecord);
    return {};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const Table* found = findTable(static_cast<G_CLI_GID>(data[0] | data[1] << 8));
  if (found == nullptr) return 0;
  const Table& table = *found;
  const std::string_view content(reinterpret_cast<const char*>(data) + 2, size - 2);
  if (sizeIn(content) > kLargestRecord) return 0;
  decoded(table, content);
  std::string row(1, RowCodec::kVersion);
  row.append(content);
  appendChecksum(row);
  const StoredRecord record = decoded(table, row);
  if (!record) return 0;
  const std::string again = encoded(table, record);
  if (again.empty()) return 0;
  const StoredRecord same = decoded(table, again);
  require(static_cast<bool>(same));
  require(encoded(table, same) == again);
  return 0;
}

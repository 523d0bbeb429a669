// Between the two tables of trusted addresses and the sets that are filled from them.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "TrustedMTASet.h"
#include "config/CMF.h"
#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"

namespace Kestrav {

// The addresses that a record of table `table` means. A text that is no address is logged, and
// means none.
inline std::optional<IPAddressMask> trustedAddresses(unsigned int table,
                                                     const __aps_ip_mask_string& record) {
  try {
    return IPAddressMask(boundedText(record.text));
  } catch (const Exception& failure) {
    Logger::instance(false).log(LogCode::kStoreRecordSkipped, "%u\x01%u\x01%s", table, record.id,
                                failure.asString().c_str());
    return std::nullopt;
  }
}

// None when the table cannot be read.
template <unsigned int GID>
std::optional<std::set<IPAddressMask>> readTrusted() {
  std::set<IPAddressMask> masks;
  CMF::TableQuery<__aps_ip_mask_string, GID> table;
  if (table.size() < 0) return std::nullopt;
  for (auto at = table.begin(); at != table.end(); ++at) {
    const __aps_ip_mask_string* record = at.operator->();
    if (record == nullptr) continue;
    if (auto mask = trustedAddresses(GID, *record)) masks.insert(*mask);
  }
  return masks;
}

// Adds the whole table. Read again when a change came in meanwhile: the change may have taken out
// what an older revision still holds.
template <unsigned int GID>
void addTrusted(TrustedAddresses& out) {
  for (;;) {
    const std::uint64_t changes = out.changes();
    const auto masks = readTrusted<GID>();
    if (!masks || out.add(*masks, changes)) return;
  }
}

// Makes the set what the table holds; leaves it when the table cannot be read.
template <unsigned int GID>
void replaceTrusted(TrustedAddresses& out) {
  for (;;) {
    const std::uint64_t changes = out.changes();
    const auto masks = readTrusted<GID>();
    if (!masks || out.assign(*masks, changes)) return;
  }
}

}  // namespace Kestrav

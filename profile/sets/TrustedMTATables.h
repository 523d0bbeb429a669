// The two tables of trusted addresses and the sets that are filled from them.
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

// The set that is filled from table `GID`.
template <unsigned int GID>
TrustedAddresses& trustedSet() {
  static_assert(GID == GID_TRUSTED_MTA || GID == GID_TRUSTED_ANTISPAM_MTA);
  TrustedMTASetRef sets = TrustedMTASetRef::instance(false);
  return GID == GID_TRUSTED_MTA ? sets->trustedMTAs() : sets->trustedAntispamMTAs();
}

// The addresses of a record of table `table`; none, and a log line, when its text is no address.
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

// Reads the table and passes its addresses to `store`, which is TrustedAddresses::add or assign.
// Reads again when the set changed meanwhile: the change may have removed an address that was read.
// Leaves the set as it is when the table cannot be read.
template <unsigned int GID, class Store>
void storeTrusted(const Store& store) {
  TrustedAddresses& set = trustedSet<GID>();
  for (;;) {
    const std::uint64_t changes = set.changes();
    const auto masks = readTrusted<GID>();
    if (!masks || (set.*store)(*masks, changes)) return;
  }
}

// Adds the whole table to its set.
template <unsigned int GID>
void addTrusted() {
  storeTrusted<GID>(&TrustedAddresses::add);
}

// Makes the set equal to the table.
template <unsigned int GID>
void replaceTrusted() {
  storeTrusted<GID>(&TrustedAddresses::assign);
}

}  // namespace Kestrav

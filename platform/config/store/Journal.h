// The journal: one entry for each changed record, under the revision that changed it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StoreCore.h"

namespace Kestrav::Config {

// One entry as rows; views into the caller's memory or a transaction's.
struct JournalRows {
  G_CLI_GID gid{};
  ngid_t domain = 0;
  std::uint32_t id = 0;
  std::optional<std::string_view> before;
  std::optional<std::string_view> after;
};

std::string encodeEntry(const JournalRows& entry);
std::optional<JournalRows> decodeEntry(std::string_view bytes);

// Cuts off the oldest revisions: down to options.journalEntries as far as live processes have
// applied them, down to options.journalEntriesHard in any case. Whole revisions only. Part of the
// commit of revision `newest`.
void trimJournal(MDB_txn* txn, StoreCore& core, Revision newest);

}  // namespace Kestrav::Config

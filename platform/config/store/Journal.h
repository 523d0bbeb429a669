// The journal of a store: what each revision changed. JournalFormat.h has its bytes.
#pragma once

#include <cstddef>
#include <string>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StoreCore.h"

namespace Kestrav::Config {

// The row that the newest entry of the record has. Empty when there is none, or when an entry that
// may be newer cannot be read.
std::string newestRow(MDB_txn* txn, const LmdbEnv& env, G_CLI_GID gid, ngid_t domain,
                      std::uint32_t id);

// Entries in the journal, heads not counted. `newest` is the newest revision in it.
std::size_t journalEntries(MDB_txn* txn, const LmdbEnv& env, Revision newest);

// Removes the oldest revisions: down to options.journalEntries as far as live processes have
// applied them, down to options.journalEntriesHard in any case. Whole revisions only. Part of the
// commit of revision `newest`.
void trimJournal(MDB_txn* txn, const LmdbEnv& env, StoreCore& core, Revision newest);

}  // namespace Kestrav::Config

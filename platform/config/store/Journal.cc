#include "platform/config/store/Journal.h"

#include <algorithm>
#include <string>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/store/JournalFormat.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/StoreImpl.h"

namespace Kestrav::Config {
namespace {

// The number of a revision's last entry is their count.
std::size_t entriesOf(MDB_txn* txn, unsigned db, Revision revision) {
  Cursor cursor(txn, db);
  if (!cursor.before(journalKey(revision + 1, kHeadNumber))) return 0;
  return revisionOfEntry(cursor.key()) == revision ? numberOfEntry(cursor.key()) : 0;
}

Revision cutOff(MDB_txn* txn, const LmdbEnv& env) {
  const auto cut = get(txn, env.db(LmdbEnv::kMeta), Key('j'));
  return cut ? fromBytes<Revision>(*cut) : 0;
}

void logSkipped(const std::string& table, std::uint32_t id, const std::string& reason) {
  Logger::instance().log(LogCode::kStoreRecordSkipped, "%s\x01%u\x01%s", table.c_str(), id,
                         reason.c_str());
}

void logUnreadable(Revision revision, std::uint32_t number) {
  logSkipped("journal", number, "revision " + std::to_string(revision) + " has damaged bytes");
}

// Bytes that are copied at a time, and at least one entry: a revision may be larger than the memory
// that should be spent on it.
constexpr std::size_t kBatchBytes = 1u << 20;

struct CopiedEntry {
  Revision revision;
  std::uint32_t number;
  std::string bytes;
};

// Copies entries from the key `from` on. False at the end; otherwise `from` becomes the next key.
bool copyEntries(const ReadTransaction& reading, std::string& from, Revision upTo,
                 std::vector<CopiedEntry>& batch) {
  Cursor cursor(reading.txn(), reading.db(LmdbEnv::kJournal));
  std::size_t copied = 0;
  for (bool more = cursor.seek(from); more; more = cursor.next()) {
    const Revision revision = revisionOfEntry(cursor.key());
    const std::uint32_t number = numberOfEntry(cursor.key());
    if (revision > upTo) return false;
    if (number == kHeadNumber) continue;
    if (copied >= kBatchBytes) {
      from = cursor.key();
      return true;
    }
    batch.push_back({revision, number, std::string(cursor.value())});
    copied += sizeof(CopiedEntry) + cursor.value().size();
  }
  return false;
}

// A row that cannot be read gives a null record, as it does to those who read the table.
JournalEntry withRecords(Revision revision, const RecordChange& change) {
  JournalEntry entry;
  const Table* table = findTable(change.gid);
  if (table == nullptr) {
    logSkipped(std::to_string(change.gid), change.id, "journal: there is no such table");
    return entry;
  }
  const auto decoded = [&](const std::optional<std::string_view>& row) {
    return row ? RowCodec::decodeOrLog(*table, change.domain, change.id, *row) : StoredRecord();
  };
  entry.revision = revision;
  entry.gid = change.gid;
  entry.domain = change.domain;
  entry.id = change.id;
  entry.before = decoded(change.before);
  entry.after = decoded(change.after);
  entry.nextBefore = change.nextBefore;
  entry.nextAfter = change.nextAfter;
  return entry;
}

}  // namespace

std::string newestRow(MDB_txn* txn, const LmdbEnv& env, G_CLI_GID gid, ngid_t domain,
                      std::uint32_t id) {
  Cursor cursor(txn, env.db(LmdbEnv::kJournal));
  for (bool more = cursor.last(); more; more = cursor.previous()) {
    if (numberOfEntry(cursor.key()) == kHeadNumber) continue;
    const auto change = decodeEntry(cursor.value());
    if (!change) return "";
    if (change->gid != gid || change->domain != domain || change->id != id) continue;
    return std::string(change->after.value_or(""));
  }
  return "";
}

std::size_t journalEntries(MDB_txn* txn, const LmdbEnv& env, Revision newest) {
  const std::size_t all = entries(txn, env.db(LmdbEnv::kJournal));
  const Revision heads = newest - std::min(newest, cutOff(txn, env));
  return all - std::min<std::size_t>(all, heads);
}

void trimJournal(MDB_txn* txn, const LmdbEnv& env, StoreCore& core, Revision newest) {
  const unsigned db = env.db(LmdbEnv::kJournal);
  std::size_t count = journalEntries(txn, env, newest);
  const std::size_t keep = core.options.journalEntries;
  const std::size_t hard = std::max(core.options.journalEntriesHard, keep);
  if (count <= keep) return;
  const Revision needed = core.status->lowestApplied().value_or(newest);
  Revision cut = 0;
  Cursor cursor(txn, db);
  bool more = cursor.first();
  while (more) {
    const Revision oldest = revisionOfEntry(cursor.key());
    const std::size_t size = entriesOf(txn, db, oldest);
    if (count <= hard && (oldest > needed || count - size < keep)) break;
    const Key prefix = Key().u64(oldest);
    while (more && cursor.under(prefix)) {
      cursor.eraseCurrent();
      more = cursor.first();
    }
    count -= size;
    cut = oldest;
  }
  if (cut != 0) put(txn, env.db(LmdbEnv::kMeta), Key('j'), asBytes(cut));
}

// No transaction is held while `visit` runs: it may wait for other threads, and the map may grow
// meanwhile.
bool ConfigStore::journal(Revision after, Revision upTo,
                          const std::function<void(const JournalEntry&)>& visit) {
  std::string from(journalKey(after + 1, kHeadNumber));
  for (bool first = true, more = true; more; first = false) {
    std::vector<CopiedEntry> batch;
    {
      const ReadTransaction reading(impl_->core, ReadTransaction::kNewest);
      // Entries that were already visited may be cut off.
      const Revision visited = first ? after : revisionOfEntry(from) - 1;
      if (visited < cutOff(reading.txn(), reading.env())) return false;
      more = copyEntries(reading, from, upTo, batch);
    }
    for (const CopiedEntry& copy : batch) {
      const auto change = decodeEntry(copy.bytes);
      if (!change) {
        logUnreadable(copy.revision, copy.number);
        return false;
      }
      const JournalEntry entry = withRecords(copy.revision, *change);
      if (entry.before || entry.after) visit(entry);
    }
  }
  return true;
}

std::optional<RevisionHead> ConfigStore::head(Revision revision) {
  const ReadTransaction reading(impl_->core, ReadTransaction::kNewest);
  const auto bytes =
      get(reading.txn(), reading.db(LmdbEnv::kJournal), journalKey(revision, kHeadNumber));
  if (!bytes) return {};
  auto head = decodeHead(*bytes);
  if (head) {
    head->revision = revision;
  } else {
    logUnreadable(revision, kHeadNumber);
  }
  return head;
}

}  // namespace Kestrav::Config

#include "platform/config/store/Journal.h"

#include <algorithm>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "platform/config/store/StoreImpl.h"

namespace Kestrav::Config {
namespace {

constexpr unsigned char kHasBefore = 1;
constexpr unsigned char kHasAfter = 2;
constexpr unsigned char kSame = 4;  // only the place differs: the row is written once

struct Head {
  std::uint32_t gid, domain, id;
  std::uint32_t flags;
  std::uint32_t beforeSize;
};

// A revision's entries are numbered from 0 on, without gaps.
std::size_t entriesOf(MDB_txn* txn, unsigned db, Revision revision) {
  Cursor cursor(txn, db);
  if (!cursor.before(journalKey(revision + 1, 0))) return 0;
  if (bigEndian(cursor.key().substr(0, 8)) != revision) return 0;
  return bigEndian(cursor.key().substr(8)) + 1;
}

void skipped(const JournalRows& rows, const char* reason) {
  Logger::instance().log(LogCode::kStoreRecordSkipped, "%u\x01%u\x01%s",
                         static_cast<unsigned>(rows.gid), rows.id, reason);
}

// What is copied at a time, at least one entry: a revision may be larger than the memory that one
// wants to spend on it.
constexpr std::size_t kBatchBytes = 1u << 20;

struct CopiedEntry {
  Revision revision;
  std::string bytes;
};

// Copies entries from the key `from` on. False at the end; otherwise `from` is where to go on.
bool copyEntries(const ReadTransaction& reading, std::string& from, Revision upTo,
                 std::vector<CopiedEntry>& batch) {
  Cursor cursor(reading.txn(), reading.db(LmdbEnv::kJournal));
  std::size_t copied = 0;
  for (bool more = cursor.seek(from); more; more = cursor.next()) {
    const Revision revision = bigEndian(cursor.key().substr(0, 8));
    if (revision > upTo) return false;
    if (copied >= kBatchBytes) {
      from = cursor.key();
      return true;
    }
    batch.push_back({revision, std::string(cursor.value())});
    copied += sizeof(CopiedEntry) + cursor.value().size();
  }
  return false;
}

// Without records when the entry cannot be read.
JournalEntry decoded(const CopiedEntry& copy) {
  JournalEntry entry;
  const auto rows = decodeEntry(copy.bytes);
  if (!rows) return entry;
  const Table* table = findTable(rows->gid);
  if (table == nullptr) {
    skipped(*rows, "journal: there is no such table");
    return entry;
  }
  entry.revision = copy.revision;
  entry.gid = rows->gid;
  entry.domain = rows->domain;
  entry.id = rows->id;
  if (rows->before) {
    entry.before = RowCodec::decodeOrLog(*table, rows->domain, rows->id, *rows->before);
  }
  if (rows->after) {
    entry.after = RowCodec::decodeOrLog(*table, rows->domain, rows->id, *rows->after);
  }
  return entry;
}

}  // namespace

std::string encodeEntry(const JournalRows& entry) {
  const bool same = entry.before && entry.after && *entry.before == *entry.after;
  Head head{entry.gid, entry.domain, entry.id, 0, 0};
  if (entry.before) head.flags |= kHasBefore;
  if (entry.after) head.flags |= kHasAfter;
  if (same) head.flags |= kSame;
  head.beforeSize = static_cast<std::uint32_t>(entry.before ? entry.before->size() : 0);
  std::string bytes(asBytes(head));
  if (entry.before) bytes.append(*entry.before);
  if (entry.after && !same) bytes.append(*entry.after);
  return bytes;
}

std::optional<JournalRows> decodeEntry(std::string_view bytes) {
  if (bytes.size() < sizeof(Head)) return {};
  const auto head = fromBytes<Head>(bytes.substr(0, sizeof(Head)));
  bytes.remove_prefix(sizeof(Head));
  if (head.beforeSize > bytes.size()) return {};
  JournalRows rows{static_cast<G_CLI_GID>(head.gid), head.domain, head.id, {}, {}};
  if ((head.flags & kHasBefore) != 0) rows.before = bytes.substr(0, head.beforeSize);
  if ((head.flags & kSame) != 0) {
    rows.after = rows.before;
  } else if ((head.flags & kHasAfter) != 0) {
    rows.after = bytes.substr(head.beforeSize);
  }
  return rows;
}

void trimJournal(MDB_txn* txn, StoreCore& core, Revision newest) {
  const unsigned db = core.env->db(LmdbEnv::kJournal);
  std::size_t count = entries(txn, db);
  const std::size_t keep = core.options.journalEntries;
  const std::size_t hard = std::max(core.options.journalEntriesHard, keep);
  if (count <= keep) return;
  const Revision needed = core.status->lowestApplied().value_or(newest);
  Revision cut = 0;
  Cursor cursor(txn, db);
  bool more = cursor.first();
  while (more) {
    const Revision oldest = bigEndian(cursor.key().substr(0, 8));
    const bool over = count > hard;
    if (!over && (oldest > needed || count - entriesOf(txn, db, oldest) < keep)) break;
    const Key prefix = Key().u64(oldest);
    while (more && cursor.under(prefix)) {
      cursor.eraseCurrent();
      --count;
      more = cursor.first();
    }
    cut = oldest;
  }
  if (cut != 0) put(txn, core.env->db(LmdbEnv::kMeta), Key('j'), asBytes(cut));
}

// Nothing of the store is held while `visit` runs: it may wait for whatever it likes, and the map
// may grow meanwhile.
bool ConfigStore::journal(Revision after, Revision upTo,
                          const std::function<void(const JournalEntry&)>& visit) {
  std::string from(journalKey(after + 1, 0));
  for (bool first = true, more = true; more; first = false) {
    std::vector<CopiedEntry> batch;
    {
      const ReadTransaction reading(impl_->core, ReadTransaction::kNewest);
      // What was cut off later is missed only when it was still to come.
      const auto cut = get(reading.txn(), reading.db(LmdbEnv::kMeta), Key('j'));
      const Revision kept = first ? after : bigEndian(std::string_view(from).substr(0, 8)) - 1;
      if (cut && kept < fromBytes<Revision>(*cut)) return false;
      more = copyEntries(reading, from, upTo, batch);
    }
    for (const CopiedEntry& copy : batch) {
      const JournalEntry entry = decoded(copy);
      if (entry.before || entry.after) visit(entry);
    }
  }
  return true;
}

}  // namespace Kestrav::Config

#include "platform/config/store/Migration.h"

#include <fcntl.h>
#include <unistd.h>

#include <limits>
#include <string>

#include "platform/config/store/Checksum.h"
#include "platform/config/store/JournalFormat.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/LittleEndian.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config {
namespace {

// ---- Schema 1: rows of version 1 have no checksum. The journal has no heads; its entries have no
// version and are numbered from 0 on.

constexpr char kRowVersion1 = 1;

// A row that schema 1 could not read stays unreadable.
std::string rowFrom1(std::string_view row) {
  std::string upgraded(row);
  if (row.empty() || row.front() != kRowVersion1) return upgraded;
  upgraded.front() = RowCodec::kVersion;
  appendChecksum(upgraded);
  return upgraded;
}

// Table, domain, id, flags and the size of the row before, 4 bytes each; the row before; the row
// after, unless it is the same.
std::optional<std::string> entryFrom1(std::string_view entry) {
  constexpr std::size_t kFixedSize = 20;
  constexpr unsigned kHasBefore = 1;
  constexpr unsigned kHasAfter = 2;
  constexpr unsigned kSameRow = 4;
  if (entry.size() < kFixedSize) return {};
  const auto field = [entry](std::size_t at) {
    return littleEndian<std::uint32_t>(entry.substr(at));
  };
  const unsigned flags = field(12);
  const std::size_t beforeSize = field(16);
  if (flags > (kHasBefore | kHasAfter | kSameRow) || beforeSize > entry.size() - kFixedSize) {
    return {};
  }
  const std::string before = rowFrom1(entry.substr(kFixedSize, beforeSize));
  const std::string after =
      (flags & kSameRow) != 0 ? before : rowFrom1(entry.substr(kFixedSize + beforeSize));
  RecordChange change;
  change.gid = static_cast<G_CLI_GID>(field(0));
  change.domain = field(4);
  change.id = field(8);
  if ((flags & kHasBefore) != 0) change.before = before;
  if ((flags & kHasAfter) != 0) change.after = after;
  return encodeEntry(change);
}

void upgradeRows(MDB_txn* txn, unsigned rows) {
  Cursor cursor(txn, rows);
  for (bool more = cursor.first(); more;) {
    const std::string key(cursor.key());
    put(txn, rows, key, rowFrom1(cursor.value()));
    more = cursor.seek(key) && cursor.next();
  }
}

void cutJournal(MDB_txn* txn, const LmdbEnv& env, Revision upTo) {
  Cursor cursor(txn, env.db(LmdbEnv::kJournal));
  while (cursor.first() && revisionOfEntry(cursor.key()) <= upTo) cursor.eraseCurrent();
  put(txn, env.db(LmdbEnv::kMeta), Key('j'), asBytes(upTo));
}

// From the last entry to the first, because each moves to the number above.
void upgradeJournal(MDB_txn* txn, const LmdbEnv& env) {
  const unsigned journal = env.db(LmdbEnv::kJournal);
  Cursor cursor(txn, journal);
  RevisionHead head;
  std::string key(journalKey(std::numeric_limits<Revision>::max(), 0));
  while (cursor.before(key)) {
    key = cursor.key();
    const Revision revision = revisionOfEntry(key);
    const std::uint32_t number = numberOfEntry(key);
    const auto entry = entryFrom1(cursor.value());
    if (!entry) return cutJournal(txn, env, revision);
    if (revision != head.revision) {
      head.revision = revision;
      head.changes = number + 1;
    }
    put(txn, journal, journalKey(revision, number + 1), *entry);
    if (number == 0) put(txn, journal, journalKey(revision, kHeadNumber), encodeHead(head));
  }
}

}  // namespace

// LMDB holds a lock on the first byte of its lock file for as long as an environment is open.
std::optional<int> processUsing(const std::filesystem::path& folder) {
  const int fd = ::open((folder / "lock.mdb").c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return {};
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_len = 1;
  const int rc = ::fcntl(fd, F_GETLK, &lock);
  ::close(fd);  // would give up this process's own locks on the file
  if (rc != 0 || lock.l_type == F_UNLCK) return {};
  return lock.l_pid;
}

void migrate(LmdbEnv& env, std::uint32_t schema) {
  const std::scoped_lock lock(env.writeMutex());
  for (;;) {
    try {
      Transaction writing(env.beginWrite());
      MDB_txn* const txn = writing.get();
      if (schema < 2) {
        upgradeRows(txn, env.db(LmdbEnv::kRows));
        upgradeJournal(txn, env);
      }
      put(txn, env.db(LmdbEnv::kMeta), Key('s'), asBytes(kSchema));
      return writing.commit();
    } catch (const MapFull&) {
      env.grow();
    }
  }
}

}  // namespace Kestrav::Config

// The configuration store: one LMDB environment and a small mapped status file, in one folder
// (0700, files 0600). Several processes open it; any number read, writers take turns.
//
// Records are listed in table order, the order of the configuration. Change sets are atomic:
// readers see a revision whole or not at all. A child after fork that uses a store which its parent
// opened gets an Exception.
//
// Threads: any thread may call any operation; a Snapshot belongs to the thread that took it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

namespace Kestrav::Config {

using Revision = std::uint64_t;

// Failures carry these codes in Exception::code().
namespace StoreError {
inline constexpr int kCannotOpen = 20;   // missing, no permission, or others can write to it
inline constexpr int kForeignFile = 21;  // truncated, not a store, or not a plain file
inline constexpr int kNewerSchema =
    22;  // written by a newer schema; the message gives both numbers
inline constexpr int kNoReaderSlot = 23;  // all reader slots taken; the message names the limit
inline constexpr int kFull = 24;          // the map cannot grow any further, or the disk is full
inline constexpr int kForked = 25;        // used in a child of the process that opened it
inline constexpr int kBadRecord = 26;     // a record that its field table does not describe
inline constexpr int kAttached = 27;      // the process has attached another store
inline constexpr int kInUse = 28;  // an older schema that another process keeps from migration
inline constexpr int kInternal = 29;
inline constexpr int kDamaged = 30;  // bytes of the store were changed from outside
}  // namespace StoreError

// A copy of a record: its fixed part with list pointers set, and its lists. The bytes keep their
// address when the object is moved.
class KESTRAV_API StoredRecord {
 public:
  StoredRecord() = default;
  const void* data() const { return bytes_.get(); }
  template <class Rec>
  const Rec* as() const {
    return static_cast<const Rec*>(data());
  }
  explicit operator bool() const { return bytes_ != nullptr; }
  G_CLI_GID gid() const { return gid_; }
  ngid_t domain() const { return domain_; }
  std::uint32_t id() const { return id_; }

 private:
  friend class RowCodec;
  std::unique_ptr<std::byte[]> bytes_;
  G_CLI_GID gid_{};
  ngid_t domain_ = 0;
  std::uint32_t id_ = 0;
};

// The order of one table in one domain at one revision; shared by all snapshots in which neither
// membership nor order differ.
class KESTRAV_API TableIndex {
 public:
  virtual ~TableIndex() = default;
  virtual int size() const = 0;
  virtual std::uint32_t idAt(int index) const = 0;
  virtual int indexOf(std::uint32_t id) const = 0;  // -1 when there is none
};

// One revision of the store, pinned. Nested snapshots of one thread share the outermost one's
// revision. A process without a store sees empty tables and default settings.
class KESTRAV_API Snapshot {
 public:
  Snapshot(Snapshot&&) noexcept;
  Snapshot& operator=(Snapshot&&) noexcept;
  ~Snapshot();

  Revision revision() const;
  int size(G_CLI_GID gid, ngid_t domain) const;
  // A damaged row is answered from its newest journal entry, which holds a copy of it. When the
  // journal does not have it, byId(), at() and walk() throw Exception kDamaged.
  //
  // Null record when there is none. For a single-record table id and index are ignored, and a
  // record that was never written is answered with its defaults.
  StoredRecord byId(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const;
  StoredRecord at(G_CLI_GID gid, ngid_t domain, int index) const;
  std::shared_ptr<const TableIndex> index(G_CLI_GID gid, ngid_t domain) const;
  // Calls for each record of a table in order; `visit` returns false to stop. The record is valid
  // during the call.
  void walk(G_CLI_GID gid, ngid_t domain,
            const std::function<bool(const StoredRecord&)>& visit) const;
  // Domains that hold at least one record of the table, ascending.
  std::vector<ngid_t> domains(G_CLI_GID gid) const;
  // The revision that last changed any record of the table in any domain; 0 when none ever did.
  Revision lastChanged(G_CLI_GID gid) const;

 private:
  friend class ConfigStore;
  struct Pin;
  explicit Snapshot(std::unique_ptr<Pin>);
  const class ReadTransaction* reading() const;
  std::unique_ptr<Pin> pin_;
};

// Changes to be committed as one revision, made in the order of the calls. Not shared between
// threads.
//
// All functions throw Exception kBadRecord for a table that does not exist and for a table of the
// system in another domain than 0. A single-record table always holds its record: the first put
// changes it, and erasing it puts back its defaults.
class KESTRAV_API ChangeSet {
 public:
  ChangeSet();
  ChangeSet(ChangeSet&&) noexcept;
  ChangeSet& operator=(ChangeSet&&) noexcept;
  ~ChangeSet();

  // Adds or replaces one record; `record` is the struct with its lists' pointers set, copied whole.
  // The id is taken from the record. A new record goes to the end of its table; an existing one
  // keeps its place. Throws Exception kBadRecord when the record does not fit its field table (id 0
  // in a list, a count larger than its list's limit, a null list pointer with a non-zero count).
  void put(G_CLI_GID gid, ngid_t domain, const void* record);
  // As put, but placed right before the record `beforeId` of the same table, or at the end for 0.
  // The commit throws kBadRecord when there is no record `beforeId`.
  void putBefore(G_CLI_GID gid, ngid_t domain, const void* record, std::uint32_t beforeId);
  // No difference when there is no such record.
  void erase(G_CLI_GID gid, ngid_t domain, std::uint32_t id);
  // The table gets exactly these records in this order in the domain; others are erased. The commit
  // throws kBadRecord for an id that is named twice or that no record has at this point.
  void order(G_CLI_GID gid, ngid_t domain, std::vector<std::uint32_t> ids);
  bool empty() const;

 private:
  friend class ConfigStore;
  friend class Committer;
  struct Changes;
  Changes& changes();
  void add(bool placed, G_CLI_GID gid, ngid_t domain, const void* record, std::uint32_t beforeId);
  std::unique_ptr<Changes> changes_;
};

// One changed record of a revision, as the journal keeps it. `before` is null for an added record,
// `after` for an erased one. A record that only moved in its table has both, and they are equal.
//
// The two `next` are the ids of the records that followed it in its table before and after the
// revision; 0: it was the last one. `nextBefore` is given for records that were erased or moved,
// `nextAfter` for those that were added or moved: all other records keep their order among
// themselves. Neither is given for single-record tables and for revisions of schema 1.
struct KESTRAV_API JournalEntry {
  Revision revision = 0;
  G_CLI_GID gid{};
  ngid_t domain = 0;
  std::uint32_t id = 0;
  StoredRecord before;
  StoredRecord after;
  std::optional<std::uint32_t> nextBefore;
  std::optional<std::uint32_t> nextAfter;
};

// Who committed a revision, and when. Unknown in revisions of schema 1.
struct KESTRAV_API RevisionHead {
  static constexpr std::uint32_t kUnknownUser = 0xffff'ffff;

  Revision revision = 0;
  std::chrono::sys_time<std::chrono::microseconds> time{};  // the epoch when unknown
  std::uint32_t uid = kUnknownUser;                         // real user id of the process
  std::string user;  // its name, at most 32 bytes; empty when the system has none for it
  // The engine that the change set came from and its revision there. Empty and 0: made here.
  std::string origin;
  std::uint64_t originRevision = 0;
  std::uint32_t changes = 0;  // entries of the revision
};

class StatusArea;

class KESTRAV_API ConfigStore {
 public:
  struct Options {
    // Makes the folder and the files when they are missing.
    bool create = true;
    // The group, by name or number, whose members are trusted like the folder's owner. Without it,
    // open() refuses a folder or a file that a group can write to. It always refuses what everybody
    // can write to, and a folder of another user than root and the effective one, unless the folder
    // belongs to this group. New files are for their owner only.
    std::string group;
    // Address space, not memory: the file grows as it is used. A full map is doubled, which waits
    // until no other thread of this process holds a snapshot; the default is large enough to avoid
    // this. The thread that commits may hold a snapshot of the newest revision, which moves on when
    // another process commits at that moment. While it holds one of an older revision, or calls
    // from within a walk, the map cannot grow and the commit fails at once.
    std::size_t initialMapSize = 16ull << 30;
    std::size_t maximumMapSize = 64ull << 30;
    // How long a resize waits for other threads' snapshots before the commit fails.
    int resizePatienceMs = 5000;
    // Threads that read at once, in all processes. The process that opens the store first decides.
    unsigned readerSlots = 1022;
    // The journal keeps at least the first number of entries, more while a live process still needs
    // them, and never more than the second number.
    std::size_t journalEntries = 100'000;
    std::size_t journalEntriesHard = 1'000'000;
  };

  // Opens the store in `folder`. A process opens one folder once: a second open of the same folder
  // yields the same object and ignores the options. The process that opens the store while no
  // other one has it open checks all pages and keys first, and throws kDamaged when one is damaged.
  static std::shared_ptr<ConfigStore> open(const std::filesystem::path& folder,
                                           const Options& options);
  static std::shared_ptr<ConfigStore> open(const std::filesystem::path& folder) {
    return open(folder, Options());
  }

  // Makes `store` the one that the library and the cmf_* functions of this process answer from.
  // Call it once, before the first use of the library. Handlers that are registered already get
  // resync() on this thread. Throws Exception kAttached when another store is attached, kInternal
  // when the event thread cannot be started; then nothing is attached. A child after fork attaches
  // a store that it opened itself; no other thread may have been inside the library at the fork.
  static void attach(std::shared_ptr<ConfigStore> store);
  // For tests and for the end of main, while no other thread uses the library. Ends the event
  // thread and empties every cache: handlers stay registered and get resync(). Then another store
  // may be attached. Not from within a handler.
  static void detach();
  // Null while none is attached. In a child after fork: the parent's, which throws kForked when
  // used.
  static std::shared_ptr<ConfigStore> attached();

  ~ConfigStore();
  ConfigStore(const ConfigStore&) = delete;
  ConfigStore& operator=(const ConfigStore&) = delete;

  const std::filesystem::path& folder() const;
  // Throws Exception kNoReaderSlot when all reader slots are taken by threads that read, and kFull
  // when another process made the map grow and this one has no room for it.
  Snapshot snapshot();
  // What a process without a store sees.
  static Snapshot emptySnapshot();

  // Commits the real differences and returns the revision that has them: the present one when there
  // are none. Wakes waiting processes. Throws Exception, and commits nothing, when the changes
  // cannot be made: kFull also when a snapshot keeps the map from growing (see
  // Options::initialMapSize).
  Revision commit(ChangeSet changes);
  // The same, for changes that were derived from the store at revision `basis`. Empty, and nothing
  // is committed, when the store has another revision by now.
  std::optional<Revision> commitAt(Revision basis, ChangeSet changes);

  // The newest committed revision, from the status area: no transaction.
  Revision revision() const;
  // Waits until revision() > `seen` or `timeoutMs` has passed; re-reads the store itself at least
  // once a second, in case a writer died between commit and wake. Returns the revision.
  // Returns early when `stop` is set and wakeWaiting() is called.
  Revision waitForRevision(Revision seen, int timeoutMs, const std::atomic<bool>* stop = nullptr);
  // Makes every waiting thread and process look at the revision again.
  void wakeWaiting();

  // Journal entries of all revisions in (after, upTo], in commit order. False when the journal no
  // longer reaches back to `after`, or holds an entry that cannot be read, which is logged. None is
  // visited then, unless the journal was cut between the calls of `visit`, which run while no
  // snapshot of the journal is held, or the unreadable entry is not among the first. A
  // single-record table's entries always give both records.
  bool journal(Revision after, Revision upTo,
               const std::function<void(const JournalEntry&)>& visit);
  // Empty when the journal does not hold the revision.
  std::optional<RevisionHead> head(Revision revision);

  // Claims a slot in the status file; the journal is kept for registered live processes. This one
  // counts as having applied the present revision. At most 31 bytes of the name are kept.
  void registerProcess(std::string_view name);
  // Gives the slot back; the journal is no longer kept for this process.
  void unregisterProcess();
  void applied(Revision revision);  // published for others to see; nothing before registerProcess
  struct Process {
    int pid;
    std::string name;
    Revision applied;
  };
  std::vector<Process> processes() const;  // live ones

  StatusArea& status();

  struct Statistics {
    Revision revision;
    std::size_t usedBytes, mapBytes;
    std::size_t journalEntries;
    Revision oldestJournalRevision;
    unsigned readersInUse, readerSlots;
  };
  Statistics statistics();
  // Replaces the data file by a copy that holds the present records and nothing else: no journal
  // (handlers in processes that have not applied the newest revision get resync()) and no bytes of
  // erased records. Commits of all processes wait meanwhile, reads do not. Snapshots stay on the
  // former file, whose room is free when the last of them has ended. Returns the sizes of both
  // files. Throws Exception, and leaves the former file, when the disk is full or a record is
  // damaged. Not while this thread commits.
  struct Compaction {
    std::uint64_t bytesBefore, bytesAfter;
  };
  Compaction compact();

  // Removes reader slots of processes that died; returns how many.
  int clearDeadReaders();

 private:
  struct Impl;
  explicit ConfigStore(std::unique_ptr<Impl>);
  std::unique_ptr<Impl> impl_;
};

}  // namespace Kestrav::Config

// Commits: one write transaction for a change set, its part of the journal and the new revision.

#include <map>
#include <memory>

#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/store/Author.h"
#include "platform/config/store/Changes.h"
#include "platform/config/store/Files.h"
#include "platform/config/store/Journal.h"
#include "platform/config/store/JournalFormat.h"
#include "platform/config/store/StoreImpl.h"
#include "platform/config/store/TableEditor.h"

namespace Kestrav::Config {
namespace {

// How often a writer looks for readers that died. LMDB does not reuse the pages of their revisions
// until then.
constexpr std::chrono::seconds kReaderCheckInterval{10};

// Another process has replaced the data file.
struct Superseded {};

}  // namespace

class Committer {
 public:
  // Commits the differences, with a larger map when this one is full. Empty as run() is.
  static std::optional<Revision> commit(StoreCore& core, std::optional<Revision> basis,
                                        const ChangeSet::Changes& changes);

  Committer(StoreCore& core, LmdbEnv& env, const ChangeSet::Changes& changes,
            const RevisionHead& author)
      : core_(core), env_(env), changes_(changes), author_(author) {}

  // Empty when `basis` is given and no longer the present revision. REQUIRES: the write mutex held.
  // Throws MapFull, or Superseded, with nothing written.
  std::optional<Revision> run(std::optional<Revision> basis) {
    Transaction transaction(env_.beginWrite());
    if (env_.superseded(core_.folder)) throw Superseded{};
    txn_ = transaction.get();
    const unsigned meta = env_.db(LmdbEnv::kMeta);
    const auto stored = get(txn_, meta, Key('r'));
    const Revision present = stored ? fromBytes<Revision>(*stored) : 0;
    if (basis && *basis != present) return std::nullopt;

    editors_.clear();
    byTable_.clear();
    for (const auto& change : changes_.list) apply(change);
    const Revision revision = present + 1;
    if (writeJournal(revision) == 0) return present;
    trimJournal(txn_, env_, core_, revision);
    put(txn_, meta, Key('r'), asBytes(revision));
    transaction.commit();
    return revision;
  }

 private:
  static std::optional<Revision> commitTo(StoreCore& core, LmdbEnv& env, const RevisionHead& author,
                                          std::optional<Revision> basis,
                                          const ChangeSet::Changes& changes);

  void apply(const ChangeSet::Changes::Change& change) {
    using Operation = ChangeSet::Changes::Operation;
    TableEditor& editor = editorFor(*change.table, change.domain);
    switch (change.operation) {
      case Operation::kPut:
        editor.put(change.id, change.row);
        break;
      case Operation::kPutBefore:
        editor.putBefore(change.id, change.row, change.beforeId);
        break;
      case Operation::kErase:
        editor.erase(change.id);
        break;
      case Operation::kOrder:
        editor.order(change.ids);
        break;
    }
  }

  // Also the tables' state. Returns the number of entries.
  std::uint32_t writeJournal(Revision revision) {
    const unsigned journal = env_.db(LmdbEnv::kJournal);
    std::uint32_t number = kHeadNumber;
    for (const auto& editor : editors_) {
      const auto differences = editor->differences();
      for (const auto& [id, before, after, nextBefore, nextAfter] : differences) {
        append(txn_, journal, journalKey(revision, ++number),
               encodeEntry({editor->table().gid, editor->domain(), id, before, after, nextBefore,
                            nextAfter}));
      }
      editor->finish(revision, !differences.empty());
    }
    if (number == 0) return 0;
    RevisionHead head = author_;
    head.time = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    head.changes = number;
    put(txn_, journal, journalKey(revision, kHeadNumber), encodeHead(head));
    return number;
  }

  TableEditor& editorFor(const Table& table, ngid_t domain) {
    TableEditor*& editor = byTable_[{table.gid, domain}];
    if (editor == nullptr) {
      editors_.push_back(std::make_unique<TableEditor>(txn_, env_, table, domain));
      editor = editors_.back().get();
    }
    return *editor;
  }

  StoreCore& core_;
  LmdbEnv& env_;
  const ChangeSet::Changes& changes_;
  const RevisionHead& author_;  // without time and number of changes
  MDB_txn* txn_ = nullptr;
  std::vector<std::unique_ptr<TableEditor>> editors_;  // in the order of their first changes
  std::map<std::pair<unsigned, ngid_t>, TableEditor*> byTable_;
};

std::optional<Revision> Committer::commit(StoreCore& core, std::optional<Revision> basis,
                                          const ChangeSet::Changes& changes) {
  const RevisionHead author = currentAuthor();  // may be slow, so before the lock
  const FileSizeSignalBlocked blocked;
  for (;;) {
    core.follow();
    const std::shared_ptr<LmdbEnv> env = core.env();
    try {
      return commitTo(core, *env, author, basis, changes);
    } catch (const Superseded&) {
      core.announceSwap();  // the process that replaced the file may have died before it did this
    }
  }
}

std::optional<Revision> Committer::commitTo(StoreCore& core, LmdbEnv& env,
                                            const RevisionHead& author,
                                            std::optional<Revision> basis,
                                            const ChangeSet::Changes& changes) {
  const std::scoped_lock lock(env.writeMutex());
  const auto now = std::chrono::steady_clock::now();
  if (now - core.readersChecked.load() > kReaderCheckInterval) {
    core.readersChecked = now;
    env.clearDeadReaders();
  }
  Committer committer(core, env, changes, author);
  for (bool cleared = false;;) {
    try {
      const std::optional<Revision> revision = committer.run(basis);
      if (revision) core.status->publish(*revision);
      return revision;
    } catch (const MapFull&) {
      if (!cleared && env.clearDeadReaders() > 0) {
        cleared = true;
      } else {
        env.grow();
      }
    }
  }
}

Revision ConfigStore::commit(ChangeSet changes) {
  impl_->core->checkProcess();
  if (changes.empty()) return refreshRevision(impl_->core);
  return *Committer::commit(*impl_->core, std::nullopt, changes.changes());
}

std::optional<Revision> ConfigStore::commitAt(Revision basis, ChangeSet changes) {
  impl_->core->checkProcess();
  return Committer::commit(*impl_->core, basis, changes.changes());
}

}  // namespace Kestrav::Config

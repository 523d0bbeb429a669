#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/config/text/Text.h"
#include "tools/Changes.h"
#include "tools/OpenStore.h"
#include "tools/Progress.h"
#include "tools/ReadFiles.h"
#include "tools/Scratch.h"

namespace Kestrav::Tool {
namespace {

using Config::Text::Configuration;

// Another writer may commit between reading the store and committing; the differences are taken
// anew then.
constexpr int kMostTries = 10;

struct Counts {
  int added = 0;
  int changed = 0;
  int moved = 0;
  int removed = 0;

  void count(Change change) {
    switch (change) {
      case Change::kAdded:
        ++added;
        break;
      case Change::kChanged:
        ++changed;
        break;
      case Change::kMoved:
        ++moved;
        break;
      case Change::kRemoved:
        ++removed;
        break;
    }
  }
};

std::ostream& operator<<(std::ostream& out, const Counts& counts) {
  return out << counts.added << " added, " << counts.changed << " changed, " << counts.moved
             << " moved, " << counts.removed << " removed";
}

// A copy of the store, in which the change is tried. A store that is not there yet counts as an
// empty one, and is not made.
std::shared_ptr<Config::ConfigStore> rehearsal(const Context& context, Scratch& scratch) {
  std::error_code ignored;
  const bool mayBeMade = !std::filesystem::exists(context.store, ignored) ||
                         (std::filesystem::is_directory(context.store, ignored) &&
                          std::filesystem::is_empty(context.store, ignored));
  if (mayBeMade) return scratch.empty();
  return scratch.copy(openStore(context, IfMissing::kRefuse)->snapshot());
}

int dryRun(const Context& context, const Configuration& configuration) {
  Progress progress(context);
  progress.stage("comparing " + counted(configuration.records().size(), "record"));
  Scratch scratch;
  const auto store = rehearsal(context, scratch);
  const Config::Revision before = store->revision();
  const Config::Revision after =
      store->commit(Config::Text::differences(configuration, store->snapshot()));
  progress.clear();
  Counts counts;
  const Config::Snapshot snapshot = store->snapshot();
  RemovedNames removed;
  addRemovedNames(removed, *store, before, after);
  const Names names(snapshot, &removed);
  store->journal(before, after, [&](const Config::JournalEntry& entry) {
    counts.count(changeOf(entry));
    printChange(changeDocument(entry, names, RenderOptions()), context.out);
  });
  if (after == before) {
    context.out << "no differences\n";
  } else {
    context.out << "a dry run, nothing was changed: " << counts << "\n";
  }
  return kDone;
}

}  // namespace

int load(const Context& context, const LoadOptions& options) {
  const auto configuration = readFiles(context, options.files, "; nothing was changed");
  if (!configuration) return kBadInput;
  if (options.dryRun) return dryRun(context, *configuration);
  Progress progress(context);
  progress.stage("loading " + counted(configuration->records().size(), "record"));
  const auto store = openStore(context, IfMissing::kCreate);
  for (int tries = 0; tries < kMostTries; ++tries) {
    Config::Revision before = 0;
    Config::ChangeSet changes;
    {
      const Config::Snapshot snapshot = store->snapshot();
      before = snapshot.revision();
      changes = Config::Text::differences(*configuration, snapshot);
    }
    const auto revision = store->commitAt(before, std::move(changes));
    if (!revision) continue;
    progress.clear();
    if (*revision == before) {
      context.out << "revision " << before << ": no differences, nothing was changed\n";
    } else {
      Counts counts;
      store->journal(before, *revision,
                     [&](const Config::JournalEntry& entry) { counts.count(changeOf(entry)); });
      context.out << "revision " << *revision << ": " << counts << "\n";
    }
    return kDone;
  }
  progress.clear();
  context.err << "vexactl: others keep changing the store; nothing was changed\n";
  return kNo;
}

}  // namespace Kestrav::Tool

#include <map>
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

// A try fails when another writer commits between our reading of the store and our commit.
constexpr int kMostTries = 10;

// Changes by their kind.
class Counts {
 public:
  void count(const Config::JournalEntry& entry) { ++counts_[changeOf(entry)]; }

  friend std::ostream& operator<<(std::ostream& out, Counts counts) {
    const char* separator = "";
    for (const Change change :
         {Change::kAdded, Change::kChanged, Change::kMoved, Change::kRemoved}) {
      out << separator << counts.counts_[change] << " " << changeText(change);
      separator = ", ";
    }
    return out;
  }

 private:
  std::map<Change, int> counts_;
};

// A copy of the store, for a trial of the change. A store that does not exist yet counts as an
// empty one and is not created.
std::shared_ptr<Config::ConfigStore> trialCopy(const Context& context, Scratch& scratch) {
  std::error_code error;
  const bool missing = !std::filesystem::exists(context.store, error) && !error;
  const bool mayBeCreated = missing || (std::filesystem::is_directory(context.store, error) &&
                                        std::filesystem::is_empty(context.store, error));
  if (mayBeCreated) return scratch.empty();
  return scratch.copy(openStore(context, IfMissing::kRefuse)->snapshot());
}

int dryRun(const Context& context, const Configuration& configuration) {
  Progress progress(context);
  progress.stage("comparing " + counted(configuration.records().size(), "record"));
  Scratch scratch;
  const auto store = trialCopy(context, scratch);
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
    counts.count(entry);
    printChange(changeDocument(entry, names, RenderOptions()), context.out);
  });
  if (after == before) {
    context.out << "no differences\n";
  } else {
    context.out << "dry run, nothing was changed: " << counts << "\n";
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
                     [&](const Config::JournalEntry& entry) { counts.count(entry); });
      context.out << "revision " << *revision << ": " << counts << "\n";
    }
    return kDone;
  }
  progress.clear();
  context.err << "vexactl: other processes keep changing the store; nothing was changed\n";
  return kNo;
}

}  // namespace Kestrav::Tool

#include <ostream>

#include "common/Exception.h"
#include "config/text/Text.h"
#include "tools/Compare.h"
#include "tools/OpenStore.h"
#include "tools/ReadFiles.h"
#include "tools/Scratch.h"

namespace Kestrav::Tool {
namespace {

// Another writer may commit between reading the store and committing; the differences are taken
// anew then.
constexpr int kMostTries = 10;

struct Counts {
  int added = 0;
  int removed = 0;
  int changed = 0;
};

Counts countChanges(Config::ConfigStore& store, Config::Revision after, Config::Revision upTo) {
  Counts counts;
  store.journal(after, upTo, [&](const Config::JournalEntry& entry) {
    ++(!entry.before ? counts.added : !entry.after ? counts.removed : counts.changed);
  });
  return counts;
}

int dryRun(const Context& context, const Files& files) {
  Scratch scratch;
  const auto wanted = scratch.load(context, files);
  if (!wanted) return kBadInput;
  // A store that is not there yet compares as an empty one, and is not made.
  Scratch empty;
  const bool exists = std::filesystem::exists(context.store);
  const auto present = exists ? openStore(context, IfMissing::kRefuse) : empty.load(context, {});
  const auto differences = compare(present->snapshot(), wanted->snapshot(), RenderOptions());
  printDifferences(differences, context.out);
  context.out << differences.size() << (differences.size() == 1 ? " difference" : " differences")
              << "; nothing was changed\n";
  return kDone;
}

}  // namespace

int load(const Context& context, const LoadOptions& options) {
  if (options.dryRun) return dryRun(context, options.files);
  const auto configuration = readFiles(context, options.files);
  if (!configuration) return kBadInput;
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
    if (*revision == before) {
      context.out << "revision " << before << ": no differences, nothing was changed\n";
    } else {
      const Counts counts = countChanges(*store, before, *revision);
      context.out << "revision " << *revision << ": " << counts.added << " added, "
                  << counts.changed << " changed, " << counts.removed << " removed\n";
    }
    return kDone;
  }
  context.err << "vexactl: others keep changing the store; nothing was changed\n";
  return kNo;
}

}  // namespace Kestrav::Tool

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <string>

#include "config/Event.h"
#include "tools/Changes.h"
#include "tools/JsonText.h"
#include "tools/OpenStore.h"

namespace Kestrav::Tool {
namespace {

using Config::Revision;
using Json = nlohmann::ordered_json;

volatile std::sig_atomic_t interrupted = 0;
void onInterrupt(int) {
  interrupted = 1;
}

// Prints changes in the order of their revisions. The event thread and the main thread use it.
class ChangePrinter {
 public:
  ChangePrinter(const Context& context, const WatchOptions& options, Config::ConfigStore& store)
      : context_(context), options_(options), store_(store) {}

  // Prints the first line. Call it with the mutex locked since before the first change().
  void begin(Revision revision) {
    seen_ = revision;
    if (options_.changes > 0) last_ = revision + static_cast<Revision>(options_.changes);
    const std::string store = context_.store.string();
    print({{"revision", revision}, {"watching", store}},
          "watching " + store + " from revision " + std::to_string(revision) + "\n");
  }

  void change(const Config::JournalEntry& entry) {
    const std::lock_guard lock(mutex);
    if (last_ != 0 && entry.revision > last_) return;
    seen_ = entry.revision;
    const Config::Snapshot snapshot = store_.snapshot();
    collectRemovedNames(entry.revision, snapshot.revision());
    const Json document = changeDocument(entry, Names(snapshot, &removed_),
                                         RenderOptions{.secrets = options_.secrets});
    std::ostringstream text;
    text << "revision " << entry.revision << "  ";
    printChange(document, text);
    print(document, text.str());
  }

  // All revisions up to `applied` were delivered or lost. Returns whether nothing more is to be
  // printed.
  bool delivered(Revision applied) {
    const std::lock_guard lock(mutex);
    const Revision upTo = last_ == 0 ? applied : std::min(applied, last_);
    if (upTo > seen_) {  // the journal no longer held them
      print({{"revision", upTo}, {"change", "missed"}, {"after", seen_}},
            "revision " + std::to_string(upTo) + "  the changes since revision " +
                std::to_string(seen_) + " were missed\n");
      seen_ = upTo;
    }
    return !context_.out || (last_ != 0 && applied >= last_);
  }

  std::mutex mutex;  // guards everything below, and the output

 private:
  void print(const Json& document, const std::string& text) {
    context_.out << (options_.json ? compact(document) + "\n" : text);
    context_.out.flush();
  }

  // Names come from the newest snapshot. What `revision` and later ones removed is added.
  void collectRemovedNames(Revision revision, Revision newest) {
    if (revision > removedUpTo_) {
      removed_ = RemovedNames();
      removedUpTo_ = revision - 1;
    }
    if (newest <= removedUpTo_) return;
    addRemovedNames(removed_, store_, removedUpTo_, newest);
    removedUpTo_ = newest;
  }

  const Context& context_;
  const WatchOptions& options_;
  Config::ConfigStore& store_;
  Revision seen_ = 0;
  Revision last_ = 0;  // last revision to print; 0: no end
  RemovedNames removed_;
  Revision removedUpTo_ = 0;
};

}  // namespace

int watch(const Context& context, const WatchOptions& options) {
  // The event thread registers the process under this name.
  static char name[] = "vexactl watch";
  program_invocation_short_name = name;
  // From here on an interrupt ends the verb normally.
  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);
  const auto store = openStore(context, IfMissing::kRefuse);
  store->registerProcess(name);  // now; the event thread would do it later
  auto dispatcher = CMF::Event::Dispatcher::instance("", false, false);

  ChangePrinter printer(context, options, *store);
  std::unique_lock firstLine(printer.mutex);
  const unsigned int observer =
      dispatcher->observe([&](const Config::JournalEntry& entry) { printer.change(entry); });
  printer.begin(dispatcher->applied());
  firstLine.unlock();

  while (!interrupted) {
    const Revision applied = dispatcher->applied();
    if (printer.delivered(applied)) break;
    dispatcher->waitApplied(applied + 1, 200);
  }
  dispatcher->unobserve(observer);
  return kDone;
}

}  // namespace Kestrav::Tool

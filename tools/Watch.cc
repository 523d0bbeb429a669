#include <algorithm>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <nlohmann/json.hpp>
#include <ostream>

#include "config/Event.h"
#include "tools/Changes.h"
#include "tools/JsonText.h"
#include "tools/OpenStore.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

volatile std::sig_atomic_t interrupted = 0;
void onInterrupt(int) {
  interrupted = 1;
}

}  // namespace

int watch(const Context& context, const WatchOptions& options) {
  // What the event thread registers this process as.
  static char name[] = "vexactl watch";
  program_invocation_short_name = name;
  // From here on the answer to an interrupt is a clean end.
  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);
  const auto store = openStore(context, IfMissing::kRefuse);
  store->registerProcess(name);  // the event thread would do so in its own time
  auto dispatcher = CMF::Event::Dispatcher::instance("", false, false);
  const RenderOptions render{.secrets = options.secrets};

  // Changes are printed on the event thread. The first line stands before all of them.
  std::mutex printing;
  Config::Revision seen = 0;
  Config::Revision last = 0;  // to be printed; 0: there is no end
  // Names are looked up as of now: what the change itself and those after it removed is remembered.
  RemovedNames removed;
  Config::Revision removedUpTo = 0;
  std::unique_lock lock(printing);
  const unsigned int observer = dispatcher->observe([&](const Config::JournalEntry& entry) {
    const std::lock_guard turn(printing);
    if (last != 0 && entry.revision > last) return;
    seen = entry.revision;
    const Config::Snapshot snapshot = store->snapshot();
    if (entry.revision > removedUpTo) {
      removed = RemovedNames();
      removedUpTo = entry.revision - 1;
    }
    if (snapshot.revision() > removedUpTo) {
      addRemovedNames(removed, *store, removedUpTo, snapshot.revision());
      removedUpTo = snapshot.revision();
    }
    const Json document = changeDocument(entry, Names(snapshot, &removed), render);
    if (options.json) {
      context.out << compact(document) << "\n";
    } else {
      context.out << "revision " << entry.revision << "  ";
      printChange(document, context.out);
    }
    context.out.flush();
  });
  const Config::Revision start = dispatcher->applied();
  if (options.changes > 0) last = start + static_cast<Config::Revision>(options.changes);
  seen = start;
  if (options.json) {
    context.out << compact({{"revision", start}, {"watching", context.store.string()}}) << "\n";
  } else {
    context.out << "watching " << context.store.string() << " from revision " << start << " on\n";
  }
  context.out.flush();
  lock.unlock();

  bool ended = false;
  while (!interrupted && !ended) {
    const Config::Revision applied = dispatcher->applied();
    {
      const std::lock_guard turn(printing);
      // Applied without having been told of: the store kept the changes no longer.
      const Config::Revision upTo = last == 0 ? applied : std::min(applied, last);
      if (upTo > seen) {
        if (options.json) {
          context.out << compact({{"revision", upTo}, {"change", "missed"}, {"after", seen}})
                      << "\n";
        } else {
          context.out << "revision " << upTo << "  the changes since revision " << seen
                      << " were missed\n";
        }
        context.out.flush();
        seen = upTo;
      }
      ended = !context.out || (last != 0 && applied >= last);
    }
    if (!ended) dispatcher->waitApplied(applied + 1, 200);
  }
  dispatcher->unobserve(observer);
  return kDone;
}

}  // namespace Kestrav::Tool

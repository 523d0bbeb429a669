#include "platform/config/client/HandlerList.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config::Client {
namespace {

thread_local bool callingHere = false;

// Calls `call`; what it throws is logged and ends here.
template <class Call>
void guarded(G_CLI_GID gid, Call call) {
  const auto log = [gid](const char* reason) {
    Logger::instance(false).log(LogCode::kHandlerFailed, "%u\x01%s", static_cast<unsigned>(gid),
                                reason);
  };
  try {
    call();
  } catch (const std::exception& reason) {
    log(reason.what());
  } catch (...) {
    log("an exception of unknown type");
  }
}

void call(CMF::Event::Handler& handler, const JournalEntry& entry) {
  const std::vector<G_CLI_GID>& others = handler.others();
  if (handler.gid() == entry.gid) {
    guarded(entry.gid,
            [&] { handler.message(entry.domain, entry.before.data(), entry.after.data()); });
  } else if (std::find(others.begin(), others.end(), entry.gid) != others.end()) {
    guarded(entry.gid, [&] { handler.message(entry.domain, nullptr, nullptr); });
  }
}

}  // namespace

void HandlerList::add(const CMF::Event::RefHandler& handler) {
  auto made = std::make_shared<Registration>();
  made->handler = handler;
  const std::scoped_lock lock(mutex_);
  handlers_.push_back(std::move(made));
}

unsigned int HandlerList::observe(Observer observer) {
  auto made = std::make_shared<Registration>();
  made->observer = std::move(observer);
  const std::scoped_lock lock(mutex_);
  made->number = ++numbers_;
  observers_.push_back(made);
  return numbers_;
}

// The registrations end without the lock, which may end a handler.
template <class Match>
void HandlerList::removeIf(Registrations& from, Match match) {
  Registrations removed;
  const std::scoped_lock lock(mutex_);
  std::erase_if(from, [&](const std::shared_ptr<Registration>& entry) {
    if (!match(*entry)) return false;
    entry->removed = true;
    removed.push_back(entry);
    return true;
  });
}

void HandlerList::remove(const CMF::Event::RefHandler& handler) {
  removeIf(handlers_, [&](const Registration& entry) { return entry.handler == handler; });
}

void HandlerList::unobserve(unsigned int number) {
  removeIf(observers_, [&](const Registration& entry) { return entry.number == number; });
}

bool HandlerList::empty() const {
  const std::scoped_lock lock(mutex_);
  return handlers_.empty() && observers_.empty();
}

HandlerList::Registrations HandlerList::all() const {
  const std::scoped_lock lock(mutex_);
  Registrations both = handlers_;
  both.insert(both.end(), observers_.begin(), observers_.end());
  return both;
}

void HandlerList::deliver(const Registrations& to, const JournalEntry& entry,
                          const std::atomic<bool>& stop) {
  const Within within;
  for (const std::shared_ptr<Registration>& listener : to) {
    if (stop) return;
    if (listener->removed) continue;
    if (!listener->handler.isNull()) {
      call(*listener->handler.operator->(), entry);
    } else {
      guarded(entry.gid, [&] { listener->observer(entry); });
    }
  }
}

void HandlerList::resync(const Registrations& to, const std::atomic<bool>& stop) {
  const Within within;
  for (const std::shared_ptr<Registration>& listener : to) {
    if (stop) return;
    if (listener->removed || listener->handler.isNull()) continue;
    CMF::Event::Handler& handler = *listener->handler.operator->();
    guarded(handler.gid(), [&] { handler.resync(); });
  }
}

HandlerList::Within::Within() : before_(std::exchange(callingHere, true)) {}

HandlerList::Within::~Within() {
  callingHere = before_;
}

bool HandlerList::calling() {
  return callingHere;
}

}  // namespace Kestrav::Config::Client

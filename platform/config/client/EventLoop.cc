#include "config/client/EventLoop.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <thread>

#include "common/LogCodes.h"
#include "common/Logger.h"
#include "config/store/StatusArea.h"

namespace Kestrav::Config::Client {

using CMF::Event::Handler;
using CMF::Event::RefHandler;

namespace {

constexpr int kWaitMs = 1000;  // an idle thread looks around this often
constexpr auto kPatienceAtExit = std::chrono::seconds(2);

void logStoreFailure(const char* operation, const std::exception& reason) {
  Logger::instance(false).log(LogCode::kStoreFailure, "%s\x01%s", operation, reason.what());
}

// Calls into a handler; what it throws ends here.
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

// Attachments seen by this process. Counted from before the loop exists.
std::atomic<unsigned int> attachments{0};
std::atomic<EventLoop*> theLoop{nullptr};

thread_local bool onEventThread = false;

// The event thread takes no signals: they are for the threads of the daemon.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

EventLoop& EventLoop::instance() {
  static auto* const loop = new EventLoop;  // the thread may outlive static objects
  return *loop;
}

EventLoop::EventLoop() : listeners_(std::make_shared<Listeners>()) {
  theLoop = this;
  onZoneChange([](char*) {
    attachments.fetch_add(1);
    theLoop.load()->attachedElsewhere();
  });
  pthread_atfork([] { instance().state_.lock(); }, [] { instance().state_.unlock(); },
                 [] { instance().forked(); });
  // Runs before the static objects made up to now are destroyed. A thread that waits afterwards
  // does no harm: it keeps its store, and what it finds when it wakes is never destroyed.
  std::atexit([] {
    EventLoop& loop = instance();
    // By the system's clock: the thread sanitizer knows nothing of waits by the steady one.
    const std::unique_lock delivery(loop.delivery_,
                                    std::chrono::system_clock::now() + kPatienceAtExit);
    const std::scoped_lock lock(loop.state_);
    loop.exiting_ = true;
  });
}

// ---- listeners

std::shared_ptr<const EventLoop::Listeners> EventLoop::listeners() const {
  const std::scoped_lock lock(state_);
  return listeners_;
}

// REQUIRES: state_ held. Returns the list replaced, to be dropped without the lock: that may end a
// handler.
template <class Change>
std::shared_ptr<const EventLoop::Listeners> EventLoop::change(Change change) {
  auto changed = std::make_shared<Listeners>(*listeners_);
  change(*changed);
  listening_ = !changed->empty();
  return std::exchange(listeners_, std::move(changed));
}

// REQUIRES: state_ held. The newest revision of the followed store.
Revision EventLoop::newest() const {
  return store_ != nullptr && store_.get() != parents_ ? store_->revision() : 0;
}

Revision EventLoop::add(const RefHandler& handler) {
  if (handler.isNull()) throw Exception("DispatcherImpl::add", Exception::kNullHandle);
  synchronise();
  std::shared_ptr<const Listeners> before;
  const std::scoped_lock lock(state_);
  // Read under the lock: a revision later than this one is delivered with the list that holds the
  // handler.
  const Revision since = newest();
  RefHandler copy = handler;
  Handler* called = copy.operator->();
  before = change([&](Listeners& to) { to.handlers.push_back({std::move(copy), called, since}); });
  listened(before->empty());
  return since;
}

unsigned int EventLoop::observe(CMF::Event::DispatcherImpl::Observer observer) {
  synchronise();
  std::shared_ptr<const Listeners> before;
  const std::scoped_lock lock(state_);
  const unsigned int number = ++observers_;
  before = change([&](Listeners& to) { to.observers.push_back({number, std::move(observer)}); });
  listened(before->empty());
  return number;
}

// REQUIRES: state_ held. The first listener starts from now.
void EventLoop::listened(bool first) {
  if (first && !running_) {
    applied_ = newest();
    delivering_ = newest();
  }
  startThread();
}

void EventLoop::remove(const RefHandler& handler) {
  std::shared_ptr<const Listeners> before;
  const std::scoped_lock delivery(delivery_);
  const std::scoped_lock lock(state_);
  before = change([&](Listeners& from) {
    std::erase_if(from.handlers,
                  [&](const Registration& entry) { return entry.handler == handler; });
  });
}

void EventLoop::unobserve(unsigned int observer) {
  std::shared_ptr<const Listeners> before;
  const std::scoped_lock delivery(delivery_);
  const std::scoped_lock lock(state_);
  before = change([&](Listeners& from) {
    std::erase_if(from.observers, [&](const Observer& entry) { return entry.number == observer; });
  });
}

// ---- which store

// On the thread that attaches, in the middle of it: neither a lock nor the store is for the taking
// here.
void EventLoop::attachedElsewhere() {
  if (!listening_ || exiting_) return;
  const SignalsBlocked blocked;
  std::thread([this] { synchronise(); }).detach();
}

void EventLoop::synchronise() {
  const std::shared_ptr<ConfigStore> attached = ConfigStore::attached();
  {
    const std::scoped_lock lock(state_);
    if (attached == store_ && attachments.load() == followed_.load()) return;
  }
  const std::scoped_lock delivery(delivery_);
  follow();
}

bool EventLoop::otherAttached() const {
  return attachments.load(std::memory_order_acquire) != followed_.load(std::memory_order_acquire);
}

// REQUIRES: delivery_ held.
void EventLoop::follow() {
  if (following_) return;  // a handler asks while it is told to resync
  const unsigned int seen = attachments.load();
  std::shared_ptr<ConfigStore> store = ConfigStore::attached();
  std::shared_ptr<ConfigStore> beforeStore;
  std::shared_ptr<const Listeners> before;
  Revision now = 0;
  bool other = false;
  {
    const std::scoped_lock lock(state_);
    other = store != store_;
    if (other) {
      beforeStore = std::exchange(store_, std::move(store));
      parents_ = nullptr;
      ++generation_;
      running_ = false;
      now = newest();
      delivering_ = now;
      before = change([now](Listeners& of) {
        for (Registration& entry : of.handlers) entry.since = now;
      });
    }
  }
  if (other) {
    following_ = true;
    resyncHandlers();
    following_ = false;
  }
  const std::scoped_lock lock(state_);
  if (other) applied_ = now;
  followed_ = seen;  // only now: whoever compares it may rely on the handlers' being done
  startThread();
  appliedChanged_.notify_all();
}

void EventLoop::stop() {
  const std::scoped_lock delivery(delivery_);
  const std::scoped_lock lock(state_);
  ++generation_;
  stopped_ = true;
  running_ = false;
}

void EventLoop::start() {
  synchronise();
  const std::scoped_lock lock(state_);
  stopped_ = false;
  startThread();
}

void EventLoop::forked() {
  parents_ = store_.get();
  ++generation_;
  running_ = false;
  // Another thread may have held or waited on these; it does not exist here.
  new (&delivery_) std::recursive_timed_mutex;
  new (&appliedChanged_) std::condition_variable;
  state_.unlock();
}

// ---- the thread

// REQUIRES: state_ held.
void EventLoop::startThread() {
  if (running_ || stopped_ || exiting_ || store_ == nullptr || store_.get() == parents_ ||
      listeners_->empty()) {
    return;
  }
  const SignalsBlocked blocked;
  std::thread thread(
      [this, generation = ++generation_, store = store_] { run(generation, store); });
  pthread_setname_np(thread.native_handle(), "config-events");
  thread.detach();
  running_ = true;
}

bool EventLoop::current(unsigned int generation) const {
  const std::scoped_lock lock(state_);
  return generation == generation_ && !exiting_;
}

void EventLoop::run(unsigned int generation, const std::shared_ptr<ConfigStore>& store) {
  onEventThread = true;
  try {
    store->registerProcess(program_invocation_short_name);
    store->applied(applied());
  } catch (const std::exception& reason) {
    logStoreFailure("registerProcess", reason);  // delivery works all the same
  }
  for (;;) {
    Revision revision = 0;
    try {
      revision = store->waitForRevision(applied(), kWaitMs);
    } catch (const std::exception& reason) {
      logStoreFailure("waitForRevision", reason);
      std::unique_lock lock(state_);
      appliedChanged_.wait_for(lock, std::chrono::milliseconds(kWaitMs));
    }
    const std::scoped_lock delivery(delivery_);
    if (!current(generation)) return;
    if (ConfigStore::attached() != store) return follow();
    deliver(*store, generation, revision);
  }
}

void EventLoop::deliver(ConfigStore& store, unsigned int generation, Revision upTo) {
  for (Revision next = applied() + 1; next <= upTo; ++next) {
    delivering_ = next;
    const std::shared_ptr<const Listeners> listening = listeners();
    bool reached = false;
    try {
      reached = store.journal(next - 1, next,
                              [&](const JournalEntry& entry) { deliverEntry(*listening, entry); });
    } catch (const std::exception& reason) {
      logStoreFailure("journal", reason);
    }
    if (!current(generation)) return;  // a handler stopped the loop or attached another store
    if (reached) {
      publish(store, next);
    } else {
      return resynchronise(store);
    }
  }
}

void EventLoop::deliverEntry(const Listeners& listeners, const JournalEntry& entry) {
  for (const Registration& registration : listeners.handlers) {
    if (entry.revision <= registration.since) continue;
    Handler& handler = *registration.called;
    const std::vector<G_CLI_GID>& others = handler.others();
    if (handler.gid() == entry.gid) {
      guarded(entry.gid,
              [&] { handler.message(entry.domain, entry.before.data(), entry.after.data()); });
    } else if (std::find(others.begin(), others.end(), entry.gid) != others.end()) {
      guarded(entry.gid, [&] { handler.message(entry.domain, nullptr, nullptr); });
    }
  }
  for (const Observer& observer : listeners.observers) {
    guarded(entry.gid, [&] { observer.call(entry); });
  }
}

// The journal does not reach back to what was applied last.
void EventLoop::resynchronise(ConfigStore& store) {
  const Revision now = store.revision();
  Logger::instance(false).log(LogCode::kEventsResynchronised, "%llu\x01%llu",
                              static_cast<unsigned long long>(applied()),
                              static_cast<unsigned long long>(now));
  delivering_ = now;
  resyncHandlers();
  publish(store, now);
}

void EventLoop::resyncHandlers() {
  const std::shared_ptr<const Listeners> listening = listeners();
  for (const Registration& registration : listening->handlers) {
    guarded(registration.called->gid(), [&] { registration.called->resync(); });
  }
}

void EventLoop::publish(ConfigStore& store, Revision revision) {
  try {
    store.applied(revision);
  } catch (const std::exception& reason) {
    logStoreFailure("applied", reason);
  }
  const std::scoped_lock lock(state_);
  applied_ = revision;
  appliedChanged_.notify_all();
}

bool EventLoop::waitApplied(Revision revision, int timeoutMs) {
  synchronise();
  if (onEventThread) return applied() >= revision;  // nobody else would apply it
  std::unique_lock lock(state_);
  if (listeners_->empty()) return true;
  return appliedChanged_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return applied() >= revision; });
}

}  // namespace Kestrav::Config::Client

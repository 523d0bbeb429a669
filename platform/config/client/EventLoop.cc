#include "platform/config/client/EventLoop.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <system_error>
#include <thread>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/store/StatusArea.h"

namespace Kestrav::Config::Client {

using CMF::Event::Handler;
using CMF::Event::RefHandler;

namespace {

constexpr int kWaitMs = 1000;  // an idle thread looks around this often
constexpr auto kPatienceAtExit = std::chrono::seconds(2);
// Whoever asks for a store's following waits so long, and then goes on: it may hold what a handler
// waits for.
constexpr auto kPatienceForHandlers = std::chrono::seconds(2);
// Every registration moves the end of delivery before the end of the static objects made up to
// then; so many do, for what is registered at exit is never taken back.
constexpr unsigned int kEndsAtExit = 1000;

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

// Greater than 0 while this thread calls handlers: it holds delivery_.
thread_local int telling = 0;

class Telling {
 public:
  Telling() { ++telling; }
  ~Telling() { --telling; }
  Telling(const Telling&) = delete;
  Telling& operator=(const Telling&) = delete;
};

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

// Made before there are threads, so that no fork comes in the middle of it.
[[maybe_unused]] const EventLoop& madeEarly = EventLoop::instance();

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
  std::atexit([] { instance().endAtExit(); });
}

// Runs before the static objects made before its registration are destroyed. From then on no
// handler is called. A thread that waits does no harm: it keeps its store, and what it finds when
// it wakes is never destroyed.
void EventLoop::endAtExit() {
  if (exiting_.exchange(true)) return;  // from here on delivery ends after the handler it is in
  // By the system's clock: the thread sanitizer knows nothing of waits by the steady one.
  const auto end = std::chrono::system_clock::now() + kPatienceAtExit;
  { const std::unique_lock delivery(delivery_, end); }
  std::unique_lock lock(state_);
  appliedChanged_.notify_all();
  if (telling > 0) return;  // a handler ends the process
  appliedChanged_.wait_until(lock, end, [&] { return !follower_; });
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
  RefHandler copy = handler;
  Handler* called = copy.operator->();
  Revision since = 0;
  enlist([&](Listeners& to) {
    // Read with state_ held: a revision later than this one is delivered with the list that holds
    // the handler.
    since = newest();
    to.handlers.push_back({std::move(copy), called, since});
  });
  return since;
}

unsigned int EventLoop::observe(CMF::Event::DispatcherImpl::Observer observer) {
  unsigned int number = 0;
  enlist([&](Listeners& to) {
    number = ++observers_;
    to.observers.push_back({number, std::move(observer)});
  });
  return number;
}

// Tells no handler anything and waits for none: the caller may hold what a handler waits for.
template <class Entry>
void EventLoop::enlist(Entry entry) {
  followUnheard();
  {
    std::shared_ptr<const Listeners> before;
    std::unique_lock lock(state_);
    before = change(entry);
    if (endsAtExit_ < kEndsAtExit && !exiting_) {
      ++endsAtExit_;
      std::atexit([] { instance().endAtExit(); });
    }
    listened(before->empty(), lock);
  }
  // Whoever attached a store before there was a listener has left its following to this one.
  if (otherAttached() && !sendFollower()) threadFailed("follow");
}

// REQUIRES: `lock` holds state_. The first listener starts from now.
void EventLoop::listened(bool first, std::unique_lock<std::mutex>& lock) {
  if (first && !running_) {
    applied_ = newest();
    delivering_ = newest();
  }
  startThread(lock);
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
  // Without a thread to be had the event thread finds out by itself, or the next caller does.
  if (listening_) sendFollower();
}

// A thread that follows the attached store, unless there is one. False: it cannot be made. Takes no
// lock.
bool EventLoop::sendFollower() noexcept {
  if (exiting_ || follower_.exchange(true)) return true;
  try {
    const SignalsBlocked blocked;
    std::thread([this] {
      // One that is asked for meanwhile finds this one still there, and so does not come.
      do {
        synchronise();
        follower_ = false;
      } while (otherAttached() && !exiting_ && !follower_.exchange(true));
      {
        const std::scoped_lock lock(state_);
        appliedChanged_.notify_all();
      }
      takeOver();
    }).detach();
    return true;
  } catch (const std::exception&) {
    follower_ = false;
    return false;
  }
}

void EventLoop::synchronise() {
  const std::shared_ptr<ConfigStore> attached = ConfigStore::attached();
  {
    std::unique_lock lock(state_);
    if (attached == store_ && attachments.load() == followed_.load()) return startThread(lock);
  }
  const std::scoped_lock delivery(delivery_);
  follow();
}

bool EventLoop::otherAttached() const {
  return attachments.load() != followed_.load(std::memory_order_acquire);
}

// While nobody listens there is nobody to tell, and nothing to wait for.
void EventLoop::followUnheard() {
  if (!otherAttached() || listening_) return;
  if (const std::unique_lock delivery(delivery_, std::try_to_lock); delivery) follow(kUnheard);
}

void EventLoop::catchUp() {
  if (telling > 0) return synchronise();  // nobody else could follow before this handler returns
  if (exiting_) return;
  followUnheard();
  const unsigned int wanted = attachments.load();
  if (wanted != followed_.load() && !sendFollower()) return threadFailed("follow");
  std::unique_lock lock(state_);
  startThread(lock);
  appliedChanged_.wait_for(lock, kPatienceForHandlers, [&] {
    return exiting_ || static_cast<int>(followed_.load() - wanted) >= 0;
  });
}

// REQUIRES: delivery_ held.
void EventLoop::follow(Hearing hearing) {
  if (following_ || exiting_) return;  // a handler asks while it is told to resync
  const unsigned int seen = attachments.load();
  std::shared_ptr<ConfigStore> store = ConfigStore::attached();
  std::shared_ptr<ConfigStore> beforeStore;
  std::shared_ptr<const Listeners> before;
  Revision now = 0;
  bool other = false;
  {
    const std::scoped_lock lock(state_);
    if (hearing == kUnheard && !listeners_->empty()) return;
    other = store != store_;
    if (other) {
      beforeStore = std::exchange(store_, std::move(store));
      parents_ = nullptr;
      if (!usable()) parents_ = store_.get();
      ++generation_;
      running_ = false;
      now = newest();
      delivering_ = now;
      before = change([now](Listeners& of) {
        for (Registration& entry : of.handlers) entry.since = now;
      });
    }
    if (hearing == kUnheard) {  // whoever listens from here on listens to this store
      if (other) applied_ = now;
      followed_ = seen;
      appliedChanged_.notify_all();
      return;
    }
  }
  if (other) {
    following_ = true;
    resyncHandlers();
    following_ = false;
  }
  std::unique_lock lock(state_);
  if (other) applied_ = now;
  followed_ = seen;  // only now: whoever compares it may rely on the handlers' being done
  appliedChanged_.notify_all();
  startThread(lock);
}

// REQUIRES: state_ held. A child may find that its parent's store is attached which its parent had
// not followed yet.
bool EventLoop::usable() const {
  try {
    if (store_ != nullptr) store_->revision();
    return true;
  } catch (const Exception&) {
    return false;
  }
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
  std::unique_lock lock(state_);
  stopped_ = false;
  startThread(lock);
}

void EventLoop::forked() {
  parents_ = store_.get();
  ++generation_;
  running_ = false;
  // Another thread may have held, set or waited on these; it does not exist here.
  following_ = false;
  follower_ = false;
  new (&delivery_) std::recursive_timed_mutex;
  new (&appliedChanged_) std::condition_variable;
  state_.unlock();
}

// ---- the thread

// REQUIRES: state_ held.
bool EventLoop::threadWanted() const {
  return !running_ && !stopped_ && !exiting_ && store_ != nullptr && store_.get() != parents_ &&
         !listeners_->empty();
}

// REQUIRES: `lock` holds state_; let go of meanwhile when there is a failure to log.
void EventLoop::startThread(std::unique_lock<std::mutex>& lock) {
  if (!threadWanted()) {
    threadMissing_ = false;
    return;
  }
  const SignalsBlocked blocked;
  try {
    std::thread thread(
        [this, generation = ++generation_, store = store_] { run(generation, store); });
    pthread_setname_np(thread.native_handle(), "config-events");
    thread.detach();
    running_ = true;
    threadMissing_ = false;
  } catch (const std::system_error& reason) {
    // Whoever asks next tries again; so does the thread that followed the store, by being it.
    if (threadMissing_.exchange(true)) return;
    lock.unlock();
    logStoreFailure("event thread", reason);
    lock.lock();
  }
}

void EventLoop::threadFailed(const char* operation) {
  if (threadMissing_.exchange(true)) return;
  logStoreFailure(operation, std::system_error(EAGAIN, std::generic_category()));
}

// At the end of a thread of the loop's own: it is the event thread from here on when that could not
// be made.
void EventLoop::takeOver() {
  for (;;) {
    unsigned int generation = 0;
    std::shared_ptr<ConfigStore> store;
    {
      const std::scoped_lock lock(state_);
      if (!threadMissing_ || !threadWanted()) return;
      threadMissing_ = false;
      running_ = true;
      generation = ++generation_;
      store = store_;
    }
    serve(generation, store);
  }
}

bool EventLoop::current(unsigned int generation) const {
  const std::scoped_lock lock(state_);
  return generation == generation_ && !exiting_;
}

void EventLoop::run(unsigned int generation, const std::shared_ptr<ConfigStore>& store) {
  serve(generation, store);
  takeOver();
}

void EventLoop::serve(unsigned int generation, const std::shared_ptr<ConfigStore>& store) {
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

void EventLoop::deliverEntry(const Listeners& listeners, const JournalEntry& entry) const {
  const Telling tellingNow;
  for (const Registration& registration : listeners.handlers) {
    if (exiting_) return;
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
  const Telling tellingNow;
  for (const Registration& registration : listening->handlers) {
    if (exiting_) return;
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
  if (telling > 0) return applied() >= revision;  // nobody else would apply it
  std::unique_lock lock(state_);
  if (listeners_->empty()) return true;
  return appliedChanged_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return applied() >= revision; });
}

}  // namespace Kestrav::Config::Client

#include "platform/config/client/EventLoop.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <new>
#include <system_error>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/config/client/StoreAccess.h"
#include "platform/config/store/Fork.h"

namespace Kestrav::Config::Client {

namespace {

using namespace std::chrono_literals;

constexpr int kWaitMs = 1000;                 // an idle thread looks at the store this often
constexpr auto kWakeAgain = 5ms;              // a wake is lost on a thread that is about to wait
constexpr auto kPatienceAtExit = 2000ms;      // for the handler that is running
constexpr auto kPatienceAtFork = 1000ms;      // for the delivery that is running
constexpr auto kPatienceOfDecision = 1000ms;  // for the delivery that is running
constexpr auto kNoLimit = std::chrono::hours(24 * 365);

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

void refuseInHandler(const char* operation) {
  if (!HandlerList::calling()) return;
  throw Exception(std::string(operation) + " was called by a handler", StoreError::kInternal);
}

// Made before there are threads and before a store is attached.
[[maybe_unused]] const EventLoop& madeEarly = EventLoop::instance();

}  // namespace

EventLoop& EventLoop::instance() {
  static NoDestructor<EventLoop> loop;
  return *loop;
}

EventLoop::EventLoop() {
  observeAttachment(*this);
  forkGeneration();  // the store's fork handlers come first, so that these run before them
  pthread_atfork([] { instance().beforeFork(); }, [] { instance().afterFork(false); },
                 [] { instance().afterFork(true); });
}

// ---- who listens

Revision EventLoop::add(const CMF::Event::RefHandler& handler) {
  if (handler.isNull()) throw Exception("DispatcherImpl::add", Exception::kNullHandle);
  listen();
  const std::scoped_lock lock(mutex_);  // deliver() raises the revision and takes the list at once
  list_.add(handler);
  return delivering();
}

unsigned int EventLoop::observe(HandlerList::Observer observer) {
  listen();
  const std::scoped_lock lock(mutex_);
  return list_.observe(std::move(observer));
}

void EventLoop::remove(const CMF::Event::RefHandler& handler) {
  if (handler.isNull()) return;
  list_.remove(handler);
  awaitCalls();
}

void EventLoop::unobserve(unsigned int number) {
  list_.unobserve(number);
  awaitCalls();
}

bool EventLoop::waitApplied(Revision revision, int timeoutMs) {
  refuseParentsStore();
  if (HandlerList::calling()) return applied() >= revision;  // this thread is the one that applies
  if (list_.empty()) return true;
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                           [&] { return applied() >= revision; });
}

// Before a listener is added. The first one hears what is committed from now on.
void EventLoop::listen() {
  {
    const std::scoped_lock lock(mutex_);
    if (thread_ == nullptr && store_ != nullptr && list_.empty() && !parentsStoreAttached) {
      applied_ = delivering_ = store_->revision();
    }
  }
  startThread();
}

// ---- the attached store

void EventLoop::mayChange(const char* operation) const {
  if (forkedInCalls_) {
    throw Exception("This process was forked while its parent called a handler; it has to exec",
                    StoreError::kForked);
  }
  refuseInHandler(operation);
}

void EventLoop::attached(const std::shared_ptr<ConfigStore>& store) {
  {
    const std::scoped_lock lock(mutex_);
    store_ = store;
    delivering_ = store->revision();
  }
  const bool heard = !list_.empty();
  if (heard) resync();
  applied_ = delivering();  // only now: a handler may use the caches
  if (heard) startThread();
}

void EventLoop::detaching() {
  endThread(kNoLimit);
  const std::scoped_lock lock(mutex_);
  if (store_ != nullptr) store_->unregisterProcess();
}

void EventLoop::detached() {
  {
    const std::scoped_lock lock(mutex_);
    store_.reset();
    applied_ = delivering_ = 0;
    changed_.notify_all();
  }
  resync();
}

void EventLoop::resync() {
  const Calls calls(*this);
  const HandlerList::Within within;  // a handler may end with the list
  HandlerList::resync(list_.all(), exiting_);
}

void EventLoop::stop() {
  refuseInHandler("DispatcherImpl::stop");
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
  }
  endThread(kNoLimit);
  if (!list_.empty()) startThread();  // when start() was called meanwhile
}

void EventLoop::start() {
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = false;
  }
  if (!list_.empty()) startThread();
}

// ---- calling handlers

EventLoop::Calls::Calls(EventLoop& loop) : loop_(loop) {
  std::unique_lock lock(loop_.mutex_);
  loop_.changed_.wait(lock, [this] { return !loop_.inCalls_ && loop_.awaitingCalls_ == 0; });
  loop_.inCalls_ = true;
}

EventLoop::Calls::~Calls() {
  const std::scoped_lock lock(loop_.mutex_);
  loop_.inCalls_ = false;
  loop_.changed_.notify_all();
}

// Returns when no handler is running. The next delivery waits for those that wait here.
void EventLoop::awaitCalls() {
  if (HandlerList::calling() || forkedInCalls_) return;
  std::unique_lock lock(mutex_);
  ++awaitingCalls_;
  changed_.wait(lock, [this] { return !inCalls_; });
  --awaitingCalls_;
  changed_.notify_all();
}

bool EventLoop::awaitCaches(Revision revision) {
  const auto reached = [&] { return applied() >= revision; };
  if (reached()) return true;
  if (HandlerList::calling()) return false;
  std::unique_lock lock(mutex_);
  if (applied() < delivering() && stalled_ == delivering()) return reached();
  const auto over = [&] { return reached() || thread_ == nullptr || ended_ || ending_; };
  if (!changed_.wait_for(lock, kPatienceOfDecision, over)) stalled_ = delivering();
  return reached();
}

// ---- the thread's life

// Returns when the thread has entered its loop: from then on a fork finds it either waiting for a
// revision or within Calls.
void EventLoop::startThread() {
  if (HandlerList::calling()) return;  // the thread exists, or attached() starts it afterwards
  std::unique_lock lock(mutex_);
  if (thread_ != nullptr || store_ == nullptr || stopped_ || exiting_ || parentsStoreAttached) {
    return;
  }
  static const bool registered = std::atexit([] { instance().endAtExit(); }) == 0;
  (void)registered;
  const SignalsBlocked blocked;
  started_ = false;
  try {
    thread_ = std::make_unique<std::thread>([this, store = store_] { run(store); });
    ++threadNumber_;
    pthread_setname_np(thread_->native_handle(), "config-events");
  } catch (const std::system_error& reason) {
    throw Exception(std::string("The event thread cannot be started: ") + reason.what(),
                    StoreError::kInternal);
  }
  changed_.wait(lock, [&] { return started_; });
}

// Returns when the present thread has ended, or after `patience`.
void EventLoop::endThread(std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  const unsigned int number = threadNumber_;
  const auto gone = [&] { return thread_ == nullptr || threadNumber_ != number; };
  const auto begun = std::chrono::steady_clock::now();
  if (gone()) return;
  ending_ = true;
  while (!gone() && !ended_ && std::chrono::steady_clock::now() - begun < patience) {
    store_->wakeWaiting();
    changed_.wait_for(lock, kWakeAgain, [&] { return gone() || ended_; });
  }
  if (gone() || !ended_) return;
  thread_->join();  // it takes no lock after it has set ended_
  thread_.reset();
  ended_ = ending_ = false;
  changed_.notify_all();
}

// After it no handler is called. A thread whose handler does not return within the patience goes on
// until the process is gone.
void EventLoop::endAtExit() {
  exiting_ = true;
  if (HandlerList::calling()) return;  // a handler ends the process
  if (!parentsStoreAttached) endThread(kPatienceAtExit);
}

// Waits for the calls that are running, and keeps the mutex over the fork, so that the child finds
// the loop in a consistent state. The thread that forks may hold what a handler waits for, hence
// the limit.
void EventLoop::beforeFork() {
  std::unique_lock lock(mutex_);
  if (!HandlerList::calling()) {
    ++awaitingCalls_;
    changed_.wait_for(lock, kPatienceAtFork, [this] { return !inCalls_; });
    --awaitingCalls_;
  }
  lock.release();
}

void EventLoop::afterFork(bool child) {
  if (child) {
    (void)thread_.release();                  // it does not exist here
    new (&changed_) std::condition_variable;  // neither do those that waited
    awaitingCalls_ = 0;
    ended_ = ending_ = false;
    forkedInCalls_ = inCalls_;
  }
  changed_.notify_all();
  mutex_.unlock();
}

// ---- on the thread

void EventLoop::run(const std::shared_ptr<ConfigStore>& store) {
  bool registered = registerProcess(*store, true);
  {
    const std::scoped_lock lock(mutex_);
    started_ = true;
    changed_.notify_all();
  }
  while (!ending_) {
    deliver(*store, wait(*store));
    if (!registered) registered = registerProcess(*store, false);
  }
  const std::scoped_lock lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

// Delivery works without it, but the journal is not kept for this process meanwhile.
bool EventLoop::registerProcess(ConfigStore& store, bool log) {
  try {
    store.registerProcess(program_invocation_short_name);
    store.applied(applied());
    return true;
  } catch (const std::exception& reason) {
    if (log) logStoreFailure("registerProcess", reason);
    return false;
  }
}

Revision EventLoop::wait(ConfigStore& store) {
  try {
    return store.waitForRevision(applied(), kWaitMs, &ending_);
  } catch (const std::exception& reason) {
    logStoreFailure("waitForRevision", reason);
  }
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::milliseconds(kWaitMs), [&] { return ending_.load(); });
  return applied();
}

void EventLoop::deliver(ConfigStore& store, Revision upTo) {
  for (Revision next = applied() + 1; next <= upTo && !ending_; ++next) {
    const Calls calls(*this);
    const HandlerList::Within within;  // a handler may end with the list
    HandlerList::Registrations listeners;
    {
      const std::scoped_lock lock(mutex_);
      delivering_ = next;
      listeners = list_.all();
    }
    bool complete = false;
    try {
      complete = store.journal(next - 1, next, [&](const JournalEntry& entry) {
        HandlerList::deliver(listeners, entry, exiting_);
      });
    } catch (const std::exception& reason) {
      logStoreFailure("journal", reason);
    }
    if (!complete) {  // the journal was cut off before `next`, or cannot be read
      Revision newest = upTo;
      try {
        newest = store.revision();
      } catch (const std::exception& reason) {
        logStoreFailure("revision", reason);
      }
      Logger::instance(false).log(LogCode::kEventsResynchronised, "%llu\x01%llu",
                                  static_cast<unsigned long long>(applied()),
                                  static_cast<unsigned long long>(newest));
      next = delivering_ = newest;
      HandlerList::resync(list_.all(), exiting_);
    }
    if (exiting_) return;
    publish(store, next);
  }
}

void EventLoop::publish(ConfigStore& store, Revision revision) {
  try {
    store.applied(revision);
  } catch (const std::exception& reason) {
    logStoreFailure("applied", reason);
  }
  const std::scoped_lock lock(mutex_);
  applied_ = revision;
  changed_.notify_all();
}

}  // namespace Kestrav::Config::Client

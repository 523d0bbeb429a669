// The one thread that delivers the store's changes to this process's handlers.
//
// Follows the attached store from its revision at that moment on. Lives as long as the process.
// Nothing happens in a child after fork until the child attaches a store that it opened itself.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "config/Event.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config::Client {

class EventLoop {
 public:
  static EventLoop& instance();

  Revision add(const CMF::Event::RefHandler& handler);
  void remove(const CMF::Event::RefHandler& handler);
  unsigned int observe(CMF::Event::DispatcherImpl::Observer observer);
  void unobserve(unsigned int observer);

  Revision applied() const { return applied_.load(std::memory_order_acquire); }
  Revision delivering() const { return delivering_.load(std::memory_order_acquire); }
  bool waitApplied(Revision revision, int timeoutMs);

  void stop();
  void start();
  // Follows the attached store, when that is another one; the handlers are told on this thread. Not
  // with a lock held that a handler takes.
  void synchronise();
  // Has it followed, for three loads when there is nothing to do. The handlers are told on another
  // thread, and one that does not return is not waited for for ever: the caller may hold what it
  // waits for.
  void synchroniseIfAttached() {
    if (otherAttached() || threadMissing_.load(std::memory_order_relaxed)) catchUp();
  }

 private:
  struct Registration {
    CMF::Event::RefHandler handler;
    CMF::Event::Handler* called;  // what the handle refers to
    Revision since;               // sees later ones only
  };
  struct Observer {
    unsigned int number;
    CMF::Event::DispatcherImpl::Observer call;
  };
  struct Listeners {
    std::vector<Registration> handlers;
    std::vector<Observer> observers;
    bool empty() const { return handlers.empty() && observers.empty(); }
  };

  enum Hearing { kHeard, kUnheard };  // kUnheard: only as long as nobody listens

  EventLoop();
  ~EventLoop() = delete;

  std::shared_ptr<const Listeners> listeners() const;
  template <class Change>
  std::shared_ptr<const Listeners> change(Change change);
  Revision newest() const;
  template <class Entry>
  void enlist(Entry entry);
  void listened(bool first, std::unique_lock<std::mutex>& lock);

  void attachedElsewhere();
  bool sendFollower() noexcept;
  bool otherAttached() const;
  void followUnheard();
  void catchUp();
  void follow(Hearing hearing = kHeard);
  bool usable() const;
  void forked();
  void endAtExit();

  bool threadWanted() const;
  void startThread(std::unique_lock<std::mutex>& lock);
  void threadFailed(const char* operation);
  void takeOver();
  bool current(unsigned int generation) const;
  void run(unsigned int generation, const std::shared_ptr<ConfigStore>& store);
  void serve(unsigned int generation, const std::shared_ptr<ConfigStore>& store);
  void deliver(ConfigStore& store, unsigned int generation, Revision upTo);
  void deliverEntry(const Listeners& listeners, const JournalEntry& entry) const;
  void resynchronise(ConfigStore& store);
  void resyncHandlers();
  void publish(ConfigStore& store, Revision revision);

  // Held while handlers run and while another store is followed; taken before state_. Recursive,
  // because a handler may attach a store or stop the loop; timed, because a process does not wait
  // for ever at its exit.
  std::recursive_timed_mutex delivery_;
  bool following_ = false;  // guarded by delivery_
  // Guards what follows up to the blank line; never held while calling a handler.
  mutable std::mutex state_;
  std::condition_variable appliedChanged_;
  std::shared_ptr<const Listeners> listeners_;  // replaced, never changed
  std::shared_ptr<ConfigStore> store_;          // followed
  unsigned int generation_ =
      0;  // of the thread; a thread of an earlier one ends when it next wakes
  bool running_ = false;
  bool stopped_ = false;
  const ConfigStore* parents_ = nullptr;  // in a child after fork: the store not to be used
  unsigned int observers_ = 0;
  unsigned int endsAtExit_ = 0;

  std::atomic<Revision> applied_{0};
  std::atomic<Revision> delivering_{0};
  std::atomic<bool> listening_{false};  // there are listeners
  std::atomic<bool> exiting_{false};
  std::atomic<bool> follower_{false};       // a thread follows the attached store, or is about to
  std::atomic<bool> threadMissing_{false};  // it could not be made; cleared when it is there
  std::atomic<unsigned int> followed_{0};   // how many attachments were followed
};

}  // namespace Kestrav::Config::Client

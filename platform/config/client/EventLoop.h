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
#include "config/store/ConfigStore.h"

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
  // Follows the attached store, when that is another one.
  void synchronise();
  // As above for two loads: for callers in a hurry.
  void synchroniseIfAttached() {
    if (otherAttached()) synchronise();
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

  EventLoop();
  ~EventLoop() = delete;

  std::shared_ptr<const Listeners> listeners() const;
  template <class Change>
  std::shared_ptr<const Listeners> change(Change change);
  Revision newest() const;
  void listened(bool first);

  void attachedElsewhere();
  bool otherAttached() const;
  void follow();
  void forked();

  void startThread();
  bool current(unsigned int generation) const;
  void run(unsigned int generation, const std::shared_ptr<ConfigStore>& store);
  void deliver(ConfigStore& store, unsigned int generation, Revision upTo);
  static void deliverEntry(const Listeners& listeners, const JournalEntry& entry);
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

  std::atomic<Revision> applied_{0};
  std::atomic<Revision> delivering_{0};
  std::atomic<bool> listening_{false};  // there are listeners
  std::atomic<bool> exiting_{false};
  std::atomic<unsigned int> followed_{0};  // how many attachments were followed
};

}  // namespace Kestrav::Config::Client

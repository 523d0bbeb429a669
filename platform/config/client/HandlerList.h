// The registered handlers and observers, and how they are called.
//
// Any thread may add and remove, within a call too. One thread at a time calls.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/config/client/Event.h"

namespace Kestrav::Config::Client {

class HandlerList {
 public:
  using Observer = CMF::Event::DispatcherImpl::Observer;

  struct Registration {
    CMF::Event::RefHandler handler;  // null: an observer
    Observer observer;
    unsigned int number = 0;
    std::atomic<bool> removed{false};
  };
  using Registrations = std::vector<std::shared_ptr<Registration>>;

  void add(const CMF::Event::RefHandler& handler);
  unsigned int observe(Observer observer);
  // Not called from here on. A call that has begun may not have ended.
  void remove(const CMF::Event::RefHandler& handler);
  void unobserve(unsigned int number);
  bool empty() const;
  // Those registered now, handlers in the order of their registration, then observers.
  Registrations all() const;

  // Calls the handlers of the entry's table, then the observers. `stop` ends it early.
  static void deliver(const Registrations& to, const JournalEntry& entry,
                      const std::atomic<bool>& stop);
  static void resync(const Registrations& to, const std::atomic<bool>& stop);
  // Whether the calling thread calls handlers: within deliver() and resync(), or while it has a
  // Within.
  static bool calling();
  class Within {
   public:
    Within();
    ~Within();
    Within(const Within&) = delete;
    Within& operator=(const Within&) = delete;

   private:
    const bool before_;
  };

 private:
  template <class Match>
  void removeIf(Registrations& from, Match match);

  mutable std::mutex mutex_;  // guards what follows; a leaf
  Registrations handlers_;
  Registrations observers_;
  unsigned int numbers_ = 0;
};

}  // namespace Kestrav::Config::Client

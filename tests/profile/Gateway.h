// The fixture of the profile tests: one store on disk for the test process, attached before the
// first test and followed by the event thread, as in a daemon.
//
// The profile factory lives as long as the process, so all tests share the store. Each uses ids of
// its own (freshId).
#pragma once

#include <cstdint>
#include <utility>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StatusArea.h"
#include "tests/support/Events.h"
#include "tests/support/LogCapture.h"

namespace Kestrav::Testing {

Config::ConfigStore& store();

// Never the same twice in a process, over all tables.
std::uint32_t freshId();

// Each commits one change set and returns when the handlers of this process have seen it.
void commit(Config::ChangeSet changes);
void erase(G_CLI_GID gid, std::uint32_t id, ngid_t domain = 0);

template <class Builder>
void putInto(ngid_t domain, const Builder& record) {
  Config::ChangeSet changes;
  record.put(changes, domain);
  commit(std::move(changes));
}

// Into the system domain.
template <class... Builders>
void put(const Builders&... records) {
  Config::ChangeSet changes;
  (records.put(changes), ...);
  commit(std::move(changes));
}

// The same without waiting.
template <class... Builders>
void putUnapplied(const Builders&... records) {
  Config::ChangeSet changes;
  (records.put(changes), ...);
  store().commit(std::move(changes));
}

// The switch that policies read.
void contentInspection(bool on);

// Stops event delivery while it lives: what a test observes then is not due to an event.
class EventsHeld {
 public:
  EventsHeld() { dispatcher()->stop(); }
  ~EventsHeld();
  EventsHeld(const EventsHeld&) = delete;
  EventsHeld& operator=(const EventsHeld&) = delete;

  template <class... Builders>
  void put(const Builders&... records) {
    putUnapplied(records...);
  }
};

}  // namespace Kestrav::Testing

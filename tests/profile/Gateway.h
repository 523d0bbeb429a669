// What every test of the library stands on: a store of its own on disk, attached for the life of
// the test process as it is for a daemon, and followed by the process's event thread.
//
// The profile factory lives as long as the process, so tests share one store and keep apart by the
// ids of their records.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "config/Event.h"
#include "platform/common/Logger.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StatusArea.h"
#include "tests/support/Builders.h"

namespace Kestrav::Testing {

// The attached store; opened by the test program before its first test.
Config::ConfigStore& store();

CMF::Event::Dispatcher dispatcher();

// Never the same twice in a process, whatever the table.
std::uint32_t freshId();

// Commits and waits until this process's handlers are through with it.
void commit(Config::ChangeSet changes);
void erase(G_CLI_GID gid, std::uint32_t id, ngid_t domain = 0);

template <class Builder>
void putInto(ngid_t domain, const Builder& record) {
  Config::ChangeSet changes;
  record.put(changes, domain);
  commit(std::move(changes));
}

// One change set in the system domain.
template <class... Builders>
void put(const Builders&... records) {
  Config::ChangeSet changes;
  (records.put(changes), ...);
  commit(std::move(changes));
}

// The switches that policies look at.
void contentInspection(bool on);
void dataLossPrevention(bool on);

// Keeps changes from the handlers while it lives: what a test sees then is not due to an event.
class EventsHeld {
 public:
  EventsHeld() { dispatcher()->stop(); }
  ~EventsHeld();
  EventsHeld(const EventsHeld&) = delete;
  EventsHeld& operator=(const EventsHeld&) = delete;

  template <class... Builders>
  void put(const Builders&... records) {
    Config::ChangeSet changes;
    (records.put(changes), ...);
    store().commit(std::move(changes));
  }
};

// Every message logged while it lives.
class LogCapture {
 public:
  LogCapture();
  // The fields of each message with this code, in order.
  std::vector<std::vector<std::string>> fields(std::uint32_t code) const;
  std::vector<std::uint32_t> codes() const;

 private:
  mutable std::mutex mutex_;
  std::vector<Logger::Message> messages_;  // guarded by mutex_
  std::shared_ptr<void> token_;            // last: messages stop before the rest goes
};

}  // namespace Kestrav::Testing

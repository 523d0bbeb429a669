// Change events of the configuration store.
//
// A handler is registered with a dispatcher for one table. It is called for every change of that
// table, by any process, that is delivered after its registration. One thread per process calls all
// handlers, one at a time, in the order of their registration. It runs while a store is attached
// and a handler is registered. An exception of a handler is logged and stops no other handler.
//
// A revision has been applied when all handlers have returned from its changes. When the store no
// longer keeps the changes that a process missed, each handler gets resync() instead; so it does
// when a store is attached or detached, on the thread that does so.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

namespace Kestrav::Config {
struct JournalEntry;
using Revision = std::uint64_t;
}  // namespace Kestrav::Config

namespace Kestrav::CMF::Event {

class KESTRAV_API Handler : public virtual RefImpl, public NonCopyable {
 public:
  explicit Handler(G_CLI_GID gid) : gid_(gid) {}

  G_CLI_GID gid() const { return gid_; }

  // Listens to a further table. Both records of its changes are null, because their type differs.
  // Call it before the handler is registered.
  void other(G_CLI_GID gid) { others_.push_back(gid); }
  const std::vector<G_CLI_GID>& others() const { return others_; }

  // `op` is the configuration domain of the changed record. An added record has no old one, an
  // erased one no new one; of a record that only changed its place both are given and equal. The
  // records, lists included, are good during the call. On the event thread.
  virtual void message(unsigned int op, const void* oldRecord, const void* newRecord) = 0;

  // Any number of changes were missed: forget everything that was built from the table. A handler
  // that reads its records overrides this.
  virtual void resync() { message(0, static_cast<const void*>(nullptr), nullptr); }

 private:
  G_CLI_GID gid_;
  std::vector<G_CLI_GID> others_;
};

class KESTRAV_API RefHandler : public Ref<Handler> {
 public:
  using Ref<Handler>::Ref;
};

// A handler of the changes of one type of record.
template <class Rec, unsigned int GID>
class KESTRAV_API HandlerTemplate : public Handler {
 public:
  using Callback = void (*)();

  HandlerTemplate() : Handler(static_cast<G_CLI_GID>(GID)) {}

  virtual void message(unsigned int op, const Rec* oldRecord, const Rec* newRecord) = 0;

  void message(unsigned int op, const void* oldRecord, const void* newRecord) override {
    message(op, static_cast<const Rec*>(oldRecord), static_cast<const Rec*>(newRecord));
    if (callback_ != nullptr) callback_();
  }

  // Called after each message, null for nothing. Set it before the handler is registered.
  void callback(Callback function) { callback_ = function; }

 private:
  Callback callback_ = nullptr;
};

class KESTRAV_API DispatcherImpl : public virtual RefImpl, public NonCopyable {
 public:
  explicit DispatcherImpl(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }

  // Registers the handler. It sees every change after the revision returned, none up to it. Calls
  // no handler and waits for none, so the caller may hold a lock that a handler takes. Throws
  // Exception when the event thread cannot be started; then nothing is registered. The two numbers
  // make no difference.
  Config::Revision add(const RefHandler& handler, unsigned char, unsigned char);
  // When it returns, the handler is not running and is not called again; from within a handler: it
  // is not called again. Do not hold a lock that a handler takes.
  void remove(const RefHandler& handler);

  // How much the callers log; details above 2. 0 at first.
  unsigned int trace() const { return trace_.load(std::memory_order_relaxed); }
  void trace(unsigned int level) { trace_.store(level, std::memory_order_relaxed); }

  // Observers see each change after the handlers have. The number is for unobserve().
  using Observer = std::function<void(const Config::JournalEntry&)>;
  unsigned int observe(Observer observer);
  void unobserve(unsigned int observer);

  // All revisions up to this one are applied in this process.
  Config::Revision applied() const;
  // Delivery of this revision has begun. No further event announces that what was read at an older
  // revision is outdated: do not put it into a cache.
  Config::Revision delivering() const;
  // False after the timeout. True at once in a process without handlers. Throws Exception kForked
  // in a child that uses its parent's store.
  bool waitApplied(Config::Revision revision, int timeoutMs);

  // Ends delivery; returns when no handler is running. The changes are kept for start() as far as
  // the store keeps them. Not from within a handler, and not with a lock held that a handler takes.
  void stop();
  void start();

 private:
  const std::string name_;
  std::atomic<unsigned int> trace_{0};
};

class KESTRAV_API Dispatcher : public Ref<DispatcherImpl> {
 public:
  using Ref<DispatcherImpl>::Ref;

  // The dispatcher of this name; all of them share one thread. The flags make no difference.
  static Dispatcher instance(const std::string& name, bool, bool);
};

}  // namespace Kestrav::CMF::Event

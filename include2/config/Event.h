// Change events of the configuration store.
//
// A handler is registered with a dispatcher for one table and is told of every change of it that is
// committed, by any process, after its registration. One thread per process calls all handlers, one
// at a time, in the order in which they were registered; it starts with the first registration once
// a store is attached. Whatever a handler throws is logged and stops nobody else.
//
// When a revision has been applied, all handlers have returned from its changes. A process that
// fell so far behind that the store no longer keeps the changes it missed is told by resync()
// instead.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/config/records/Gid.h"

namespace Kestrav::Config {
struct JournalEntry;
using Revision = std::uint64_t;
}  // namespace Kestrav::Config

namespace Kestrav::CMF::Event {

class KESTRAV_API Handler : public virtual RefImpl, public NonCopyable {
 public:
  explicit Handler(G_CLI_GID gid) : gid_(gid) {}

  G_CLI_GID gid() const { return gid_; }

  // Listens to a further table. Its changes arrive with both records null, for they are of another
  // type. Call it before the handler is registered.
  void other(G_CLI_GID gid) { others_.push_back(gid); }
  const std::vector<G_CLI_GID>& others() const { return others_; }

  // `op` is the configuration domain of the changed record. An added record has no old one, an
  // erased one no new one; of a record that only changed its place both are given and equal. The
  // records, lists included, are good during the call. On the event thread.
  virtual void message(unsigned int op, const void* oldRecord, const void* newRecord) = 0;

  // Any number of changes were missed: forget all that was built from the table. Meant for handlers
  // that ignore their records; one that reads them overrides this.
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

  // Registers the handler. It sees every change after the revision returned, none up to it. May be
  // called from within a handler, and with a lock held that a handler takes: no handler is told
  // anything here. The two numbers are accepted for the callers' sake and make no difference.
  Config::Revision add(const RefHandler& handler, unsigned char, unsigned char);
  // When it returns, the handler is not running and is not called again. Not with a lock held that
  // a handler takes.
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
  // Delivery of this revision has begun, if it has not ended. What was read at an older one may be
  // outdated without a further event: whoever fills a cache inserts nothing that was read at a
  // revision below this.
  Config::Revision delivering() const;
  // False after the timeout. True at once in a process in which nobody listens.
  bool waitApplied(Config::Revision revision, int timeoutMs);

  // Ends delivery; returns when no handler is running. Changes are kept for start() as far as the
  // store keeps them. Not with a lock held that a handler takes.
  void stop();
  void start();
  // Follows the store attached last, when that is another one: every handler is told to resync, on
  // this thread. Happens of itself within a second, on another one; the library's caches wait for
  // that up to two seconds, in case the caller holds what a handler waits for. Not with a lock held
  // that a handler takes.
  void synchronise();

 private:
  const std::string name_;
  std::atomic<unsigned int> trace_{0};
};

class KESTRAV_API Dispatcher : public Ref<DispatcherImpl> {
 public:
  using Ref<DispatcherImpl>::Ref;

  // The dispatcher of this name; all of them share one thread. The flags are accepted for the
  // callers' sake and make no difference.
  static Dispatcher instance(const std::string& name, bool, bool);
};

}  // namespace Kestrav::CMF::Event

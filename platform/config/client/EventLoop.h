// The thread that delivers the store's changes to this process's handlers: start, wait, deliver,
// publish, stop.
//
// It runs while a store is attached and somebody listens. It starts with the first registration or
// with the attachment, whichever is later, and ends with detach(), stop() or the process.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/config/client/HandlerList.h"
#include "platform/config/store/Attachment.h"

namespace Kestrav::Config::Client {

class EventLoop final : public AttachmentObserver {
 public:
  static EventLoop& instance();

  // See DispatcherImpl.
  Revision add(const CMF::Event::RefHandler& handler);
  void remove(const CMF::Event::RefHandler& handler);
  unsigned int observe(HandlerList::Observer observer);
  void unobserve(unsigned int number);
  Revision applied() const { return applied_.load(std::memory_order_acquire); }
  Revision delivering() const { return delivering_.load(std::memory_order_acquire); }
  bool waitApplied(Revision revision, int timeoutMs);
  void stop();
  void start();

  void mayChange(const char* operation) const override;
  void attached(const std::shared_ptr<ConfigStore>& store) override;
  void detaching() override;
  void detached() override;

  // Waits until the caches have followed to the revision. False when it gave up: after a second,
  // because a handler may wait for the calling thread, and at once where nobody delivers, on the
  // thread that does, and for a delivery that was given up before.
  bool awaitCaches(Revision revision);

  EventLoop();

 private:
  // Handlers are called while one exists; one exists at a time. Waits for those that wait in
  // awaitCalls().
  class Calls {
   public:
    explicit Calls(EventLoop& loop);
    ~Calls();
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

   private:
    EventLoop& loop_;
  };

  void awaitCalls();
  void resync();
  void listen();
  void startThread();
  void endThread(std::chrono::milliseconds patience);
  void endAtExit();
  void beforeFork();
  void afterFork(bool child);

  void run(const std::shared_ptr<ConfigStore>& store);
  bool registerProcess(ConfigStore& store, bool log);
  Revision wait(ConfigStore& store);
  void deliver(ConfigStore& store, Revision upTo);
  void publish(ConfigStore& store, Revision revision);

  HandlerList list_;

  std::mutex mutex_;  // guards what follows; no handler is called with it; held over a fork
  std::condition_variable changed_;
  std::shared_ptr<ConfigStore> store_;
  std::unique_ptr<std::thread> thread_;
  unsigned int threadNumber_ = 0;
  bool started_ = false;   // the thread has entered its loop
  bool ended_ = false;     // it has left its loop
  bool stopped_ = false;   // by stop()
  bool inCalls_ = false;   // handlers are being called
  int awaitingCalls_ = 0;  // threads that wait for the end of that
  Revision stalled_ = 0;   // awaitCaches() gave up while it was being delivered

  std::atomic<bool> forkedInCalls_{false};  // set in the child

  std::atomic<bool> ending_{false};   // the thread is to leave its loop
  std::atomic<bool> exiting_{false};  // the process ends: no handler is called any more
  std::atomic<Revision> applied_{0};
  std::atomic<Revision> delivering_{0};
};

}  // namespace Kestrav::Config::Client

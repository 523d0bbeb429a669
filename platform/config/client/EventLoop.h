// The thread that delivers the store's changes to this process's handlers: start, wait, deliver,
// publish, stop.
//
// It runs while a store is attached and somebody listens. It starts with the first registration or
// with the attachment, whichever is later, and ends with detach(), stop() or the process.
#pragma once

#include <atomic>
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

  void attaching() override;
  void attached(const std::shared_ptr<ConfigStore>& store) override;
  void detaching() override;
  void detached() override;

  EventLoop();

 private:
  void resync();
  void listen();
  void startThread();
  void endThread(std::chrono::milliseconds patience);
  void endAtExit();
  void beforeFork();
  void afterFork(bool child);

  void run(const std::shared_ptr<ConfigStore>& store);
  Revision wait(ConfigStore& store);
  void deliver(ConfigStore& store, Revision upTo);
  void publish(ConfigStore& store, Revision revision);

  HandlerList list_;

  // Held while handlers are called, and over a fork so that a child finds nothing half done. Timed
  // for the fork: the thread that forks may hold what a handler waits for.
  std::timed_mutex delivery_;
  std::atomic<bool> forkedInDelivery_{false};  // set in the child

  std::mutex mutex_;  // guards what follows; held while no handler is called
  std::condition_variable changed_;
  std::shared_ptr<ConfigStore> store_;
  std::unique_ptr<std::thread> thread_;
  bool started_ = false;  // the thread has entered its loop
  bool ended_ = false;    // it has left its loop
  bool stopped_ = false;  // by stop()

  std::atomic<bool> ending_{false};   // the thread is to leave its loop
  std::atomic<bool> exiting_{false};  // the process ends: no handler is called any more
  std::atomic<Revision> applied_{0};
  std::atomic<Revision> delivering_{0};
};

}  // namespace Kestrav::Config::Client

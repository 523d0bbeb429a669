#include "platform/config/store/Attachment.h"

#include <pthread.h>

#include <mutex>
#include <utility>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/NoDestructor.h"
#include "platform/config/store/Fork.h"
#include "platform/config/store/StatusArea.h"

namespace Kestrav::Config {

std::atomic<bool> parentsStoreAttached{false};

namespace {

// The zone of a process without a store.
char* privateZone() {
  alignas(4096) static char zone[Zone::kSize];
  [[maybe_unused]] static const bool ready = (initialiseZone(zone), true);
  return zone;
}

}  // namespace
}  // namespace Kestrav::Config

char* nCfg_debug_zone = Kestrav::Config::privateZone();

namespace Kestrav::Config {
namespace {

struct Attachment {
  std::mutex changing;                         // held by attach() and detach() throughout
  std::vector<AttachmentObserver*> observers;  // complete before main

  std::mutex mutex;                    // a leaf, for single copies of `store`
  std::shared_ptr<ConfigStore> store;  // guarded by `mutex`
  std::atomic<std::uint64_t> number{0};

  Attachment();
  // Returns the former store. Let go of it without a lock: closing it takes others.
  std::shared_ptr<ConfigStore> set(std::shared_ptr<ConfigStore> next, char* zone) {
    __atomic_store_n(&nCfg_debug_zone, zone, __ATOMIC_RELEASE);
    const std::scoped_lock lock(mutex);
    number.fetch_add(1);
    return std::exchange(store, std::move(next));
  }
};

Attachment& attachment() {
  static NoDestructor<Attachment> state;
  return *state;
}

// The calling thread is inside attach() or detach().
thread_local bool changingHere = false;

class Changing {
 public:
  Changing() : lock_(attachment().changing) { changingHere = true; }
  ~Changing() { changingHere = false; }
  Changing(const Changing&) = delete;
  Changing& operator=(const Changing&) = delete;

 private:
  const std::scoped_lock<std::mutex> lock_;
};

// A handler may not attach or detach: a thread that waits for it may hold `changing`.
void refuse(const char* operation) {
  for (const AttachmentObserver* observer : attachment().observers) {
    observer->mayChange(operation);
  }
  if (!changingHere) return;
  throw Exception(std::string(operation) + " was called while a store is attached or detached",
                  StoreError::kInternal);
}

// The thread that forks owns the mutex on both sides, so the child finds it usable.
Attachment::Attachment() {
  ::pthread_atfork([] { attachment().mutex.lock(); }, [] { attachment().mutex.unlock(); },
                   [] {
                     Attachment& state = attachment();
                     if (state.store != nullptr) parentsStoreAttached = true;
                     state.number.fetch_add(1);
                     state.mutex.unlock();
                   });
}

}  // namespace

void throwForked() {
  throw Exception(
      "The attached store was opened by a parent of this process; a child opens and attaches one "
      "itself",
      StoreError::kForked);
}

void observeAttachment(AttachmentObserver& observer) {
  attachment().observers.push_back(&observer);
}

std::uint64_t attachmentNumber() {
  return attachment().number.load(std::memory_order_acquire);
}

void ConfigStore::attach(std::shared_ptr<ConfigStore> store) {
  if (store == nullptr) {
    throw Exception("ConfigStore::attach: no store is given", StoreError::kCannotOpen);
  }
  store->revision();  // throws when a parent of this process opened it
  if (attached() == store) return;
  refuse("ConfigStore::attach");
  Attachment& state = attachment();
  const Changing changing;
  const std::shared_ptr<ConfigStore> former = attached();
  if (former == store) return;
  const bool parents = parentsStoreAttached;
  if (former != nullptr && !parents) {
    throw Exception(
        "A process attaches one store; " + former->folder().string() + " is attached already",
        StoreError::kAttached);
  }
  char* const formerZone = currentZone();
  if (parents) {  // the caches are empty before anybody can ask them
    state.set(nullptr, privateZone());
    parentsStoreAttached = false;
    for (AttachmentObserver* observer : state.observers) observer->detached();
  }
  state.set(store, store->status().zone());
  try {
    for (AttachmentObserver* observer : state.observers) observer->attached(store);
  } catch (...) {
    state.set(former, formerZone);
    for (AttachmentObserver* observer : state.observers) observer->detached();
    parentsStoreAttached = parents;
    throw;
  }
}

void ConfigStore::detach() {
  refuse("ConfigStore::detach");
  refuseParentsStore();
  Attachment& state = attachment();
  const Changing changing;
  if (attached() == nullptr) return;
  for (AttachmentObserver* observer : state.observers) observer->detaching();
  const std::shared_ptr<ConfigStore> former = state.set(nullptr, privateZone());
  for (AttachmentObserver* observer : state.observers) observer->detached();
}

std::shared_ptr<ConfigStore> ConfigStore::attached() {
  Attachment& state = attachment();
  const std::scoped_lock lock(state.mutex);
  return state.store;
}

}  // namespace Kestrav::Config

// What depends on the store that this process has attached.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

// attach() and detach() call each observer on their own thread, one call at a time, in the order in
// which the observers were added.
class AttachmentObserver {
 public:
  // Throws when the calling thread may not attach or detach. Called before any lock is taken.
  virtual void mayChange(const char* /*operation*/) const {}
  // `store` is attached by now. An exception undoes the attachment: detached() follows.
  virtual void attached(const std::shared_ptr<ConfigStore>& store) = 0;
  // The store is still attached. An exception leaves it so.
  virtual void detaching() {}
  // No store is attached.
  virtual void detached() = 0;

 protected:
  ~AttachmentObserver() = default;
};

// Add an observer before main. It lives until the process ends.
void observeAttachment(AttachmentObserver& observer);

// Differs whenever another store is, or may be, attached. Revisions read under different numbers do
// not compare.
KESTRAV_API std::uint64_t attachmentNumber();

}  // namespace Kestrav::Config

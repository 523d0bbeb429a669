// One value per process that is built on first use and later replaced as a whole, such as a
// settings snapshot or a set read from a table.
//
// `Value` is, or contains, a handle or a shared pointer: copies share one object, so a thread that
// holds the old object keeps it after a replacement. Any thread may call any operation at any time.
// Builds run one after another and without the lock that readers take, so a rebuild does not hold
// up readers. A build must not use its own ProcessWide.
//
// When event handlers are registered is up to the user:
//   once, at the first call             std::call_once before the operation
//   whenever a plain call builds        inside the build that is passed to get()
//   never                               nothing
// Register before reading, so that no change is missed in between.
//
//   static NoDestructor<ProcessWide<RefSettings>> settings;
//   return settings->get([] { return readSettings(); });
#pragma once

#include <mutex>
#include <optional>
#include <shared_mutex>
#include <utility>

namespace Kestrav {

template <class Value>
class ProcessWide {
 public:
  ProcessWide() = default;
  ProcessWide(const ProcessWide&) = delete;
  ProcessWide& operator=(const ProcessWide&) = delete;

  // The current value, or none. Waits for no build.
  std::optional<Value> current() const {
    const std::shared_lock reading(valueLock_);
    return value_;
  }

  // The current value; built when there is none. What `build` throws reaches the caller, and the
  // next call builds again. When `keep(value)` is false after the build, the value is for this
  // caller only: for example because the thread has pinned an older revision than the one that
  // others use.
  template <class Build, class Keep>
  Value get(const Build& build, const Keep& keep) {
    if (std::optional<Value> found = current()) return *std::move(found);
    const std::scoped_lock building(building_);
    if (std::optional<Value> found = current()) return *std::move(found);
    Value made = build();
    if (keep(std::as_const(made))) {
      std::optional<Value> next = made;
      swap(next);
    }
    return made;
  }
  template <class Build>
  Value get(const Build& build) {
    return get(build, [](const Value&) { return true; });
  }

  // Builds a value and makes it the current one. The old one stays when `build` throws.
  template <class Build>
  Value replace(const Build& build) {
    std::optional<Value> value;  // the new one, then the old one, destroyed without any lock
    const std::scoped_lock building(building_);
    value = build();
    Value made = *value;
    swap(value);
    return made;
  }

  // Makes the next get() build, after a build that is under way has ended. False when there was no
  // value to drop.
  bool drop() {
    std::optional<Value> old;  // destroyed without any lock
    const std::scoped_lock building(building_);
    swap(old);
    return old.has_value();
  }

 private:
  void swap(std::optional<Value>& other) {
    const std::unique_lock writing(valueLock_);
    value_.swap(other);
  }

  std::mutex building_;  // held during a build; taken before valueLock_
  mutable std::shared_mutex valueLock_;
  std::optional<Value> value_;  // guarded by valueLock_
};

}  // namespace Kestrav

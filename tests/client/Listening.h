// Handlers that record their calls.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "tests/client/StoreFixture.h"

namespace Kestrav::Testing {

// Lines from several threads, in the order in which they came.
class Notes {
 public:
  void add(std::string line) {
    const std::scoped_lock lock(mutex_);
    lines_.push_back(std::move(line));
    changed_.notify_all();
  }
  std::vector<std::string> all() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }
  void clear() {
    const std::scoped_lock lock(mutex_);
    lines_.clear();
  }
  bool waitFor(const std::string& line) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(kForeverMs), [&] {
      return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
    });
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

// Notes "NAME: DOMAIN OLD>NEW" for a change of a quarantine folder, then does `also`.
class FolderHandler : public CMF::Event::HandlerTemplate<__aps_systemquarantine_folders, 1682> {
 public:
  FolderHandler(Notes& notes, std::string name, std::function<void()> also = {})
      : notes_(notes), name_(std::move(name)), also_(std::move(also)) {}

  using HandlerTemplate::message;
  void message(unsigned int domain, const __aps_systemquarantine_folders* before,
               const __aps_systemquarantine_folders* after) override {
    const auto text = [](const __aps_systemquarantine_folders* record) {
      return std::string(record == nullptr ? "-" : record->name);
    };
    notes_.add(name_ + ": " + std::to_string(domain) + " " + text(before) + ">" + text(after));
    if (also_) also_();
  }

 private:
  Notes& notes_;
  const std::string name_;
  const std::function<void()> also_;
};

// Notes "resync" instead of calling message().
class KeyedHandler : public FolderHandler {
 public:
  KeyedHandler(Notes& notes, std::string name) : FolderHandler(notes, name), notes_(notes) {}
  void resync() override { notes_.add("resync"); }

 private:
  Notes& notes_;
};

// The code of the Exception that `call` throws, 0 when it throws none.
inline int codeOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Exception& failure) {
    return failure.code();
  }
  return 0;
}

// Registered for as long as it lives.
class Registered {
 public:
  explicit Registered(CMF::Event::Handler* handler)
      : handler_(handler, false), since_(dispatcher()->add(handler_, 127, 1)) {}
  ~Registered() { dispatcher()->remove(handler_); }
  Registered(const Registered&) = delete;
  Registered& operator=(const Registered&) = delete;
  Revision since() const { return since_; }

 private:
  CMF::Event::RefHandler handler_;
  Revision since_;
};

}  // namespace Kestrav::Testing

// Every message logged while it lives, on any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/common/Logger.h"

namespace Kestrav::Testing {

class LogCapture {
 public:
  LogCapture() {
    token_ = Logger::instance().capture([this](const Logger::Message& message) {
      const std::lock_guard guard(mutex_);
      messages_.push_back(message);
    });
  }

  // The fields of each message with this code, in order.
  std::vector<std::vector<std::string>> fields(std::uint32_t code) const {
    const std::lock_guard guard(mutex_);
    std::vector<std::vector<std::string>> found;
    for (const Logger::Message& message : messages_) {
      if (message.code == code) found.push_back(message.fields);
    }
    return found;
  }

  std::vector<std::uint32_t> codes() const {
    const std::lock_guard guard(mutex_);
    std::vector<std::uint32_t> found;
    for (const Logger::Message& message : messages_) found.push_back(message.code);
    return found;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Logger::Message> messages_;  // guarded by mutex_
  std::shared_ptr<void> token_;            // last member: capture ends before the rest is destroyed
};

}  // namespace Kestrav::Testing

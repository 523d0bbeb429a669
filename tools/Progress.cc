#include "tools/Progress.h"

namespace Kestrav::Tool {
namespace {

constexpr const char* kEraseLine = "\r\033[K";

}  // namespace

Progress::Progress(const Context& context) : out_(context.progress ? &context.err : nullptr) {
  if (out_ != nullptr) clock_ = std::thread([this] { keepTime(); });
}

Progress::~Progress() {
  if (out_ == nullptr) return;
  clear();
  {
    const std::lock_guard lock(mutex_);
    end_ = true;
  }
  ended_.notify_one();
  clock_.join();
}

void Progress::stage(const std::string& what) {
  if (out_ == nullptr) return;
  const std::lock_guard lock(mutex_);
  what_ = what;
  since_ = std::chrono::steady_clock::now();
  draw();
}

void Progress::clear() {
  if (out_ == nullptr) return;
  const std::lock_guard lock(mutex_);
  if (!what_.empty()) *out_ << kEraseLine << std::flush;
  what_.clear();
}

void Progress::keepTime() {
  std::unique_lock lock(mutex_);
  while (!ended_.wait_for(lock, std::chrono::seconds(1), [this] { return end_; })) {
    if (!what_.empty()) draw();
  }
}

void Progress::draw() {
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - since_)
          .count();
  *out_ << kEraseLine << what_;
  if (seconds > 0) *out_ << ", " << seconds << " s";
  *out_ << std::flush;
}

std::string counted(std::size_t number, const std::string& thing) {
  return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

}  // namespace Kestrav::Tool

#include "platform/config/store/StatusArea.h"

#include <atomic>

namespace Kestrav::Config {
namespace {

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

std::atomic<std::uint32_t>& word(char* zone, std::size_t offset) {
  return *reinterpret_cast<std::atomic<std::uint32_t>*>(zone + offset);
}

std::atomic<std::uint8_t>& byte(char* zone, std::size_t offset) {
  return *reinterpret_cast<std::atomic<std::uint8_t>*>(zone + offset);
}

}  // namespace

bool StatusArea::contentInspection() const {
  return word(zone_, Zone::kContentInspection).load(std::memory_order_acquire) != 0;
}

void StatusArea::contentInspection(bool on) {
  word(zone_, Zone::kContentInspection).store(on ? 1 : 0, std::memory_order_release);
}

std::uint32_t StatusArea::dirtyFlags() const {
  return word(zone_, Zone::kDirtyFlags).load(std::memory_order_acquire);
}

void StatusArea::setDirty(std::uint32_t bits) {
  word(zone_, Zone::kDirtyFlags).fetch_or(bits, std::memory_order_acq_rel);
}

std::uint32_t StatusArea::clearDirty(std::uint32_t bits) {
  return word(zone_, Zone::kDirtyFlags).fetch_and(~bits, std::memory_order_acq_rel) & bits;
}

bool StatusArea::disclaimerReload() const {
  return byte(zone_, Zone::kDisclaimerReload).load(std::memory_order_acquire) != 0;
}

void StatusArea::disclaimerReload(bool on) {
  byte(zone_, Zone::kDisclaimerReload).store(on ? 1 : 0, std::memory_order_release);
}

void initialiseZone(char* zone) {
  StatusArea(zone).contentInspection(true);
}

}  // namespace Kestrav::Config

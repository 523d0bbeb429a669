// Distinguishes a living process from one that ended, also when its number was given to another.
//
// Reads /proc without streams. Nothing throws.
#pragma once

#include <cstdint>
#include <optional>

namespace Kestrav::Config {

// When the process started, in the kernel's ticks since boot. Empty when that cannot be read.
std::optional<std::uint64_t> startTime(std::uint32_t pid);

// False when there is no such process, when it has ended but was not waited for, and when its
// number now belongs to another one. `started` is its startTime(), or 0 when that was not known.
// While the system does not show the process (no free descriptor, no /proc), it counts as alive as
// long as the number is in use: a slot that is kept too long does less harm than one that is taken
// from a live process.
bool isAlive(std::uint32_t pid, std::uint64_t started);

}  // namespace Kestrav::Config

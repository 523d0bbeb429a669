// The checksum at the end of each row and journal entry: XXH3 (64 bits) of all bytes before it,
// little-endian.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kestrav::Config {

inline constexpr std::size_t kChecksumSize = 8;

void appendChecksum(std::string& bytes);

// Removes the checksum. False, with `bytes` unchanged, when it is missing or wrong.
bool takeChecksum(std::string_view& bytes);

}  // namespace Kestrav::Config

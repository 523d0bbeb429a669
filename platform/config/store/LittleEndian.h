// Numbers in little-endian byte order on any machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Kestrav::Config {

template <class T>
void appendLittleEndian(std::string& bytes, T value) {
  for (std::size_t i = 0; i < sizeof value; ++i) {
    bytes.push_back(static_cast<char>(value >> (8 * i)));
  }
}

// REQUIRES: `bytes` has at least the size of T.
template <class T>
T littleEndian(std::string_view bytes) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof value; ++i) {
    value |= static_cast<T>(T{static_cast<unsigned char>(bytes[i])} << (8 * i));
  }
  return value;
}

}  // namespace Kestrav::Config

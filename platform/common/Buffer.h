// A growable array of bytes; a value. Not synchronised.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API Buffer {
 public:
  Buffer() = default;
  explicit Buffer(std::string_view bytes) : bytes_(bytes) {}

  // Never null. Valid until the buffer grows, is cleared, moved or destroyed.
  const char* data() const { return bytes_.data(); }
  char* data() { return bytes_.data(); }
  std::size_t size() const { return bytes_.size(); }
  bool empty() const { return bytes_.empty(); }

  void reserve(std::size_t capacity) { bytes_.reserve(capacity); }
  void append(std::string_view bytes) { bytes_.append(bytes); }
  // `bytes` may be null when `size` is 0.
  void append(const void* bytes, std::size_t size);
  void append(char byte) { bytes_.push_back(byte); }
  void clear() { bytes_.clear(); }

  std::string asString() const { return bytes_; }

  // Base64 of RFC 4648 section 4: padded, without line breaks.
  std::string toBase64String() const;

  bool operator==(const Buffer& other) const = default;

 private:
  std::string bytes_;
};

}  // namespace Kestrav

#include <algorithm>
#include <cstring>

#include "platform/parser/Media.h"

namespace Kestrav {

MediaIn::~MediaIn() = default;
MediaOut::~MediaOut() = default;

std::size_t BufferMediaIn::read(char* data, std::size_t size) {
  const std::size_t count = std::min(size, rest_.size());
  if (count != 0) std::memcpy(data, rest_.data(), count);
  rest_.remove_prefix(count);
  return count;
}

void BufferMediaOut::write(const char* data, std::size_t size) {
  buffer_.append(data, size);
}

}  // namespace Kestrav

#include "platform/config/store/Checksum.h"

#include <xxhash.h>

#include "platform/config/store/LittleEndian.h"

namespace Kestrav::Config {

void appendChecksum(std::string& bytes) {
  appendLittleEndian<std::uint64_t>(bytes, XXH3_64bits(bytes.data(), bytes.size()));
}

bool takeChecksum(std::string_view& bytes) {
  if (bytes.size() < kChecksumSize) return false;
  const std::string_view content = bytes.substr(0, bytes.size() - kChecksumSize);
  const auto stored = littleEndian<std::uint64_t>(bytes.substr(content.size()));
  if (stored != XXH3_64bits(content.data(), content.size())) return false;
  bytes = content;
  return true;
}

}  // namespace Kestrav::Config

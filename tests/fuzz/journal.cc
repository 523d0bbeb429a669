// Heads and entries of the journal: any bytes, and bytes with a right checksum, are refused or are
// just what the encoders write. Input: the bytes without their checksum.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/config/store/Checksum.h"
#include "platform/config/store/JournalFormat.h"

namespace {

using namespace Kestrav::Config;

void require(bool condition) {
  if (!condition) std::abort();
}

void decode(std::string_view bytes) {
  const auto entry = decodeEntry(bytes);
  const auto head = decodeHead(bytes);
  require(!entry || !head);
  if (entry) require(encodeEntry(*entry) == bytes);
  if (head) require(encodeHead(*head) == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  decode(bytes);
  appendChecksum(bytes);
  decode(bytes);
  return 0;
}

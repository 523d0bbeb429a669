#include "platform/common/Buffer.h"

#include <openssl/evp.h>

#include <algorithm>

namespace Kestrav {

namespace {

// EVP_EncodeBlock takes its size as int. A multiple of 3: only the last piece is padded.
constexpr std::size_t kEncodedAtOnce = 3 * 1024 * 1024;

}  // namespace

void Buffer::append(const void* bytes, std::size_t size) {
  if (size != 0) bytes_.append(static_cast<const char*>(bytes), size);
}

std::string Buffer::toBase64String() const {
  std::string text((bytes_.size() + 2) / 3 * 4, '\0');
  std::size_t written = 0;
  for (std::size_t done = 0; done < bytes_.size(); done += kEncodedAtOnce) {
    const std::size_t piece = std::min(kEncodedAtOnce, bytes_.size() - done);
    // Writes a NUL after its output; a std::string has room for it.
    written += static_cast<std::size_t>(EVP_EncodeBlock(
        reinterpret_cast<unsigned char*>(text.data() + written),
        reinterpret_cast<const unsigned char*>(bytes_.data() + done), static_cast<int>(piece)));
  }
  return text;
}

}  // namespace Kestrav

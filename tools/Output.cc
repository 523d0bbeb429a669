#include "tools/Output.h"

#include <unistd.h>

#include <cerrno>

namespace Kestrav::Tool {

Output::Output(int descriptor) : descriptor_(descriptor), stream_(this) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

int Output::finish() {
  writeOut();
  return error_ == EPIPE ? 0 : error_;
}

Output::int_type Output::overflow(int_type character) {
  if (!writeOut()) return traits_type::eof();
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    sputc(traits_type::to_char_type(character));
  }
  return traits_type::not_eof(character);
}

int Output::sync() {
  return writeOut() ? 0 : -1;
}

bool Output::writeOut() {
  const char* next = pbase();
  while (error_ == 0 && next != pptr()) {
    const ssize_t written = ::write(descriptor_, next, static_cast<std::size_t>(pptr() - next));
    if (written >= 0) {
      next += written;
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  return error_ == 0;
}

}  // namespace Kestrav::Tool

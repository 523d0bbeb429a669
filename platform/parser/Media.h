// Source and destination of parsers and converters. Not thread-safe.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/common/Buffer.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API MediaIn {
 public:
  virtual ~MediaIn();

  // Reads up to `size` bytes into `data`; returns their number, 0 at the end.
  virtual std::size_t read(char* data, std::size_t size) = 0;
};

class KESTRAV_API MediaOut {
 public:
  virtual ~MediaOut();

  // `data` may be null when `size` is 0.
  virtual void write(const char* data, std::size_t size) = 0;

  // Flushes and ends the output; further calls do nothing.
  virtual void end() = 0;
};

// The bytes must outlive the medium, unchanged.
class KESTRAV_API BufferMediaIn : public MediaIn {
 public:
  explicit BufferMediaIn(const Buffer& buffer) : rest_(buffer.data(), buffer.size()) {}
  explicit BufferMediaIn(Buffer&&) = delete;
  explicit BufferMediaIn(std::string_view bytes) : rest_(bytes) {}

  std::size_t read(char* data, std::size_t size) override;

 private:
  std::string_view rest_;
};

// Appends to a buffer, which must outlive the medium.
class KESTRAV_API BufferMediaOut : public MediaOut {
 public:
  explicit BufferMediaOut(Buffer& buffer) : buffer_(buffer) {}

  void write(const char* data, std::size_t size) override;
  void end() override {}

 private:
  Buffer& buffer_;
};

}  // namespace Kestrav

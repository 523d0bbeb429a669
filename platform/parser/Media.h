// Where text comes from and where it goes: the two ends of parsers and converters. A medium belongs
// to one thread at a time.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/common/Buffer.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API MediaIn {
 public:
  virtual ~MediaIn();

  // Moves up to `size` bytes to `data`; the number moved, 0 at the end.
  virtual std::size_t read(char* data, std::size_t size) = 0;
};

class KESTRAV_API MediaOut {
 public:
  virtual ~MediaOut();

  // `data` may be null when `size` is 0.
  virtual void write(const char* data, std::size_t size) = 0;

  // Nothing more will be written; passes on what was held back. Calling it again does nothing.
  virtual void end() = 0;
};

// Reads bytes that somebody else keeps: they must outlive the medium, unchanged.
class KESTRAV_API BufferMediaIn : public MediaIn {
 public:
  explicit BufferMediaIn(const Buffer& buffer) : rest_(buffer.data(), buffer.size()) {}
  explicit BufferMediaIn(Buffer&&) = delete;
  explicit BufferMediaIn(std::string_view bytes) : rest_(bytes) {}

  std::size_t read(char* data, std::size_t size) override;

 private:
  std::string_view rest_;
};

// Appends to a buffer that outlives the medium.
class KESTRAV_API BufferMediaOut : public MediaOut {
 public:
  explicit BufferMediaOut(Buffer& buffer) : buffer_(buffer) {}

  void write(const char* data, std::size_t size) override;
  void end() override {}

 private:
  Buffer& buffer_;
};

}  // namespace Kestrav

// Standard output of a verb. Writes in blocks and keeps the error of the first failed write.
//
// A reader that stops early (`vexactl dump | head -1`) is no failure: the rest is discarded. Lives
// as long as the process; one thread at a time.
#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace Kestrav::Tool {

class Output : private std::streambuf {
 public:
  // Does not close the descriptor.
  explicit Output(int descriptor);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  std::ostream& stream() { return stream_; }

  // Flushes. Returns 0, or the errno of the first write that failed.
  int finish();

 private:
  int_type overflow(int_type character) override;
  int sync() override;
  bool writeOut();

  const int descriptor_;
  int error_ = 0;
  std::array<char, 1 << 16> buffer_;
  std::ostream stream_;
};

}  // namespace Kestrav::Tool

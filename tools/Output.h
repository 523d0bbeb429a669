// Standard output as a verb sees it: written in blocks, and the reason of a failure remembered.
//
// A program that stopped reading our output (`vexactl dump | head -1`) is no failure: what is left
// is thrown away. Lives as long as the process; one thread at a time.
#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace Kestrav::Tool {

class Output : private std::streambuf {
 public:
  // Writes to the file descriptor, which stays open.
  explicit Output(int descriptor);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  std::ostream& stream() { return stream_; }

  // Writes what is left. Zero, or the errno of the first write that failed.
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

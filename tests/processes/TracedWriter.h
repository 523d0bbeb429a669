// A process that commits all sets step by step, so that a test can kill it at a chosen one. Used by
// the thread that made it.
#pragma once

#include <cstdint>
#include <string>

#include "tests/processes/PeerProcess.h"

namespace Kestrav::Testing {

class TracedWriter {
 public:
  // Stopped before the commit, which gives all sets `number`.
  TracedWriter(const std::string& store, std::uint32_t number);

  // False when the system forbids tracing.
  bool traced() const { return traced_; }

  // Runs to the next entry into or return from a system call, or by one instruction. False when the
  // process has ended.
  bool toNextSystemCall();
  bool step();
  // Whether it is about to wake all waiters of a futex.
  bool aboutToWake() const;

  void kill();
  // Whether the process ended by itself, with success.
  bool finished();

 private:
  bool advance(int request);

  PeerProcess process_;
  bool traced_ = false;
};

}  // namespace Kestrav::Testing

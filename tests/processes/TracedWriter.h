// A process that makes one commit of all sets, held before each of its steps so that it can be
// killed at a chosen one. Used by the thread that made it.
#pragma once

#include <cstdint>
#include <string>

#include "PeerProcess.h"

namespace Kestrav::Testing {

class TracedWriter {
 public:
  // Stands right before the commit, with which all sets get `number`.
  TracedWriter(const std::string& store, std::uint32_t number);

  // False where the system forbids tracing.
  bool traced() const { return traced_; }

  // Goes on to the next entry into the kernel or return from it, or by one instruction. False when
  // the process has ended instead.
  bool toNextSystemCall();
  bool step();
  // Whether it is about to wake all who wait for a word in memory.
  bool aboutToWake() const;

  void kill();
  // The process ended by itself, well.
  bool finished();

 private:
  bool advance(int request);

  PeerProcess process_;
  bool traced_ = false;
};

}  // namespace Kestrav::Testing

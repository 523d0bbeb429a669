// The span of each day in which large messages are held back for later delivery. A value.
#pragma once

#include <cstdint>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API DeferPeriod {
 public:
  // Minutes after local midnight, `start` included, `end` not. A start after the end means a span
  // over midnight; equal bounds mean no span at all.
  std::int64_t start = 0;
  std::int64_t end = 0;

  // Whether the local time of day is within the span now.
  bool operator()() const;

  // The same for a given time of day.
  bool contains(std::int64_t minuteOfDay) const;
};

}  // namespace Kestrav

// The daily period in which large messages are held back for later delivery. A value.
#pragma once

#include <cstdint>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API DeferPeriod {
 public:
  // Minutes after local midnight; `start` is included, `end` is not. A period whose start is after
  // its end spans midnight; one with equal bounds is empty.
  std::int64_t start = 0;
  std::int64_t end = 0;

  // Whether the current local time of day is within the period.
  bool operator()() const;

  // The same for a given time of day.
  bool contains(std::int64_t minuteOfDay) const;
};

}  // namespace Kestrav

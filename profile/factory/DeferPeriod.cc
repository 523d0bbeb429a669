#include "DeferPeriod.h"

#include <ctime>

namespace Kestrav {

bool DeferPeriod::contains(std::int64_t minuteOfDay) const {
  if (start == end) return false;
  if (start < end) return start <= minuteOfDay && minuteOfDay < end;
  return minuteOfDay >= start || minuteOfDay < end;
}

bool DeferPeriod::operator()() const {
  if (start == end) return false;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local) == nullptr) return false;
  return contains(local.tm_hour * 60 + local.tm_min);
}

}  // namespace Kestrav

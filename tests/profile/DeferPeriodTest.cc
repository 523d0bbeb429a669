#include "DeferPeriod.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <string>

namespace Kestrav {
namespace {

TEST(DeferPeriod, HoldsFromItsStartToItsEnd) {
  const struct {
    const char* what;
    std::int64_t start, end, minute;
    bool within;
  } cases[] = {
      {"before a span within the day", 480, 1020, 479, false},
      {"its first minute", 480, 1020, 480, true},
      {"its last minute", 480, 1020, 1019, true},
      {"its end", 480, 1020, 1020, false},
      {"a span over midnight, in the evening", 1320, 360, 1410, true},
      {"a span over midnight, its first minute", 1320, 360, 1320, true},
      {"a span over midnight, its last minute", 1320, 360, 359, true},
      {"a span over midnight, its end", 1320, 360, 360, false},
      {"a span over midnight, at noon", 1320, 360, 720, false},
      {"no span", 600, 600, 600, false},
      {"the whole day, its first minute", 0, 1440, 0, true},
      {"the whole day, its last minute", 0, 1440, 1439, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    DeferPeriod period;
    period.start = c.start;
    period.end = c.end;
    EXPECT_EQ(period.contains(c.minute), c.within);
  }
}

TEST(DeferPeriod, IsOffAtFirst) {
  EXPECT_FALSE(DeferPeriod()());
}

// A time zone that differs from UTC by hours and minutes.
class LocalZone {
 public:
  LocalZone() {
    if (const char* zone = ::getenv("TZ")) before_ = zone;
    ::setenv("TZ", "TST-05:30", 1);
    ::tzset();
  }
  ~LocalZone() {
    if (before_.empty()) {
      ::unsetenv("TZ");
    } else {
      ::setenv("TZ", before_.c_str(), 1);
    }
    ::tzset();
  }

 private:
  std::string before_;
};

TEST(DeferPeriod, GoesByTheLocalMinuteOfTheDay) {
  const LocalZone zone;
  const auto minuteNow = [] { return (std::time(nullptr) / 60 + 5 * 60 + 30) % 1440; };
  const auto holds = [](std::int64_t start, std::int64_t end) {
    DeferPeriod period;
    period.start = start;
    period.end = end;
    return period();
  };
  bool within = false, after = true, around = true;
  std::int64_t minute;
  do {  // again when a minute ended meanwhile
    minute = minuteNow();
    within = holds(minute, minute + 1);
    after = holds(minute + 1, minute + 2);
    around = holds(minute + 1, minute);
  } while (minute != minuteNow());
  EXPECT_TRUE(within);
  EXPECT_FALSE(after);
  EXPECT_FALSE(around);
}

TEST(DeferPeriod, EitherItOrItsComplementHoldsAtEachMinute) {
  DeferPeriod day;
  day.start = 0;
  day.end = 720;
  DeferPeriod night;
  night.start = 720;
  night.end = 0;
  for (int minute = 0; minute < 1440; ++minute) {
    EXPECT_NE(day.contains(minute), night.contains(minute)) << minute;
  }
}

}  // namespace
}  // namespace Kestrav

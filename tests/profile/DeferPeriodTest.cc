#include "DeferPeriod.h"

#include <gtest/gtest.h>

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

TEST(DeferPeriod, AndItsComplementShareTheDay) {
  // The span and its complement: at any time exactly one of them holds.
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

#include "platform/clock.h"

#include <gtest/gtest.h>

#include "native.h"

namespace vornelle {
namespace {

TEST(ClockTest, LocalTimeFollowsTheZoneAndItsSummerTime) {
  const native::KnownPlace place;
  const LocalTime winter = toLocalTime(1794707700);  // 2026-11-15 01:55:00 UTC
  EXPECT_EQ(winter.year, 2026);
  EXPECT_EQ(winter.month, 11);
  EXPECT_EQ(winter.day, 15);
  EXPECT_EQ(winter.hour, 2);
  EXPECT_EQ(winter.minute, 55);
  const LocalTime summer = toLocalTime(1784073600);  // 2026-07-15 00:00:00 UTC
  EXPECT_EQ(summer.hour, 2);
  EXPECT_EQ(summer.second, 0);
}

TEST(ClockTest, HalvesOfTheDayHaveAName) {
  const native::KnownPlace place;
  EXPECT_EQ(amPmDesignator(false), "AM");
  EXPECT_EQ(amPmDesignator(true), "PM");
}

}  // namespace
}  // namespace vornelle

#include "platform/events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

#include "platform/clock.h"
#include "platform/modGoToSleep.h"
#include "platform/random.h"
#include "tests/unit/platform/seam/loopback.h"

namespace vornelle {
namespace {

TEST(EventsTest, WaitEventsSleepsUntilTheNextTimer) {
  int ticks = 0;
  Timer timer(60, true);
  timer.onTick = [&] { ++ticks; };
  const std::int64_t start = monotonicMilliseconds();
  const std::int64_t cpu = native::processorMilliseconds();
  waitEvents();
  EXPECT_EQ(ticks, 1);
  EXPECT_GE(monotonicMilliseconds() - start, 60);
  EXPECT_LT(native::processorMilliseconds() - cpu, 20);
}

TEST(EventsTest, DoEventsNeverBlocks) {
  Timer timer(5000, true);
  const std::int64_t start = monotonicMilliseconds();
  doEvents();
  EXPECT_LT(monotonicMilliseconds() - start, 1000);
}

TEST(EventsTest, PauseServesNothingAndTheLateTickComesOnce) {
  int ticks = 0;
  Timer timer(200, true);
  timer.onTick = [&] { ++ticks; };
  const std::int64_t start = monotonicMilliseconds();
  pause(450);
  EXPECT_GE(monotonicMilliseconds() - start, 450);
  EXPECT_EQ(ticks, 0);
  doEvents();
  EXPECT_EQ(ticks, 1);
}

TEST(ClockTest, TheWallClockIsTheSystemsAndTheOtherOneGoesForward) {
  EXPECT_NEAR(static_cast<double>(utcNow()), static_cast<double>(std::time(nullptr)), 2);
  const std::int64_t before = monotonicMilliseconds();
  pause(5);
  EXPECT_GE(monotonicMilliseconds() - before, 5);
}

TEST(RandomTest, NumbersDiffer) {
  std::set<std::string> seen;
  for (int i = 0; i < 20; ++i) {
    std::array<char, 64> bytes{};
    ASSERT_TRUE(fillRandom(bytes.data(), bytes.size()));
    seen.emplace(bytes.data(), bytes.size());
  }
  EXPECT_EQ(seen.size(), 20u);
}

}  // namespace
}  // namespace vornelle

#include "platform/events.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <ctime>

#include "platform/clock.h"
#include "platform/modGoToSleep.h"
#include "tests/unit/platform/seam/loopback.h"

namespace vornelle {
namespace {

class SignalTest : public testing::TestWithParam<int> {
 protected:
  ~SignalTest() override { setTerminationHandler(nullptr); }
};

TEST_P(SignalTest, TerminationSignalsAreServedAsEvents) {
  int requests = 0;
  setTerminationHandler([&] { ++requests; });
  raise(GetParam());
  EXPECT_EQ(requests, 0);
  pause(10);
  EXPECT_EQ(requests, 0);
  waitEvents();
  EXPECT_EQ(requests, 1);
  doEvents();
  EXPECT_EQ(requests, 1);
}

TEST_P(SignalTest, ASignalEndsAWait) {
  bool requested = false;
  setTerminationHandler([&] { requested = true; });
  const pid_t parent = getpid();
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    pause(50);
    kill(parent, GetParam());
    _exit(0);
  }
  const std::int64_t start = monotonicMilliseconds();
  Timer bound(5000, true);
  waitEvents();
  EXPECT_TRUE(requested);
  EXPECT_LT(monotonicMilliseconds() - start, 4000);
  waitpid(child, nullptr, 0);
}

INSTANTIATE_TEST_SUITE_P(Both, SignalTest, testing::Values(SIGTERM, SIGINT));

TEST(PosixEventsTest, ABrokenPipeIsNoSignal) {
  doEvents();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  close(ends[1]);
}

class TimeZoneTest : public testing::Test {
 protected:
  ~TimeZoneTest() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(TimeZoneTest, LocalTimeFollowsTheZoneAndItsSummerTime) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
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

TEST(PosixClockTest, HalvesOfTheDayHaveANameAlways) {
  setenv("LC_ALL", "C", 1);
  EXPECT_EQ(amPmDesignator(false), "AM");
  EXPECT_EQ(amPmDesignator(true), "PM");
  setenv("LC_ALL", "no_SUCH.locale", 1);
  EXPECT_EQ(amPmDesignator(true), "PM");
  unsetenv("LC_ALL");
  EXPECT_EQ(amPmDesignator(false), "AM");
}

}  // namespace
}  // namespace vornelle

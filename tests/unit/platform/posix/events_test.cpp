#include "platform/events.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>

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

#include "platform/events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/modGoToSleep.h"
#include "platform/sim/sim.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EventsTest : public testing::Test {
 protected:
  EventsTest() { sim::reset(); }
};

TEST_F(EventsTest, TheClockStartsAtAFixedTime) {
  const LocalTime now = toLocalTime(utcNow());
  EXPECT_EQ(now.year, 2026);
  EXPECT_EQ(now.month, 11);
  EXPECT_EQ(now.day, 15);
  EXPECT_EQ(now.hour, 1);
  EXPECT_EQ(now.minute, 55);
  EXPECT_EQ(now.second, 0);
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(EventsTest, DoEventsLetsNoTimePass) {
  int ticks = 0;
  Timer timer(1, true);
  timer.onTick = [&] { ++ticks; };
  doEvents();
  EXPECT_EQ(ticks, 0);
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(EventsTest, ATimerTicksOnceForEachPeriod) {
  std::vector<std::int64_t> times;
  Timer timer(1000, true);
  timer.onTick = [&] { times.push_back(sim::elapsedMilliseconds()); };
  sim::advance(3500);
  EXPECT_THAT(times, ElementsAre(1000, 2000, 3000));
  EXPECT_EQ(sim::elapsedMilliseconds(), 3500);
}

TEST_F(EventsTest, ATimerThatIsOffOrHasNoIntervalNeverTicks) {
  int ticks = 0;
  Timer off(10, false), none(0, true), negative(-5, true);
  off.onTick = none.onTick = negative.onTick = [&] { ++ticks; };
  sim::advance(1000);
  EXPECT_EQ(ticks, 0);
}

TEST_F(EventsTest, ALateTickIsNotRepeatedAndKeepsTheRhythm) {
  std::vector<std::int64_t> times;
  Timer timer(1000, true);
  timer.onTick = [&] { times.push_back(sim::elapsedMilliseconds()); };
  pause(5300);
  EXPECT_THAT(times, IsEmpty());
  doEvents();
  EXPECT_THAT(times, ElementsAre(5300));
  sim::advance(800);
  EXPECT_THAT(times, ElementsAre(5300, 6000));
}

TEST_F(EventsTest, AChangedIntervalStartsANewPeriodAndTheSameValueDoesNot) {
  std::vector<std::int64_t> times;
  Timer timer(1000, true);
  timer.onTick = [&] { times.push_back(sim::elapsedMilliseconds()); };
  sim::advance(900);
  timer.setInterval(1000);
  timer.setEnabled(true);
  sim::advance(100);
  EXPECT_THAT(times, ElementsAre(1000));
  sim::advance(900);
  timer.setInterval(500);
  sim::advance(600);
  EXPECT_THAT(times, ElementsAre(1000, 2400));
}

TEST_F(EventsTest, SwitchingATimerOffAndOnStartsANewPeriod) {
  std::vector<std::int64_t> times;
  Timer timer(1000, true);
  timer.onTick = [&] { times.push_back(sim::elapsedMilliseconds()); };
  sim::advance(900);
  timer.setEnabled(false);
  timer.setEnabled(true);
  sim::advance(1100);
  EXPECT_THAT(times, ElementsAre(1900));
}

TEST_F(EventsTest, TimersTickInTheOrderInWhichTheyAreDue) {
  std::string order;
  Timer slow(300, true), quick(200, true);
  slow.onTick = [&] { order += 's'; };
  quick.onTick = [&] { order += 'q'; };
  sim::advance(900);
  EXPECT_EQ(order, "qsqsqqs");  // 200 300 400 600 600 800 900; of the two at 600 the one started first
}

TEST_F(EventsTest, ATickMayDestroyItsTimerAndStopAnother) {
  int ticks = 0;
  auto first = std::make_unique<Timer>(100, true);
  Timer second(100, true);
  second.onTick = [&] { ++ticks; };
  first->onTick = [&ticks, &first, &second, guard = std::string("still here")] {
    first.reset();
    second.setEnabled(false);
    EXPECT_EQ(guard, "still here");
    ++ticks;
  };
  sim::advance(1000);
  EXPECT_EQ(ticks, 1);
}

TEST_F(EventsTest, ATickComesInsideItsOwnHandlerOnlyWhenThatYields) {
  int depth = 0, deepest = 0, ticks = 0;
  Timer timer(1000, true);
  timer.onTick = [&] {
    deepest = std::max(deepest, ++depth);
    if (++ticks == 1) pause(2500);       // overdue, but not yielding
    if (ticks == 2) sim::advance(1000);  // yields for a whole period
    --depth;
  };
  sim::advance(1000);
  EXPECT_EQ(deepest, 2);
  EXPECT_EQ(ticks, 3);
}

TEST_F(EventsTest, WaitEventsMovesTheClockToTheNextTimer) {
  int ticks = 0;
  Timer timer(30000, true);
  timer.onTick = [&] { ++ticks; };
  waitEvents();
  EXPECT_EQ(ticks, 1);
  EXPECT_EQ(sim::elapsedMilliseconds(), 30000);
  EXPECT_EQ(utcNow(), 1794707700 + 30);
}

TEST_F(EventsTest, StepsRunAsEventsAtTheirTime) {
  std::string order;
  sim::after(50, [&] { order += 'b'; });
  sim::after(0, [&] { order += 'a'; });
  sim::after(50, [&] { order += 'c'; });
  EXPECT_EQ(order, "");
  doEvents();
  EXPECT_EQ(order, "a");
  waitEvents();
  EXPECT_EQ(order, "abc");
  EXPECT_EQ(sim::elapsedMilliseconds(), 50);
}

TEST_F(EventsTest, AWaitThatNothingCanEndIsADeadlock) {
  EXPECT_THROW(waitEvents(), sim::Deadlock);
}

TEST_F(EventsTest, ALoopThatOnlyTimersKeepGoingIsADeadlock) {
  Timer timer(1000, true);
  EXPECT_THROW(while (true) waitEvents(), sim::Deadlock);
}

TEST_F(EventsTest, PauseServesNothing) {
  int steps = 0;
  sim::after(10, [&] { ++steps; });
  pause(5000);
  EXPECT_EQ(steps, 0);
  EXPECT_EQ(sim::elapsedMilliseconds(), 5000);
  doEvents();
  EXPECT_EQ(steps, 1);
}

TEST_F(EventsTest, ATerminationRequestIsServedAsAnEvent) {
  int requests = 0;
  setTerminationHandler([&] { ++requests; });
  sim::requestTermination();
  EXPECT_EQ(requests, 0);
  waitEvents();
  EXPECT_EQ(requests, 1);
}

TEST_F(EventsTest, ResetStartsThePeriodsOfExistingTimersAgain) {
  int ticks = 0;
  Timer timer(1000, true);
  timer.onTick = [&] { ++ticks; };
  sim::advance(900);
  sim::reset();
  sim::advance(900);
  EXPECT_EQ(ticks, 0);
  sim::advance(100);
  EXPECT_EQ(ticks, 1);
}

TEST_F(EventsTest, ResetForgetsStepsAndRequests) {
  int served = 0;
  setTerminationHandler([&] { ++served; });
  sim::after(0, [&] { ++served; });
  sim::requestTermination();
  sim::reset();
  sim::advance(1000);
  EXPECT_EQ(served, 0);
}

TEST_F(EventsTest, SetUtcMovesTheWallClockOnly) {
  sim::advance(500);
  sim::setUtc(1000000000);
  EXPECT_EQ(utcNow(), 1000000000);
  sim::advance(2000);
  EXPECT_EQ(utcNow(), 1000000002);
  EXPECT_EQ(sim::elapsedMilliseconds(), 2500);
}

}  // namespace
}  // namespace vornelle

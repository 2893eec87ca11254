#include "mail/schedule.h"

#include "core/settings.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class Schedule : public SimTest {
 protected:
  Schedule() {
    assignConstants();
    settings.POP_SERVER = "mail.example";
    makeFile("\\data\\friendlist.txt", "@friends.example\r\n");
    drop.serve("mail.example");
    form1.ckActive.onClick = ckActiveClick;
    form1.ckTestMode.onClick = ckTestModeClick;
    form1.Timer1.onTick = Timer1_Timer;
    form1.Timer_min.onTick = Timer_min_Timer;
    form1.Timer1.setInterval(30000);  // for a CHECK_MIN of 30
  }

  static std::string log() { return form1.LogWindow.text(); }
  static void passMinutes(int minutes) { sim::advance(minutes * 60000); }

  SimMaildrop drop;
};

TEST_F(Schedule, CheckingActiveSaysThatFilteringIsOn) {
  form1.ckActive.setChecked(true);
  EXPECT_THAT(log(), EndsWith("] Automatic mail filtering on\r\n"));
  form1.ckActive.setChecked(false);
  EXPECT_THAT(log(), EndsWith("] Automatic mail filtering off\r\n"));
  EXPECT_EQ(form1.minutesSinceCheck, 0);
}

TEST_F(Schedule, CheckingTestModeSaysWhatItMeans) {
  form1.ckTestMode.setChecked(true);
  EXPECT_THAT(log(), EndsWith("] Test mode on. Spam will not be removed from InBox.\r\n"));
  form1.ckTestMode.setChecked(false);
  EXPECT_THAT(log(), EndsWith("] Test mode off\r\n"));
}

TEST_F(Schedule, TheButtonLogsTheRequestAndRunsTheFilter) {
  form1.minutesSinceCheck = 7;
  cmdFilterMailClick();
  EXPECT_THAT(log(), HasSubstr("] Filter mail (user request)\r\n["));
  EXPECT_THAT(log(), EndsWith("] Mail filtered:  0 msgs.  0 spam.\r\n"));
  EXPECT_EQ(form1.minutesSinceCheck, 0);
}

TEST_F(Schedule, MinutesTowardsTheRunAreCountedOnlyWhileActiveIsChecked) {
  passMinutes(3);
  EXPECT_EQ(form1.minutesSinceCheck, 0);
  form1.ckActive.setChecked(true);
  passMinutes(3);
  EXPECT_EQ(form1.minutesSinceCheck, 3);
  form1.ckActive.setChecked(false);
  passMinutes(3);
  EXPECT_EQ(form1.minutesSinceCheck, 3);
  form1.ckActive.setChecked(true);
  passMinutes(1);
  EXPECT_EQ(form1.minutesSinceCheck, 4);
}

TEST_F(Schedule, SessionMinutesAreCountedWhateverActiveShows) {
  passMinutes(2);
  EXPECT_EQ(form1.sessionMinutesUsed, 2);
  form1.ckActive.setChecked(true);
  passMinutes(2);
  EXPECT_EQ(form1.sessionMinutesUsed, 4);
}

TEST_F(Schedule, ARunStartsWithinOneIntervalOfTheLastMinute) {
  form1.ckActive.setChecked(true);
  passMinutes(29);
  EXPECT_EQ(drop.sessions, 0);
  sim::advance(60000 + 30000);
  EXPECT_EQ(drop.sessions, 1);
  passMinutes(29);
  EXPECT_EQ(drop.sessions, 1);
  passMinutes(2);
  EXPECT_EQ(drop.sessions, 2);
}

TEST_F(Schedule, TheCounterIsLookedAtEvenWhenActiveIsNotChecked) {
  form1.minutesSinceCheck = settings.CHECK_MIN;
  sim::advance(30000);
  EXPECT_EQ(drop.sessions, 1);
  EXPECT_EQ(form1.minutesSinceCheck, 0);
}

TEST_F(Schedule, ARunThatEndsAtOnceStillBeginsTheCountAgain) {
  makeFile("\\data\\friendlist.txt", "");
  form1.minutesSinceCheck = settings.CHECK_MIN + 5;
  Timer1_Timer();
  EXPECT_THAT(log(), EndsWith("] You need to set up your FriendList first!\r\n"));
  EXPECT_EQ(form1.minutesSinceCheck, 0);
}

TEST_F(Schedule, ARunByHandPutsTheNextTimedRunOff) {
  form1.ckActive.setChecked(true);
  passMinutes(20);
  cmdFilterMailClick();
  EXPECT_EQ(drop.sessions, 1);
  passMinutes(29);
  EXPECT_EQ(drop.sessions, 1);
  passMinutes(2);
  EXPECT_EQ(drop.sessions, 2);
}

}  // namespace
}  // namespace vornelle

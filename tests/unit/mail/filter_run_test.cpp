#include "platform/modPopup.h"
#include "tests/unit/mail/filter_run_fixture.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(FilterRun, AFriendListOfSevenBytesStopsTheRun) {
  form1.minutesSinceCheck = 12;
  makeFile("\\data\\friendlist.txt", "a@b.c\r\n");
  EXPECT_THAT(runLog(), ElementsAre("You need to set up your FriendList first!"));
  EXPECT_EQ(drop.sessions, 0);
  EXPECT_EQ(form1.minutesSinceCheck, 12);
}

TEST_F(FilterRun, AFriendListOfEightBytesLetsItGoOn) {
  makeFile("\\data\\friendlist.txt", "a@bc.d\r\n");
  EXPECT_THAT(runLog(), ElementsAre("Mail filtered:  0 msgs.  0 spam."));
  EXPECT_EQ(drop.sessions, 1);
}

TEST_F(FilterRun, AMissingFriendListStopsTheRun) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\friendlist.txt")));
  EXPECT_THAT(runLog(), ElementsAre("You need to set up your FriendList first!"));
  EXPECT_EQ(drop.sessions, 0);
}

TEST_F(FilterRun, ARunSetsTheMinuteCounterToZero) {
  form1.minutesSinceCheck = 12;
  mailFilter();
  EXPECT_EQ(form1.minutesSinceCheck, 0);
}

TEST_F(FilterRun, AFailedLogOnBeepsAndSaysWhenTheNextTryIs) {
  form1.minutesSinceCheck = 12;
  drop.logOnRefused = true;
  EXPECT_THAT(runLog(), ElementsAre("**Cannot log onto POP3 server. Will try again in 30 mins."));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_EQ(form1.minutesSinceCheck, 0);
  EXPECT_THAT(sim::shell().iconTips, IsEmpty());
  settings.CHECK_MIN = 45;
  sim::removeServer("mail.example", 110);
  EXPECT_THAT(runLog(), ElementsAre("**Cannot log onto POP3 server. Will try again in 45 mins."));
  EXPECT_EQ(sim::shell().beeps, 2);
}

TEST_F(FilterRun, TheBeepOfAFailedLogOnComesBeforeTheLogLine) {
  drop.logOnRefused = true;
  int beepsAtTheLine = -1;
  form1.LogWindow.onChange = [&] { beepsAtTheLine = sim::shell().beeps; };
  mailFilter();
  EXPECT_EQ(beepsAtTheLine, 1);
}

TEST_F(FilterRun, AFailedLogOnLeavesTheComponentInTheSlot) {
  drop.logOnRefused = true;
  mailFilter();
  EXPECT_NE(currentMail, nullptr);
}

TEST_F(FilterRun, AnEmptyMailboxGivesOnlyTheClosingLine) {
  makeFile("\\spam\\old1.txt", "\r\n");
  makeFile("\\spam\\old2.txt", "\r\n");
  EXPECT_THAT(runLog(), ElementsAre("Mail filtered:  0 msgs.  2 spam."));
  EXPECT_EQ(drop.quits, 1);
}

// ---- what happens to spam ----

TEST_F(FilterRun, SpamIsSavedWholeLoggedAndDeleted) {
  add("id1", "Eve <eve@elsewhere.example>");
  add("id2", "bob@friends.example");
  add("id3", "mallory@elsewhere.example");
  const std::string source = drop.mails[0].source;
  const std::string source3 = drop.mails[2].source;
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from Eve <eve@elsewhere.example>",
                                    "Removing spam from mallory@elsewhere.example",
                                    "Mail filtered:  1 msgs.  2 spam."));
  EXPECT_THAT(drop.uidls(), ElementsAre("id2"));
  EXPECT_TRUE(isSaved("id1", source));
  EXPECT_TRUE(isSaved("id3", source3));
  EXPECT_EQ(contentOf("\\spam\\id2.txt"), "(missing)");
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(FilterRun, ARunThatWentWellLeavesNoFailureForThePages) {
  add("id1", "eve@elsewhere.example");
  add("id2", "bob@friends.example");
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id2"));
  EXPECT_EQ(failureText(lastMailFailures.pop), "");
}

TEST_F(FilterRun, SpamWithoutASenderIsLoggedAsNoName) {
  drop.mails = {{.uidl = "id1", .source = "Subject: x\r\n\r\nbody\r\n"},
                {.uidl = "id2", .source = "From:    \r\n\r\nbody\r\n"}};
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from <no name>", "Removing spam from <no name>",
                                    "Mail filtered:  0 msgs.  2 spam."));
  EXPECT_THAT(drop.mails, IsEmpty());
}

TEST_F(FilterRun, InTestModeSpamIsSavedAndStays) {
  form1.ckTestMode.setChecked(true);
  add("id1", "eve@elsewhere.example");
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from eve@elsewhere.example",
                                    "**TEST MODE: Msg copied to SpamBox, not removed from InBox",
                                    "Mail filtered:  0 msgs.  1 spam."));
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
  makeFile("\\spam\\id1.txt", "something else");
  EXPECT_THAT(runLog(), testing::SizeIs(3));
  EXPECT_TRUE(isSaved("id1", drop.mails[0].source));
}

TEST_F(FilterRun, TestModeIsAskedForAtEachMessage) {
  add("id1", "eve@elsewhere.example");
  add("id2", "eve@elsewhere.example");
  add("id3", "eve@elsewhere.example");
  drop.onCommand = [](const std::string& line) {
    if (line == "RETR 2") form1.ckTestMode.setChecked(true);
    if (line == "RETR 3") form1.ckTestMode.setChecked(false);
  };
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id2"));
}

TEST_F(FilterRun, TheClosingLineCountsTheWholeSpamBoxAndWhatWasKept) {
  makeFile("\\spam\\old.txt", "\r\n");
  for (int n = 0; n < 12; ++n) add("keep" + std::to_string(n), "bob@friends.example");
  add("id1", "eve@elsewhere.example");
  EXPECT_THAT(runLog(), ElementsAre(HasSubstr("Removing"), "Mail filtered:  12 msgs.  2 spam."));
}

TEST_F(FilterRun, TheTipIsSetBeforeTheClosingLineIsLogged) {
  add("id1", "eve@elsewhere.example");
  add("id2", "bob@friends.example");
  ASSERT_TRUE(notifyIconAdd(" Vornelle "));
  std::size_t tipsAtClosingLine = 0;
  form1.LogWindow.onChange = [&] {
    if (form1.LogWindow.text().find("Mail filtered") != std::string::npos)
      tipsAtClosingLine = sim::shell().iconTips.size();
  };
  mailFilter();
  EXPECT_EQ(sim::shell().iconTips.back(), " Vornelle -  1 msgs.  1 spam.");
  EXPECT_EQ(tipsAtClosingLine, sim::shell().iconTips.size());
  EXPECT_EQ(sim::shell().iconAdds, 1);
}

TEST_F(FilterRun, TheSessionHasEndedWhenTheClosingLineIsLogged) {
  add("id1", "eve@elsewhere.example");
  int quitsAtClosingLine = -1;
  form1.LogWindow.onChange = [&] {
    if (form1.LogWindow.text().find("Mail filtered") != std::string::npos) quitsAtClosingLine = drop.quits;
  };
  mailFilter();
  EXPECT_EQ(quitsAtClosingLine, 1);
}

TEST_F(FilterRun, ASenderIsLoggedWithAtMost16KiB) {
  add("id1", std::string(100'000, 'e'));
  EXPECT_TRUE(runLog()[0] == "Removing spam from " + std::string(16'384, 'e'));
}

TEST_F(FilterRun, ALargeMailboxOnAPipeliningServerIsFilteredWhole) {
  drop.pipelining = true;
  for (int n = 0; n < 1500; ++n)
    add("id" + std::to_string(n), n % 2 == 0 ? "eve@elsewhere.example" : "bob@friends.example");
  mailFilter();
  EXPECT_EQ(newLog().back(), "Mail filtered:  750 msgs.  750 spam.");
  EXPECT_EQ(drop.mails.size(), 750u);
}

TEST_F(FilterRun, TheSpamCounterStaysAtItsHighestValue) {
  makeFile("\\spam\\same.txt", "the message\r\n");  // a refused retrieval counts and writes nothing
  drop.mails.assign(32769, {.uidl = "same", .source = mailFrom("eve@elsewhere.example"), .refused = true});
  mailFilter();
  EXPECT_EQ(newLog().back(), "Mail filtered:  2 msgs.  1 spam.");
}

TEST_F(FilterRun, UniqueIdsThatDifferInLetterCaseAreBothSavedAndDeleted) {
  add("AB", "eve@elsewhere.example", "first");
  add("ab", "eve@elsewhere.example", "second");
  const std::vector<SimMail> mails = drop.mails;
  mailFilter();
  EXPECT_TRUE(isSaved("AB", mails[0].source));
  EXPECT_TRUE(isSaved("%61%62", mails[1].source));
  EXPECT_THAT(drop.mails, IsEmpty());
}

TEST_F(FilterRun, AUniqueIdThatIsNoFileNameIsSavedAndDeletedLikeAnyOther) {
  add("a/..\\b:c", "eve@elsewhere.example");
  const std::string source = drop.mails[0].source;
  mailFilter();
  EXPECT_TRUE(isSaved("a%2F..%5Cb%3Ac", source));
  EXPECT_THAT(drop.mails, IsEmpty());
}

TEST_F(FilterRun, TheHourglassIsShownForAsLongAsTheRunTakes) {
  add("a", "spammer@x.example");
  sim::after(0, [] { EXPECT_EQ(sim::shell().waitCursors, 1); });
  mailFilter();
  EXPECT_EQ(sim::shell().waitCursorsShown, 1);
  EXPECT_EQ(sim::shell().waitCursors, 0);
}

TEST_F(FilterRun, TheHourglassGoesWhenTheLogOnFails) {
  sim::removeServer("mail.example", 110);
  mailFilter();
  EXPECT_EQ(sim::shell().waitCursorsShown, 1);
  EXPECT_EQ(sim::shell().waitCursors, 0);
}

}  // namespace
}  // namespace vornelle

// Messages that are restored, and what a form does besides that has boxes for both.
#include "core/activity.h"
#include "mail/base64.h"
#include "pages/message_rows.h"
#include "tests/unit/pages/message_actions_fixture.h"

namespace vornelle {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST_F(MessageActions, ARestoredMessageIsSentToTheUserAndItsFileStays) {
  makeFile("\\spam\\a.txt", "From: bob@x.example\r\nSubject: s\r\n\r\nbody\r\n\r\n");
  row(0, "a", "bob");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  EXPECT_EQ(sent(), "From: bob@x.example\r\nSubject: s\r\n\r\nbody\r\n\r\n");
  EXPECT_THAT(outbox_->commands, Contains(StartsWith("MAIL FROM:<bob@x.example>")));
  EXPECT_THAT(outbox_->commands, Contains(StartsWith("RCPT TO:<joe@home.example>")));
  EXPECT_THAT(logLines(), ElementsAre("Restore msg from bob@x.example to InBox"));
  EXPECT_THAT(contentOf("\\spam\\a.txt"), HasSubstr("body"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, TheLineWithTheIdIsSentEmptyAndEndsTheSearchForTheSender) {
  makeFile("\\spam\\a.txt",
           "from: one@x.example\r\nFrom:  two@x.example \r\nX-UIDL: 12\r\nFrom: three@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sent(), "from: one@x.example\r\nFrom:  two@x.example \r\n\r\nFrom: three@x.example\r\n");
  EXPECT_THAT(logLines(), ElementsAre("Restore msg from two@x.example to InBox"));
}

TEST_F(MessageActions, AnIdAtTheVeryStartOfALineIsAnOrdinaryLine) {
  makeFile("\\spam\\a.txt", "UIDL: 12\r\nFrom: two@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sent(), "UIDL: 12\r\nFrom: two@x.example\r\n");
}

TEST_F(MessageActions, LinesThatEndInAnotherWayAreSentWithCrLf) {
  makeFile("\\spam\\a.txt", "From: a@x.example\n\nbody");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sent(), "From: a@x.example\r\n\r\nbody\r\n");
}

TEST_F(MessageActions, WithoutAUserNothingIsAuthenticated) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(outbox_->commands, Not(Contains("AUTH LOGIN")));
}

TEST_F(MessageActions, WithAUserTheLogOnComesFirst) {
  settings.SMTP_USER = "joe";
  settings.SMTP_PASSWORD = "pw";
  outbox_->user = base64Encode("joe");
  outbox_->password = base64Encode("pw");
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(outbox_->commands, Contains("AUTH LOGIN"));
  EXPECT_THAT(outbox_->commands, Contains(base64Encode("joe")));
}

TEST_F(MessageActions, TheFieldThatNamesTheSenderMayBeInAnyLetterCase) {
  makeFile("\\spam\\a.txt", "Subject: s\r\nFROM: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(logLines(), ElementsAre("Restore msg from a@x.example to InBox"));
}

TEST_F(MessageActions, WithoutAConnectionNothingIsRestored) {
  outbox_->answers["GREETING"] = "554 no\r\n";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logLines(), ElementsAre("**Cannot connect to SMTP server!"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, WithoutALogOnNothingIsRestored) {
  settings.SMTP_USER = "joe";
  outbox_->answers["AUTH"] = "550 no\r\n";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logLines(), ElementsAre("**Cannot log onto SMTP server!"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, ARefusedMessageIsAProblem) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  outbox_->answers["."] = "554 no\r\n";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(logLines(), ElementsAre("Problem restoring msg from a@x.example to InBox"));
}

TEST_F(MessageActions, AFileThatCannotBeReadIsNotSentEmpty) {
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\gone.txt")));
  EXPECT_THAT(outbox_->commands, Not(Contains("DATA")));
  EXPECT_THAT(logLines(), ElementsAre("Problem restoring msg from  to InBox"));
}

TEST_F(MessageActions, ARestoreIsLoggedBeforeTheSessionEnds) {
  std::string logAtQuit;
  outbox_->onCommand = [&logAtQuit](const std::string& line) {
    if (line == "QUIT") logAtQuit = form1.LogWindow.text();
  };
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(logAtQuit, EndsWith("] Restore msg from a@x.example to InBox\r\n"));
  outbox_->answers["RCPT"] = "550 no\r\n";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(logAtQuit, EndsWith("] Problem restoring msg from a@x.example to InBox\r\n"));
}

TEST_F(MessageActions, ARestoreBoxWhoseRowNamesNoFileOfTheSpamBoxIsAProblem) {
  row(0, "", "");
  row(1, "..\\data\\friendlist", "evil");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&R1=1&END=1");
  EXPECT_THAT(logLines(), ElementsAre("Problem restoring msg from  to InBox",
                                      "Problem restoring msg from evil to InBox"));
  EXPECT_THAT(outbox_->commands, IsEmpty());
}

TEST_F(MessageActions, WhatCouldNotBeRestoredIsNotDeletedBehindIt) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  makeFile("\\spam\\b.txt", "From: b@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  outbox_->answers["RCPT"] = "550 no\r\n";
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&D0=1&D1=1&END=1");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "From: a@x.example\r\n");
  EXPECT_EQ(contentOf("\\spam\\b.txt"), "(missing)");
  EXPECT_THAT(logLines(),
              ElementsAre("Problem restoring msg from a@x.example to InBox",
                          "**Not deleted, since it could not be restored: a.txt", "Delete spam from bob"));
}

TEST_F(MessageActions, WhatWasRestoredIsDeletedWhereBothBoxesAreChecked) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&D0=1&END=1");
  EXPECT_EQ(sent(), "From: a@x.example\r\n");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "(missing)");
}

TEST_F(MessageActions, AMessageIsRestoredBeforeItIsDeletedInWhateverOrderTheBoxesCome) {
  for (const char* key : {"a", "b"})
    makeFile("\\spam\\" + std::string(key) + ".txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D0=1&D1=1&R0=1&END=1");
  EXPECT_THAT(logLines(), ElementsAre("Restore msg from a@x.example to InBox", "Delete spam from bob",
                                      "Delete spam from ann"));
  EXPECT_EQ(sent(), "From: a@x.example\r\n");
}

TEST_F(MessageActions, SendersOfRestoredMessagesBecomeFriendsWhereTheBrowserAsksForIt) {
  makeFile("\\data\\friendlist.txt", "@friend.example\r\n");
  makeFile("\\spam\\a.txt", "From: \"O'Hara\" <Ann.O'Hara@x.example>\r\n");
  makeFile("\\spam\\b.txt", "From: bob@friend.example\r\n");
  makeFile("\\spam\\c.txt", "From: eve@x.example\r\n");
  row(0, "a", "OHara <Ann.OHara@x.example>");
  row(1, "b", "bob@friend.example");
  row(2, "c", "eve@x.example");
  form1.requestByGateway = true;
  post("SPAMBOX", "befriend=1&SUBMIT3=RESTORE-DELETE&R0=1&R1=1&D2=1&END=1");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "@friend.example\r\nann.o'hara@x.example\r\n");
  EXPECT_EQ(logLines().front(), "FriendList add: ann.o'hara@x.example") << "before the message can come back";
  EXPECT_EQ(outcomes.restore.text, "2 restored, \"ann.o'hara@x.example\" put on the FriendList, 1 deleted");
}

TEST_F(MessageActions, ThePlainWireKnowsNoFieldThatMakesFriends) {
  makeFile("\\data\\friendlist.txt", "");
  makeFile("\\spam\\a.txt", "From: ann@x.example\r\n");
  row(0, "a", "ann");
  post("SPAMBOX", "befriend=1&SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "");
}

TEST_F(MessageActions, ASenderWhoseAddressWouldNeedAQuestionIsNotMadeAFriend) {
  settings.EMAIL_ADDRESS = "wilma@home.example";
  makeFile("\\data\\friendlist.txt", "");
  makeFile("\\data\\enemylist.txt", "@enemy.example\r\n");
  makeFile("\\spam\\a.txt", "From: wilma@home.example\r\n");
  makeFile("\\spam\\b.txt", "From: <e@a>\r\n");
  makeFile("\\spam\\c.txt", "From: x@enemy.example\r\n");
  makeFile("\\spam\\d.txt", "From: nobody\r\n");
  for (int i = 0; i < 4; ++i) row(i, std::string(1, static_cast<char>('a' + i)), "x");
  form1.requestByGateway = true;
  post("SPAMBOX", "befriend=1&SUBMIT3=RESTORE-DELETE&R0=1&R1=1&R2=1&R3=1&END=1");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "");
  EXPECT_EQ(outcomes.restore.text,
            "4 restored, 4 senders not put on the FriendList: do that by hand if it has to be");
}

// Two windows of a browser: the page that was built last owns the rows.
TEST_F(MessageActions, ABoxOfAnOlderPageDoesNothingToTheMessageThatStandsInItsRowNow) {
  for (const char* key : {"a", "b", "c"})
    makeFile("\\spam\\" + std::string(key) + ".txt", "From: " + std::string(key) + "@x.example\r\n");
  makeFile("\\data\\friendlist.txt", "");
  row(0, "a", "ann");
  row(1, "b", "bob");
  row(2, "c", "cy");
  form1.requestByGateway = true;
  post("SPAMBOX", "befriend=1&SUBMIT3=RESTORE-DELETE&D0=" + rowStamp("z") + "&D1=" + rowStamp("b") +
                      "&R2=" + rowStamp("z") + "&D2=" + rowStamp("c") + "&END=1");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "From: a@x.example\r\n");
  EXPECT_EQ(contentOf("\\spam\\b.txt"), "(missing)");
  EXPECT_EQ(contentOf("\\spam\\c.txt"), "From: c@x.example\r\n");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "");
  EXPECT_EQ(sent(), "");
  EXPECT_THAT(logLines(),
              ElementsAre("**Not deleted, since row 0 holds another message now", "Delete spam from bob",
                          "**Not restored, since row 2 holds another message now",
                          "**Not deleted, since it could not be restored: c.txt"));
  EXPECT_EQ(outcomes.deletion.text, "1 deleted, 2 could not be: the event log tells why");
}

TEST_F(MessageActions, WhyOneMessageCouldNotBeRestoredIsToldAlthoughTheNextOneCouldBe) {
  for (const char* key : {"a", "b"})
    makeFile("\\spam\\" + std::string(key) + ".txt", "From: " + std::string(key) + "@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  outbox_->answers["RCPT"] = "550 no\r\n";
  form1.LogWindow.onAppend = [this](std::string_view line) {
    if (line.find("Problem restoring") != std::string_view::npos) outbox_->answers.clear();
  };
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&R1=1&END=1");
  EXPECT_THAT(outcomes.restore.text, StartsWith("1 restored, 1 could not be: "));
  EXPECT_THAT(outcomes.restore.text, HasSubstr("said: \"550 no\""));
  EXPECT_EQ(outcomes.failure.text, "") << "the Inbox page would say that the mailbox was not reached";
}

TEST_F(MessageActions, PagesTellOfARestoreAndADeletionInOneSentence) {
  for (const char* key : {"a", "b"})
    makeFile("\\spam\\" + std::string(key) + ".txt", "From: " + std::string(key) + "@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  row(2, "", "eve");
  outbox_->answers["RCPT"] = "550 no\r\n";
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&D1=1&D2=1&END=1");
  EXPECT_THAT(outcomes.restore.text, StartsWith("0 restored, 1 could not be: "));
  EXPECT_THAT(outcomes.restore.text, EndsWith(", 1 deleted, 1 not deleted: the event log tells why"));
  EXPECT_FALSE(outcomes.restore.good);
  EXPECT_GT(outcomes.restore.order, outcomes.deletion.order) << "it is what happened last";
}

TEST_F(MessageActions, TheReasonOfOneMessageIsNotThatOfALaterOneWithout) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  row(1, "", "eve");
  outbox_->answers["RCPT"] = "550 no\r\n";
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&R1=1&END=1");
  EXPECT_EQ(outcomes.restore.text, "0 restored, 2 could not be: the event log tells why");
}

TEST_F(MessageActions, AReasonOfAnEarlierTaskIsNoReasonOfThisOne) {
  lastMailFailures.smtp.reason = MailReason::unreachable;
  row(0, "", "ann");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  EXPECT_EQ(outcomes.restore.text, "0 restored, 1 could not be: the event log tells why");
}

TEST_F(MessageActions, WhatHasBeenRestoredIsKnownUntilItIsDeleted) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  EXPECT_FALSE(wasRestored("a"));
  outbox_->answers["RCPT"] = "550 no\r\n";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  EXPECT_FALSE(wasRestored("a"));
  outbox_->answers.clear();
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  EXPECT_TRUE(wasRestored("a"));
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D0=1&END=1");
  EXPECT_FALSE(wasRestored("a"));
}

}  // namespace
}  // namespace vornelle

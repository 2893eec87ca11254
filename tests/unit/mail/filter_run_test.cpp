#include "mail/filter_run.h"

#include <algorithm>

#include "core/settings.h"
#include "core/text.h"
#include "mail/mail_component.h"
#include "platform/shell.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class FilterRun : public SimTest {
 protected:
  FilterRun() {
    assignConstants();
    settings.POP_SERVER = "mail.example";
    settings.POP_ACCOUNT = "joe";
    settings.POP_PASSWORD = "secret";
    EXPECT_TRUE(createFolder(inFolder("\\spam")));
    makeFile("\\data\\friendlist.txt", "@friends.example\r\n");
    makeFile("\\data\\subjectlist.txt", "");
    makeFile("\\data\\enemylist.txt", "");
    drop.serve("mail.example");
  }

  ~FilterRun() override {
    currentMail.reset();
    resetProgramState();
  }

  static std::string mailFrom(const std::string& sender, const std::string& subject = "hello") {
    return "From: " + sender + "\r\nSubject: " + subject + "\r\n\r\nA body.\r\n.\r\n";
  }

  void add(const std::string& uidl, const std::string& sender, const std::string& subject = "hello") {
    drop.mails.push_back({.uidl = uidl, .source = mailFrom(sender, subject)});
  }

  // The lines of the log box without their time stamps, as far as they are new.
  std::vector<std::string> newLog() {
    std::vector<std::string> lines = splitLines(form1.LogWindow.text().substr(logSeen_));
    logSeen_ = form1.LogWindow.text().size();
    for (std::string& line : lines) line.erase(0, line.find("] ") + 2);
    return lines;
  }

  std::vector<std::string> runLog() {
    mailFilter();
    return newLog();
  }

  // Whether the message stays in the mailbox when it is filtered alone.
  bool isKept(const SimMail& mail) {
    drop.mails = {mail};
    mailFilter();
    return !drop.mails.empty();
  }
  bool isKept(const std::string& sender, const std::string& subject = "hello") {
    return isKept({.uidl = "u", .source = mailFrom(sender, subject)});
  }

  static bool isSaved(const std::string& uidl, const std::string& source) {
    return contentOf("\\spam\\" + uidl + ".txt") == source + "\r\n";
  }

  SimMaildrop drop;

 private:
  std::size_t logSeen_ = 0;
};

// ---- whether there is a run at all ----

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

TEST_F(FilterRun, AnEmptyMailboxGivesOnlyTheClosingLine) {
  makeFile("\\spam\\old1.txt", "\r\n");
  makeFile("\\spam\\old2.txt", "\r\n");
  EXPECT_THAT(runLog(), ElementsAre("Mail filtered:  0 msgs.  2 spam."));
  EXPECT_EQ(drop.quits, 1);
}

// ---- the verdict ----

TEST_F(FilterRun, AMessageOfNobodyKnownIsSpam) {
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
  EXPECT_FALSE(isKept(""));
}

TEST_F(FilterRun, AFriendsMessageIsKeptWhateverItsLetterCase) {
  EXPECT_TRUE(isKept("bob@friends.example"));
  EXPECT_TRUE(isKept("\"Bob\" <BOB@Friends.EXAMPLE>"));
  makeFile("\\data\\friendlist.txt", "EVE@Elsewhere\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
}

TEST_F(FilterRun, AnEntryWithALeadingBlankMatchesOnlySendersWithThatBlank) {
  makeFile("\\data\\friendlist.txt", " bob@example.org\r\n");
  EXPECT_TRUE(isKept("To Bob bob@example.org"));
  EXPECT_FALSE(isKept("bob@example.org"));
}

TEST_F(FilterRun, AnEntryOfBlanksMatchesNothing) {
  makeFile("\\data\\friendlist.txt", "\r\n        \r\n\r\n");
  EXPECT_FALSE(isKept("Bob         Smith <bob@example.org>"));
}

TEST_F(FilterRun, AMessageWithAListedSubjectIsKept) {
  makeFile("\\data\\subjectlist.txt", "Weekly Report\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example", "your weekly report of May"));
  EXPECT_FALSE(isKept("eve@elsewhere.example", "your weekly"));
  EXPECT_FALSE(isKept("weekly report <eve@elsewhere.example>"));
}

TEST_F(FilterRun, TheFriendListDoesNotLookAtSubjects) {
  EXPECT_FALSE(isKept("eve@elsewhere.example", "bob@friends.example"));
}

TEST_F(FilterRun, ASenderOnBothListsIsSpam) {
  makeFile("\\data\\enemylist.txt", "BOB@\r\n");
  EXPECT_FALSE(isKept("bob@friends.example"));
  EXPECT_TRUE(isKept("ada@friends.example"));
}

TEST_F(FilterRun, TheEnemyListOverridesSubjectAndSize) {
  makeFile("\\data\\subjectlist.txt", "report\r\n");
  makeFile("\\data\\enemylist.txt", "@elsewhere\r\n");
  EXPECT_FALSE(isKept("eve@elsewhere.example", "report"));
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 157201}));
}

TEST_F(FilterRun, AMessageOverTheSizeLimitIsKept) {
  EXPECT_TRUE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 157201}));
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 157200}));
  settings.MAX_SPAM_SIZE = 10;
  EXPECT_TRUE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 10481}));
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 10480}));
}

// Single precision has no number between 30000 and 30000.002.
TEST_F(FilterRun, TheSizeIsComparedInSinglePrecision) {
  settings.MAX_SPAM_SIZE = 30000;
  EXPECT_FALSE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 31440001}));
  EXPECT_TRUE(isKept({.uidl = "u", .source = mailFrom("eve@elsewhere.example"), .size = 31440002}));
}

TEST_F(FilterRun, TheListsAreReadAfreshForEachRun) {
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
  makeFile("\\data\\friendlist.txt", "eve@elsewhere.example\r\n");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
}

TEST_F(FilterRun, MissingSubjectAndEnemyListsHaveNoEntries) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\subjectlist.txt")));
  ASSERT_TRUE(deleteFile(inFolder("\\data\\enemylist.txt")));
  EXPECT_TRUE(isKept("bob@friends.example"));
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
}

TEST_F(FilterRun, OnlyTheFirstTenThousandLinesOfAListAreUsed) {
  std::string list;
  for (int n = 0; n < 9999; ++n) list += "nobody@" + std::to_string(n) + ".invalid\r\n";
  makeFile("\\data\\friendlist.txt", list + "ada@elsewhere\r\nbob@elsewhere\r\n");
  EXPECT_TRUE(isKept("ada@elsewhere.example"));
  EXPECT_THAT(newLog(), ElementsAre("**FriendList has 10001 lines, only the first 10000 are used",
                                    HasSubstr("Mail filtered:")));
  EXPECT_FALSE(isKept("bob@elsewhere.example"));
}

TEST_F(FilterRun, MailIsNotJudgedByAListThatCannotBeRead) {
  makeFile("\\data\\enemylist.txt", "mallory\r\n");
  sim::failReadsOf("FriendList");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
  EXPECT_EQ(newLog()[0], "**FriendList cannot be read");
  EXPECT_FALSE(isKept("mallory@elsewhere.example"));
  sim::failReadsOf("SubjectList");
  EXPECT_TRUE(isKept("eve@elsewhere.example"));
  sim::failReadsOf("EnemyList");
  EXPECT_FALSE(isKept("eve@elsewhere.example"));
  EXPECT_TRUE(isKept("ada@friends.example"));
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

TEST_F(FilterRun, ALargeMailboxOnAPipeliningServerIsFilteredWhole) {
  drop.pipelining = true;
  for (int n = 0; n < 1500; ++n)
    add("id" + std::to_string(n), n % 2 == 0 ? "eve@elsewhere.example" : "bob@friends.example");
  mailFilter();
  EXPECT_EQ(newLog().back(), "Mail filtered:  750 msgs.  750 spam.");
  EXPECT_EQ(drop.mails.size(), 750u);
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

// ---- failures: no message is gone that is not whole in the SpamBox ----

TEST_F(FilterRun, AMessageThatCannotBeRetrievedLeavesOneLineEndAndStays) {
  add("id1", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from <no name>", "Mail filtered:  0 msgs.  1 spam."));
  EXPECT_EQ(contentOf("\\spam\\id1.txt"), "\r\n");
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));

  drop.mails[0].refused = false;
  const std::string source = drop.mails[0].source;
  mailFilter();
  EXPECT_TRUE(isSaved("id1", source));
  EXPECT_THAT(drop.mails, IsEmpty());
}

TEST_F(FilterRun, ASavedMessageIsNotReplacedWhenItCannotBeRetrievedAgain) {
  makeFile("\\spam\\id1.txt", "the message\r\n");
  add("id1", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from <no name>", "Mail filtered:  0 msgs.  1 spam."));
  EXPECT_EQ(contentOf("\\spam\\id1.txt"), "the message\r\n");
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

TEST_F(FilterRun, SpamThatCannotBeWrittenStaysUnloggedAndUncounted) {
  add("id1", "eve@elsewhere.example");
  add("id2", "eve@elsewhere.example");
  sim::failWritesTo("id1");
  EXPECT_THAT(runLog(), ElementsAre(HasSubstr("Removing spam"), "Mail filtered:  1 msgs.  1 spam."));
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

// What stands there may be the empty file of a failed retrieval.
TEST_F(FilterRun, AnEarlierFileDoesNotMakeAFailedWriteCountAsSaved) {
  makeFile("\\spam\\id1.txt", "\r\n");
  add("id1", "eve@elsewhere.example");
  sim::failWritesTo("id1");
  EXPECT_THAT(runLog(), ElementsAre("Mail filtered:  1 msgs.  1 spam."));
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

TEST_F(FilterRun, AMissingSpamFolderKeepsEverythingOnTheServer) {
  sim::reset();
  makeFile("\\data\\friendlist.txt", "@friends.example\r\n");
  drop.serve("mail.example");
  add("id1", "eve@elsewhere.example");
  EXPECT_THAT(runLog(), ElementsAre("Mail filtered:  1 msgs.  0 spam."));
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

TEST_F(FilterRun, SpamWithoutAUniqueIdIsKept) {
  drop.uidlUnknown = true;
  add("", "eve@elsewhere.example");
  mailFilter();
  EXPECT_THAT(newLog(), Not(testing::Contains(HasSubstr("Removing"))));
  EXPECT_EQ(drop.mails.size(), 1u);
  EXPECT_EQ(contentOf("\\spam\\.txt"), "(missing)");
  EXPECT_THAT(listFolder(inFolder("\\spam"), ""), IsEmpty());
}

TEST_F(FilterRun, ALineCutInAMessageDeletesNothing) {
  for (const char* cutAt : {"RETR 1", "RETR 2", "DELE 1", "DELE 2", "TOP 2", "UIDL", "LIST"}) {
    drop.mails.clear();
    add("id1", "eve@elsewhere.example");
    add("id2", "eve@elsewhere.example");
    const std::vector<SimMail> before = drop.mails;
    drop.cutAt = cutAt;
    mailFilter();
    EXPECT_THAT(drop.uidls(), ElementsAre("id1", "id2")) << cutAt;

    // The next run, on a line that holds, saves both whole.
    drop.cutAt = "";
    mailFilter();
    EXPECT_THAT(drop.mails, IsEmpty()) << cutAt;
    EXPECT_TRUE(isSaved("id1", before[0].source)) << cutAt;
    EXPECT_TRUE(isSaved("id2", before[1].source)) << cutAt;
  }
}

TEST_F(FilterRun, AFailedHeaderListEndsInAnOrdinaryClosingLine) {
  add("id1", "eve@elsewhere.example");
  drop.cutAt = "LIST";
  EXPECT_THAT(runLog(), testing::Contains(HasSubstr("Mail filtered:  0 msgs.  0 spam.")));
}

// Of a repeated unique-id it is not known which message it means: whatever is gone must be whole in the
// SpamBox.
TEST_F(FilterRun, ARepeatedUniqueIdLosesNoMessage) {
  add("same", "eve@elsewhere.example", "first");
  add("same", "eve@elsewhere.example", "second");
  const std::vector<SimMail> before = drop.mails;
  for (int run = 0; run < 3; ++run) mailFilter();
  for (const SimMail& mail : before) {
    bool onServer = false;
    for (const SimMail& left : drop.mails) onServer = onServer || left.source == mail.source;
    EXPECT_TRUE(onServer || isSaved("same", mail.source)) << mail.source;
  }
}

// ---- runs and tasks that start inside a run ----

TEST_F(FilterRun, EventsAreServedOnceForEachMessage) {
  for (int n = 0; n < 3; ++n) add("keep" + std::to_string(n), "bob@friends.example");
  int served = 0;
  std::vector<int> servedAtCommand;
  for (int n = 0; n < 3; ++n) sim::after(0, [&] { ++served; });
  drop.onCommand = [&](const std::string& line) {
    if (line == "QUIT") servedAtCommand.push_back(served);
  };
  mailFilter();
  EXPECT_THAT(servedAtCommand, ElementsAre(3));
}

TEST_F(FilterRun, ASecondRunInsideTheFirstLosesNothing) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "bob@friends.example");
  add("id3", "mallory@elsewhere.example", "three");
  const std::vector<SimMail> before = drop.mails;
  sim::after(0, [] { mailFilter(); });
  const std::vector<std::string> lines = runLog();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "Mail filtered:  1 msgs.  2 spam."), 2);
  EXPECT_THAT(drop.uidls(), ElementsAre("id2"));
  EXPECT_TRUE(isSaved("id1", before[0].source));
  EXPECT_TRUE(isSaved("id3", before[2].source));
  EXPECT_EQ(drop.sessions, 2);
  EXPECT_EQ(drop.quits, 2);
}

TEST_F(FilterRun, ASecondRunFromTheLogLineOfASavedMessageLosesNothing) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "mallory@elsewhere.example", "two");
  const std::vector<SimMail> before = drop.mails;
  bool nested = false;
  drop.onCommand = [&](const std::string& line) {
    if (line == "RETR 1" && !nested) {
      nested = true;
      sim::after(0, [] { mailFilter(); });  // served when "Removing spam from " is logged
    }
  };
  mailFilter();
  EXPECT_TRUE(nested);
  EXPECT_THAT(drop.mails, IsEmpty());
  EXPECT_TRUE(isSaved("id1", before[0].source));
  EXPECT_TRUE(isSaved("id2", before[1].source));
}

TEST_F(FilterRun, ATaskThatReplacesTheComponentStopsTheDeletions) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "mallory@elsewhere.example", "two");
  const std::vector<SimMail> before = drop.mails;
  sim::after(0, [] {
    static_cast<void>(newPopComponent().popConnect());
    currentMail.reset();
  });
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id1", "id2"));
  EXPECT_EQ(contentOf("\\spam\\id1.txt"), "\r\n");
  mailFilter();
  EXPECT_THAT(drop.mails, IsEmpty());
  EXPECT_TRUE(isSaved("id1", before[0].source));
  EXPECT_TRUE(isSaved("id2", before[1].source));
}

// A session in which the retrieval has not failed would delete the message.
TEST_F(FilterRun, AMessageThatWasNotRetrievedIsNotDeletedThroughTheSessionOfAnotherTask) {
  add("id1", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  drop.onCommand = [](const std::string& line) {
    if (line == "RETR 1") sim::after(0, [] { static_cast<void>(newPopComponent().popConnect()); });
  };
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

TEST_F(FilterRun, AComponentLeftByAFailedLogOnInTheMiddleLosesNothing) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "mallory@elsewhere.example", "two");
  sim::after(0, [this] {
    drop.logOnRefused = true;
    static_cast<void>(newPopComponent().popConnect());
    drop.logOnRefused = false;
  });
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id1", "id2"));
  EXPECT_EQ(currentMail, nullptr);
}

}  // namespace
}  // namespace vornelle

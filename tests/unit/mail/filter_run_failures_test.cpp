// Faults in the middle of a filter run: no message is gone that is not whole in the SpamBox.
#include "core/activity.h"
#include "tests/unit/mail/filter_run_fixture.h"

namespace vornelle {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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

// The closing line of the log counts them as spam.
TEST_F(FilterRun, ThePagesTellWhyCaughtMessagesCouldNotBeFetched) {
  add("id1", "eve@elsewhere.example");
  add("id2", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  mailFilter();
  EXPECT_FALSE(outcomes.filterRun.good);
  EXPECT_THAT(outcomes.filterRun.text,
              testing::StartsWith("Mail filtered:  0 msgs.  2 spam. 1 message could not be fetched and stays "
                                  "in the mailbox: While a message was being fetched, mail.example"));
  add("id3", "eve@elsewhere.example");
  drop.cutAt = "RETR 2";
  mailFilter();
  EXPECT_THAT(outcomes.filterRun.text,
              HasSubstr(" 2 messages could not be fetched and stay in the mailbox: While a message was being "
                        "fetched, mail.example (port 110) closed the connection"));
  drop.cutAt.clear();
  drop.mails[0].refused = false;
  mailFilter();
  EXPECT_TRUE(outcomes.filterRun.good);
  EXPECT_THAT(outcomes.filterRun.text, testing::EndsWith(" spam."));
}

TEST_F(FilterRun, MessagesThatAnotherRunHasTakenMeanwhileAreNotSaidToStay) {
  add("id1", "eve@elsewhere.example");
  add("id2", "eve@elsewhere.example");
  sim::after(0, [] { mailFilter(); });
  mailFilter();
  EXPECT_THAT(drop.mails, IsEmpty());
  EXPECT_THAT(outcomes.filterRun.text,
              HasSubstr("could not be fetched: something else has used the mailbox"));
}

TEST_F(FilterRun, AMessageWithoutAHeaderIsJudgedByNobody) {
  add("id1", "eve@elsewhere.example");
  add("id2", "eve@elsewhere.example");
  drop.mails[0].refused = drop.mails[0].topRefused = true;
  EXPECT_THAT(runLog(),
              ElementsAre("Removing spam from eve@elsewhere.example", "Mail filtered:  1 msgs.  1 spam."));
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
  EXPECT_FALSE(fileExists(inFolder("\\spam\\id1.txt")));
}

TEST_F(FilterRun, ASavedMessageIsNotReplacedWhenItCannotBeRetrievedAgain) {
  makeFile("\\spam\\id1.txt", "the message\r\n");
  add("id1", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from <no name>", "Mail filtered:  0 msgs.  1 spam."));
  EXPECT_EQ(contentOf("\\spam\\id1.txt"), "the message\r\n");
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

TEST_F(FilterRun, InTestModeAMessageThatCannotBeRetrievedIsLoggedLikeAnyOther) {
  form1.ckTestMode.setChecked(true);
  add("id1", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  EXPECT_THAT(runLog(), ElementsAre("Removing spam from <no name>",
                                    "**TEST MODE: Msg copied to SpamBox, not removed from InBox",
                                    "Mail filtered:  0 msgs.  1 spam."));
}

TEST_F(FilterRun, ADeletionThatFailsIsNotReported) {
  add("id1", "eve@elsewhere.example");
  drop.mails[0].undeletable = true;
  EXPECT_THAT(runLog(),
              ElementsAre("Removing spam from eve@elsewhere.example", "Mail filtered:  0 msgs.  1 spam."));
  EXPECT_TRUE(isSaved("id1", drop.mails[0].source));
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
  EXPECT_THAT(newLog(), Not(Contains(HasSubstr("Removing"))));
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
  EXPECT_THAT(runLog(), Contains(HasSubstr("Mail filtered:  0 msgs.  0 spam.")));
}

TEST_F(FilterRun, OfARepeatedUniqueIdTheLaterMessageIsInTheFile) {
  add("same", "eve@elsewhere.example", "first");
  add("same", "eve@elsewhere.example", "second");
  const std::string later = drop.mails[1].source;
  EXPECT_THAT(runLog(),
              ElementsAre(HasSubstr("Removing"), HasSubstr("Removing"), "Mail filtered:  0 msgs.  1 spam."));
  EXPECT_TRUE(isSaved("same", later));
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

}  // namespace
}  // namespace vornelle

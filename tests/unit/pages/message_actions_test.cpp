#include "pages/message_actions.h"

#include "core/activity.h"
#include "pages/message_rows.h"
#include "tests/unit/pages/message_actions_fixture.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string kNoLogOn =
    "<html><body><h2>Cannot log onto POP3 server. Try again later.</h2>\r\n"
    "<a href='Javascript:history.back();'>Go Back</a>\r\n</body></html>";
const std::string kGone =
    "<html><body><h2>Requested email does not exist!</h2>\r\n"
    "<a href='Javascript:history.back();'>Go Back</a>\r\n</body></html>";

// ---- showing a message of the Inbox ----

TEST_F(MessageActions, ShowingWithoutALogOnBeepsLogsAndSaysSo) {
  mailbox_.logOnRefused = true;
  EXPECT_EQ(showMessage("a"), kNoLogOn);
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logLines(), ElementsAre("**Cannot log onto POP3 server."));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, ShowingAMessageThatIsGoneBeepsLogsAndSaysSo) {
  mailbox_.add("a", "bob@x.example", "Hi");
  EXPECT_EQ(showMessage("b"), kGone);
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logLines(), ElementsAre("**Requested email does not exist!"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, AMessageThatIsGoneIsLoggedBeforeTheSessionEnds) {
  mailbox_.add("one", "a@x.example", "s");
  std::string logAtQuit;
  mailbox_.onCommand = [&](const std::string& line) {
    if (line == "QUIT") logAtQuit = form1.LogWindow.text();
  };
  EXPECT_EQ(showMessage("two"), kGone);
  EXPECT_THAT(logAtQuit, EndsWith("] **Requested email does not exist!\r\n"));
}

TEST_F(MessageActions, AMessageWithoutAnIdIsNoOnes) {
  mailbox_.add("", "bob@x.example", "Hi");
  EXPECT_EQ(showMessage(""), kGone);
}

TEST_F(MessageActions, AnHtmlBodyIsShownUntouchedBeforeAPlainOne) {
  mailbox_.mails.push_back({"a",
                            "MIME-Version: 1.0\r\nContent-Type: multipart/alternative; boundary=X\r\n\r\n"
                            "--X\r\nContent-Type: text/plain\r\n\r\nplain <text>\r\n"
                            "--X\r\nContent-Type: text/html\r\n\r\n<p>\"Hi\" & <b>bye</b></p>\r\n--X--\r\n"});
  EXPECT_THAT(showMessage("a"), HasSubstr("<p>\"Hi\" & <b>bye</b></p>"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, APlainBodyIsMadeIntoHtml) {
  mailbox_.mails.push_back({"a", "Subject: x\r\nContent-Type: text/plain\r\n\r\n1 < 2 & \"3\"\r\nend\r\n"});
  EXPECT_THAT(showMessage("a"), testing::StartsWith("1 &lt; 2 & &quot;3&quot;\r\n<br>end"));
}

TEST_F(MessageActions, ABodyOfAnotherKindIsShownAsItsText) {
  mailbox_.mails.push_back({"a", "Content-Type: application/x-thing\r\n\r\n<odd>\r\n"});
  EXPECT_THAT(showMessage("a"), HasSubstr("&lt;odd&gt;"));
}

TEST_F(MessageActions, IdsAreComparedWithoutRegardToCaseButTheExactOneComesFirst) {
  mailbox_.mails.push_back({"ABC", "Content-Type: text/html\r\n\r\nupper\r\n"});
  mailbox_.mails.push_back({"abc", "Content-Type: text/html\r\n\r\nlower\r\n"});
  EXPECT_THAT(showMessage("abc"), HasSubstr("lower"));
  EXPECT_THAT(showMessage("Abc"), HasSubstr("upper"));
}

TEST_F(MessageActions, AnIdThatTheBrowserHasEncodedIsFound) {
  mailbox_.mails.push_back({"a\"b", "Content-Type: text/html\r\n\r\nquoted\r\n"});
  EXPECT_THAT(showMessage("a%22b"), HasSubstr("quoted"));
}

// ---- showing a SpamBox file ----

TEST_F(MessageActions, ASpamFileIsShownAsItsWholeSource) {
  makeFile("\\spam\\abc.txt", "From: \"Bob\" <b@x>\r\n\r\n<script>\r\n");
  EXPECT_EQ(showSpam("abc.txt"), "From: &quot;Bob&quot; &lt;b@x&gt;\r\n<br>\r\n<br>&lt;script&gt;\r\n<br>");
}

TEST_F(MessageActions, ALastLineWithoutAnEndGetsOne) {
  makeFile("\\spam\\abc.txt", "x");
  EXPECT_EQ(showSpam("abc.txt"), "x\r\n<br>");
}

TEST_F(MessageActions, AMissingSpamFileIsEmpty) {
  EXPECT_EQ(showSpam("nothing.txt"), "");
}

TEST_F(MessageActions, NoNameLeadsOutOfTheSpamBox) {
  makeFile("\\Vornelle.ini", "POP_PASSWORD=secret");
  for (const char* name : {"..\\Vornelle.ini", "../Vornelle.ini", "..%5CVornelle.ini", "..%2FVornelle.ini",
                           "C:\\Vornelle.ini", ""}) {
    EXPECT_EQ(showSpam(name), "") << name;
  }
}

TEST_F(MessageActions, AKeyWithAnEncodedCharacterIsShownLikeAnyOther) {
  makeFile("\\spam\\a%3Ab.txt", "encoded");
  makeFile("\\spam\\a b.txt", "blank");
  EXPECT_EQ(showSpam("a%3Ab.txt"), "encoded\r\n<br>");
  EXPECT_EQ(showSpam("a%20b.txt"), "blank\r\n<br>");
}

// ---- deleting from the Inbox ----

TEST_F(MessageActions, CheckedRowsOfTheInboxAreDeletedWhenTheSessionEnds) {
  for (const char* id : {"a", "b", "c"}) mailbox_.add(id, "x@x.example", "s");
  row(0, "a", "ann");
  row(2, "c", "cid");
  post("INBOX", "SUBMIT3=DELETE&D0=1&D2=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("b"));
  EXPECT_THAT(logLines(), ElementsAre("Delete mail from ann", "Delete mail from cid"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, DeletingWithoutALogOnBeepsAndLogs) {
  mailbox_.logOnRefused = true;
  row(0, "a", "ann");
  post("INBOX", "SUBMIT3=DELETE&D0=1&END=1");
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logLines(), ElementsAre("**Cannot log onto POP3 server!"));
}

TEST_F(MessageActions, LetterCaseOfTheButtonDoesNotCount) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  post("INBOX", "submit3=delete&D0=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), IsEmpty());
}

TEST_F(MessageActions, AFormWithoutTheButtonChecksNothing) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  for (const char* fields : {"D0=1&END=1", "SUBMIT3=OTHER&D0=1&END=1", "SUBMIT3=DELETE"}) {
    post("INBOX", fields);
  }
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
  EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(MessageActions, AFormThatIsCutOffBeforeItsEndChecksNothing) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  post("INBOX", "SUBMIT3=DELETE&D0=1&D1=1");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
}

TEST_F(MessageActions, OnlyAPrefixAndDigitsNameARow) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  post("INBOX", "SUBMIT3=DELETE&Dx=1&D=1&D-0=1&DELETE=1&d0=1&X0=1&D0&D 0=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
}

TEST_F(MessageActions, RowsAboveTenThousandAreSkipped) {
  mailbox_.add("a", "x@x.example", "s");
  row(10000, "a", "ann");
  post("INBOX", "SUBMIT3=DELETE&D10001=1&D99999999999=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
  post("INBOX", "SUBMIT3=DELETE&D10000=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), IsEmpty());
}

TEST_F(MessageActions, APageThatIsBuiltMeanwhileDoesNotChangeWhatIsDeleted) {
  mailbox_.add("a", "x@x.example", "s");
  mailbox_.add("b", "x@x.example", "s");
  row(0, "a", "ann");
  sim::after(0, [] { row(0, "b", "bob"); });
  post("INBOX", "SUBMIT3=DELETE&D0=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("b"));
}

TEST_F(MessageActions, EventsAreServedBeforeEachCheckedRow) {
  form1.LogWindow.onChange = nullptr;  // writing the log lets events in as well
  for (const char* key : {"a", "b"}) makeFile("\\spam\\" + std::string(key) + ".txt", "x");
  row(0, "a", "ann");
  row(1, "b", "bob");
  std::vector<std::size_t> linesThen;
  const auto look = [&] { linesThen.push_back(logLines().size()); };
  sim::after(0, look);
  form1.LogWindow.onAppend = [&](std::string_view) {
    if (linesThen.size() == 1) sim::after(0, look);
  };
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D0=1&D1=1&END=1");
  EXPECT_THAT(linesThen, ElementsAre(0, 1));
}

TEST_F(MessageActions, ATaskThatTakesTheComponentAwayStopsTheDeletions) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  sim::after(0, [] { currentMail.reset(); });
  post("INBOX", "SUBMIT3=DELETE&D0=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
}

TEST_F(MessageActions, ABoxOfAnOlderPageDeletesNothingFromTheServerEither) {
  mailbox_.add("a", "a@x.example", "Hi");
  mailbox_.add("b", "b@x.example", "Hi");
  row(0, "a", "ann");
  row(1, "b", "bob");
  post("INBOX", "SUBMIT3=DELETE&D0=" + rowStamp("b") + "&D1=" + rowStamp("b") + "&END=1");
  EXPECT_THAT(logLines(),
              ElementsAre("**Not deleted, since row 0 holds another message now", "Delete mail from bob"));
}

TEST_F(MessageActions, WhyAMessageCouldNotBeDeletedFromTheServerIsTold) {
  mailbox_.add("a", "a@x.example", "Hi");
  row(0, "gone", "ann");
  row(1, "a", "bob");
  post("INBOX", "SUBMIT3=DELETE&D0=1&D1=1&END=1");
  EXPECT_THAT(mailbox_.uidls(), IsEmpty());
  EXPECT_THAT(outcomes.deletion.text, StartsWith("1 deleted, 1 could not be: "));
  EXPECT_THAT(outcomes.deletion.text, HasSubstr("does not have that message any more"));

  sim::after(0, [] { currentMail.reset(); });
  post("INBOX", "SUBMIT3=DELETE&D0=1&D1=1&END=1");
  EXPECT_THAT(outcomes.deletion.text, HasSubstr("something else has used the mailbox meanwhile"));
}

// ---- deleting from the SpamBox ----

TEST_F(MessageActions, CheckedRowsOfTheSpamBoxAreDeletedWithoutAServer) {
  makeFile("\\spam\\a.txt", "x");
  makeFile("\\spam\\b.txt", "y");
  row(3, "a", "ann");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D3=1&END=1");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "(missing)");
  EXPECT_EQ(contentOf("\\spam\\b.txt"), "y");
  EXPECT_THAT(logLines(), ElementsAre("Delete spam from ann"));
  EXPECT_EQ(mailbox_.sessions, 0);
}

TEST_F(MessageActions, AMissingSpamFileIsAProblemAndNothingElse) {
  row(0, "gone", "ann");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D0=1&END=1");
  EXPECT_THAT(logLines(), ElementsAre("Problem deleting spam file gone.txt"));
}

TEST_F(MessageActions, AKeyThatLeadsOutOfTheSpamBoxIsAMissingFile) {
  makeFile("\\data\\friendlist.txt", "friend");
  row(0, "..\\data\\friendlist", "evil");
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D0=1&R0=1&END=1");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "friend");
  EXPECT_THAT(outbox_->commands, IsEmpty());
}

TEST_F(MessageActions, ASpamFileThatCannotBeDeletedIsAProblem) {
  makeFile("\\spam\\a.txt", "x");
  row(0, "a", "ann");
  form1.LogWindow.onAppend = [](std::string_view) {
    static_cast<void>(deleteFile(inFolder("\\spam\\a.txt")));  // between the look and the deletion
  };
  post("SPAMBOX", "SUBMIT3=RESTORE-DELETE&D0=1&END=1");
  EXPECT_THAT(logLines(), ElementsAre("Delete spam from ann", "Problem deleting spam file a.txt"));
}

}  // namespace
}  // namespace vornelle

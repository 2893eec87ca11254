#include "pages/message_actions.h"

#include <memory>
#include <string>
#include <vector>

#include "core/activity.h"
#include "mail/mail_component.h"
#include "pages/message_rows.h"
#include "tests/unit/line_server.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// What an SMTP server got.
struct Outbox {
  std::vector<std::string> commands;
  std::string text;
  std::string refuse;  // the verb that is answered 550
  std::string logAtQuit;
};

class OutboxServer : public LineServer {
 public:
  explicit OutboxServer(Outbox& outbox) : outbox_(outbox) {}
  void onConnect(std::string& out) override {
    if (outbox_.refuse == "connect") {
      out += "554 no\r\n";
      closed = true;
    } else {
      out += "220 ready\r\n";
    }
  }

 private:
  void answer(const std::string& line, std::string& out) override {
    if (inText_) {
      if (line == ".") {
        inText_ = false;
        out += outbox_.refuse == "text" ? "554 no\r\n" : "250 taken\r\n";
      } else {
        outbox_.text += line + "\r\n";
      }
      return;
    }
    outbox_.commands.push_back(line);
    const std::string verb = toLower(line.substr(0, line.find(' ')));
    if (!outbox_.refuse.empty() && verb == outbox_.refuse) {
      out += "550 no\r\n";
    } else if (verb == "ehlo") {
      out += "250-mail\r\n250 AUTH LOGIN\r\n";
    } else if (verb == "auth") {
      out += "334 VXNlcm5hbWU6\r\n";
      expected_ = 2;
    } else if (expected_ > 0) {
      out += --expected_ == 0 ? "235 in\r\n" : "334 UGFzc3dvcmQ6\r\n";
    } else if (verb == "data") {
      out += "354 go on\r\n";
      inText_ = true;
    } else if (verb == "quit") {
      outbox_.logAtQuit = form1.LogWindow.text();
      out += "221 bye\r\n";
      closed = true;
    } else {
      out += "250 ok\r\n";
    }
  }
  Outbox& outbox_;
  bool inText_ = false;
  int expected_ = 0;
};

class MessageActions : public PageTest {
 protected:
  MessageActions() {
    EXPECT_TRUE(createFolder(inFolder("\\spam")));
    serve(mailbox_);
    sim::addServer("smtp.example", 25, [this] { return std::make_unique<OutboxServer>(outbox_); });
    settings.SMTP_SERVER = "smtp.example";
    settings.EMAIL_ADDRESS = "joe@home.example";
  }

  // What has been logged, without the time stamps.
  static std::vector<std::string> logged() {
    std::vector<std::string> lines;
    for (const std::string& line : splitLines(form1.LogWindow.text())) {
      lines.push_back(line.substr(std::min(line.size(), line.find("] ") + 2)));
    }
    return lines;
  }

  static void row(int number, const std::string& key, const std::string& sender) {
    form1.rowKey[static_cast<std::size_t>(number)] = key;
    form1.rowSender[static_cast<std::size_t>(number)] = sender;
  }

  static void form(const std::string& fields) {
    form1.requestText = "POST /delete.cgi?s=X HTTP/1.1\r\nHost: x\r\n\r\n" + fields;
  }

  Mailbox mailbox_;
  Outbox outbox_;
};

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
  EXPECT_THAT(logged(), ElementsAre("**Cannot log onto POP3 server."));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, ShowingAMessageThatIsGoneBeepsLogsAndSaysSo) {
  mailbox_.add("a", "bob@x.example", "Hi");
  EXPECT_EQ(showMessage("b"), kGone);
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logged(), ElementsAre("**Requested email does not exist!"));
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
  form("SUBMIT3=DELETE&D0=1&D2=1&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("b"));
  EXPECT_THAT(logged(), ElementsAre("Delete mail from ann", "Delete mail from cid"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, DeletingWithoutALogOnBeepsAndLogs) {
  mailbox_.logOnRefused = true;
  row(0, "a", "ann");
  form("SUBMIT3=DELETE&D0=1&END=1");
  deleteChecked("INBOX");
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logged(), ElementsAre("**Cannot log onto POP3 server!"));
}

TEST_F(MessageActions, LetterCaseOfTheButtonDoesNotCount) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  form("submit3=delete&D0=1&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), IsEmpty());
}

TEST_F(MessageActions, AFormWithoutTheButtonChecksNothing) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  for (const char* fields : {"D0=1&END=1", "SUBMIT3=OTHER&D0=1&END=1", "SUBMIT3=DELETE"}) {
    form(fields);
    deleteChecked("INBOX");
  }
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(MessageActions, AFormThatIsCutOffBeforeItsEndChecksNothing) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  form("SUBMIT3=DELETE&D0=1&D1=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
}

TEST_F(MessageActions, OnlyAPrefixAndDigitsNameARow) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  form("SUBMIT3=DELETE&Dx=1&D=1&D-0=1&DELETE=1&d0=1&X0=1&D0&D 0=1&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
}

TEST_F(MessageActions, RowsAboveTenThousandAreSkipped) {
  mailbox_.add("a", "x@x.example", "s");
  row(10000, "a", "ann");
  form("SUBMIT3=DELETE&D10001=1&D99999999999=1&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
  form("SUBMIT3=DELETE&D10000=1&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), IsEmpty());
}

TEST_F(MessageActions, APageThatIsBuiltMeanwhileDoesNotChangeWhatIsDeleted) {
  mailbox_.add("a", "x@x.example", "s");
  mailbox_.add("b", "x@x.example", "s");
  row(0, "a", "ann");
  form("SUBMIT3=DELETE&D0=1&END=1");
  sim::after(0, [] { row(0, "b", "bob"); });
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("b"));
}

TEST_F(MessageActions, ATaskThatTakesTheComponentAwayStopsTheDeletions) {
  mailbox_.add("a", "x@x.example", "s");
  row(0, "a", "ann");
  form("SUBMIT3=DELETE&D0=1&END=1");
  sim::after(0, [] { currentMail.reset(); });
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), ElementsAre("a"));
}

// ---- deleting from the SpamBox ----

TEST_F(MessageActions, CheckedRowsOfTheSpamBoxAreDeletedWithoutAServer) {
  makeFile("\\spam\\a.txt", "x");
  makeFile("\\spam\\b.txt", "y");
  row(3, "a", "ann");
  form("SUBMIT3=RESTORE-DELETE&D3=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "(missing)");
  EXPECT_EQ(contentOf("\\spam\\b.txt"), "y");
  EXPECT_THAT(logged(), ElementsAre("Delete spam from ann"));
  EXPECT_EQ(mailbox_.sessions, 0);
}

TEST_F(MessageActions, AMissingSpamFileIsAProblemAndNothingElse) {
  row(0, "gone", "ann");
  form("SUBMIT3=RESTORE-DELETE&D0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_THAT(logged(), ElementsAre("Problem deleting spam file gone.txt"));
}

TEST_F(MessageActions, AKeyThatLeadsOutOfTheSpamBoxIsAMissingFile) {
  makeFile("\\data\\friendlist.txt", "friend");
  row(0, "..\\data\\friendlist", "evil");
  form("SUBMIT3=RESTORE-DELETE&D0=1&R0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "friend");
  EXPECT_THAT(outbox_.commands, IsEmpty());
}

// ---- restoring ----

TEST_F(MessageActions, ARestoredMessageIsSentToTheUserAndItsFileStays) {
  makeFile("\\spam\\a.txt", "From: bob@x.example\r\nSubject: s\r\n\r\nbody\r\n\r\n");
  row(0, "a", "bob");
  form("SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_EQ(outbox_.text, "From: bob@x.example\r\nSubject: s\r\n\r\nbody\r\n\r\n");
  EXPECT_THAT(outbox_.commands, testing::Contains(testing::StartsWith("MAIL FROM:<bob@x.example>")));
  EXPECT_THAT(outbox_.commands, testing::Contains(testing::StartsWith("RCPT TO:<joe@home.example>")));
  EXPECT_THAT(logged(), ElementsAre("Restore msg from bob@x.example to InBox"));
  EXPECT_THAT(contentOf("\\spam\\a.txt"), HasSubstr("body"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(MessageActions, TheLineWithTheIdIsSentEmptyAndEndsTheSearchForTheSender) {
  makeFile("\\spam\\a.txt",
           "from: one@x.example\r\nFrom:  two@x.example \r\nX-UIDL: 12\r\nFrom: three@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(outbox_.text, "from: one@x.example\r\nFrom:  two@x.example \r\n\r\nFrom: three@x.example\r\n");
  EXPECT_THAT(logged(), ElementsAre("Restore msg from two@x.example to InBox"));
}

TEST_F(MessageActions, AnIdAtTheVeryStartOfALineIsAnOrdinaryLine) {
  makeFile("\\spam\\a.txt", "UIDL: 12\r\nFrom: two@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(outbox_.text, "UIDL: 12\r\nFrom: two@x.example\r\n");
}

TEST_F(MessageActions, LinesThatEndInAnotherWayAreSentWithCrLf) {
  makeFile("\\spam\\a.txt", "From: a@x.example\n\nbody");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(outbox_.text, "From: a@x.example\r\n\r\nbody\r\n");
}

TEST_F(MessageActions, WithoutAUserNothingIsAuthenticated) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(outbox_.commands, Not(testing::Contains("AUTH LOGIN")));
}

TEST_F(MessageActions, WithAUserTheLogOnComesFirst) {
  settings.SMTP_USER = "joe";
  settings.SMTP_PASSWORD = "pw";
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(outbox_.commands, testing::Contains("AUTH LOGIN"));
  EXPECT_THAT(outbox_.commands, testing::Contains("am9l"));
}

TEST_F(MessageActions, WithoutAConnectionNothingIsRestored) {
  outbox_.refuse = "connect";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logged(), ElementsAre("**Cannot connect to SMTP server!"));
}

TEST_F(MessageActions, WithoutALogOnNothingIsRestored) {
  settings.SMTP_USER = "joe";
  outbox_.refuse = "auth";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(logged(), ElementsAre("**Cannot log onto SMTP server!"));
}

TEST_F(MessageActions, ARefusedMessageIsAProblem) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  outbox_.refuse = "text";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(logged(), ElementsAre("Problem restoring msg from a@x.example to InBox"));
}

TEST_F(MessageActions, AFileThatCannotBeReadIsNotSentEmpty) {
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\gone.txt")));
  EXPECT_THAT(outbox_.commands, Not(testing::Contains("DATA")));
  EXPECT_THAT(logged(), ElementsAre("Problem restoring msg from  to InBox"));
}

TEST_F(MessageActions, ARestoreIsLoggedBeforeTheSessionEnds) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  EXPECT_TRUE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(outbox_.logAtQuit, EndsWith("] Restore msg from a@x.example to InBox\r\n"));
  outbox_.refuse = "rcpt";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  EXPECT_THAT(outbox_.logAtQuit, EndsWith("] Problem restoring msg from a@x.example to InBox\r\n"));
}

TEST_F(MessageActions, ARestoreBoxWhoseRowNamesNoFileOfTheSpamBoxIsAProblem) {
  row(0, "", "");
  row(1, "..\\data\\friendlist", "evil");
  form("SUBMIT3=RESTORE-DELETE&R0=1&R1=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_THAT(logged(), ElementsAre("Problem restoring msg from  to InBox",
                                    "Problem restoring msg from evil to InBox"));
  EXPECT_THAT(outbox_.commands, IsEmpty());
}

TEST_F(MessageActions, WhatCouldNotBeRestoredIsNotDeletedBehindIt) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  makeFile("\\spam\\b.txt", "From: b@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  outbox_.refuse = "rcpt";
  form("SUBMIT3=RESTORE-DELETE&R0=1&D0=1&D1=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "From: a@x.example\r\n");
  EXPECT_EQ(contentOf("\\spam\\b.txt"), "(missing)");
  EXPECT_THAT(logged(),
              ElementsAre("Problem restoring msg from a@x.example to InBox",
                          "**Not deleted, since it could not be restored: a.txt", "Delete spam from bob"));
}

TEST_F(MessageActions, WhatWasRestoredIsDeletedWhereBothBoxesAreChecked) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  form("SUBMIT3=RESTORE-DELETE&R0=1&D0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_EQ(outbox_.text, "From: a@x.example\r\n");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "(missing)");
}

TEST_F(MessageActions, AMessageIsRestoredBeforeItIsDeletedInWhateverOrderTheBoxesCome) {
  for (const char* key : {"a", "b"})
    makeFile("\\spam\\" + std::string(key) + ".txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  form("SUBMIT3=RESTORE-DELETE&D0=1&D1=1&R0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_THAT(logged(), ElementsAre("Restore msg from a@x.example to InBox", "Delete spam from bob",
                                    "Delete spam from ann"));
  EXPECT_EQ(outbox_.text, "From: a@x.example\r\n");
}

TEST_F(MessageActions, SendersOfRestoredMessagesBecomeFriendsWhereTheBrowserAsksForIt) {
  makeFile("\\data\\friendlist.txt", "@friend.example\r\n");
  makeFile("\\spam\\a.txt", "From: \"O'Hara\" <Ann.O'Hara@x.example>\r\n");
  makeFile("\\spam\\b.txt", "From: bob@friend.example\r\n");
  makeFile("\\spam\\c.txt", "From: eve@x.example\r\n");
  row(0, "a", "OHara <Ann.OHara@x.example>");
  row(1, "b", "bob@friend.example");
  row(2, "c", "eve@x.example");
  form("befriend=1&SUBMIT3=RESTORE-DELETE&R0=1&R1=1&D2=1&END=1");
  form1.requestByGateway = true;
  deleteChecked("SPAMBOX");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "@friend.example\r\nann.o'hara@x.example\r\n");
  EXPECT_EQ(logged().front(), "FriendList add: ann.o'hara@x.example") << "before the message can come back";
  EXPECT_EQ(outcomes.restore.text, "2 restored, \"ann.o'hara@x.example\" put on the FriendList, 1 deleted");
}

TEST_F(MessageActions, ThePlainWireKnowsNoFieldThatMakesFriends) {
  makeFile("\\data\\friendlist.txt", "");
  makeFile("\\spam\\a.txt", "From: ann@x.example\r\n");
  row(0, "a", "ann");
  form("befriend=1&SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  deleteChecked("SPAMBOX");
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
  form("befriend=1&SUBMIT3=RESTORE-DELETE&R0=1&R1=1&R2=1&R3=1&END=1");
  form1.requestByGateway = true;
  deleteChecked("SPAMBOX");
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
  form("befriend=1&SUBMIT3=RESTORE-DELETE&D0=" + rowStamp("z") + "&D1=" + rowStamp("b") +
       "&R2=" + rowStamp("z") + "&D2=" + rowStamp("c") + "&END=1");
  form1.requestByGateway = true;
  deleteChecked("SPAMBOX");
  EXPECT_EQ(contentOf("\\spam\\a.txt"), "From: a@x.example\r\n");
  EXPECT_EQ(contentOf("\\spam\\b.txt"), "(missing)");
  EXPECT_EQ(contentOf("\\spam\\c.txt"), "From: c@x.example\r\n");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "");
  EXPECT_EQ(outbox_.text, "");
  EXPECT_THAT(logged(),
              ElementsAre("**Not deleted, since row 0 holds another message now", "Delete spam from bob",
                          "**Not restored, since row 2 holds another message now",
                          "**Not deleted, since it could not be restored: c.txt"));
  EXPECT_EQ(outcomes.deletion.text, "1 deleted, 2 could not be: the event log tells why");
}

TEST_F(MessageActions, ABoxOfAnOlderPageDeletesNothingFromTheServerEither) {
  mailbox_.add("a", "a@x.example", "Hi");
  mailbox_.add("b", "b@x.example", "Hi");
  row(0, "a", "ann");
  row(1, "b", "bob");
  form("SUBMIT3=DELETE&D0=" + rowStamp("b") + "&D1=" + rowStamp("b") + "&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(logged(),
              ElementsAre("**Not deleted, since row 0 holds another message now", "Delete mail from bob"));
}

TEST_F(MessageActions, WhyOneMessageCouldNotBeRestoredIsToldAlthoughTheNextOneCouldBe) {
  for (const char* key : {"a", "b"})
    makeFile("\\spam\\" + std::string(key) + ".txt", "From: " + std::string(key) + "@x.example\r\n");
  row(0, "a", "ann");
  row(1, "b", "bob");
  outbox_.refuse = "rcpt";
  form1.LogWindow.onAppend = [this](std::string_view line) {
    if (line.find("Problem restoring") != std::string_view::npos) outbox_.refuse.clear();
  };
  form("SUBMIT3=RESTORE-DELETE&R0=1&R1=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_THAT(outcomes.restore.text, testing::StartsWith("1 restored, 1 could not be: "));
  EXPECT_THAT(outcomes.restore.text, HasSubstr("said: \"550 no\""));
}

TEST_F(MessageActions, AReasonOfAnEarlierTaskIsNoReasonOfThisOne) {
  lastMailFailures.smtp.reason = MailReason::unreachable;
  row(0, "", "ann");
  form("SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_EQ(outcomes.restore.text, "0 restored, 1 could not be: the event log tells why");
}

TEST_F(MessageActions, WhyAMessageCouldNotBeDeletedFromTheServerIsTold) {
  mailbox_.add("a", "a@x.example", "Hi");
  row(0, "gone", "ann");
  row(1, "a", "bob");
  form("SUBMIT3=DELETE&D0=1&D1=1&END=1");
  deleteChecked("INBOX");
  EXPECT_THAT(mailbox_.uidls(), IsEmpty());
  EXPECT_THAT(outcomes.deletion.text, testing::StartsWith("1 deleted, 1 could not be: "));
  EXPECT_THAT(outcomes.deletion.text, HasSubstr("does not have that message any more"));

  sim::after(0, [] { currentMail.reset(); });
  deleteChecked("INBOX");
  EXPECT_THAT(outcomes.deletion.text, HasSubstr("something else has used the mailbox meanwhile"));
}

TEST_F(MessageActions, WhatHasBeenRestoredIsKnownUntilItIsDeleted) {
  makeFile("\\spam\\a.txt", "From: a@x.example\r\n");
  row(0, "a", "ann");
  EXPECT_FALSE(wasRestored("a"));
  outbox_.refuse = "rcpt";
  EXPECT_FALSE(restoreSpam(inFolder("\\spam\\a.txt")));
  form("SUBMIT3=RESTORE-DELETE&R0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_FALSE(wasRestored("a"));
  outbox_.refuse.clear();
  deleteChecked("SPAMBOX");
  EXPECT_TRUE(wasRestored("a"));
  form("SUBMIT3=RESTORE-DELETE&D0=1&END=1");
  deleteChecked("SPAMBOX");
  EXPECT_FALSE(wasRestored("a"));
}

TEST_F(MessageActions, ASpamFileThatCannotBeDeletedIsAProblem) {
  makeFile("\\spam\\a.txt", "x");
  row(0, "a", "ann");
  form("SUBMIT3=RESTORE-DELETE&D0=1&END=1");
  form1.LogWindow.onAppend = [](std::string_view) {
    static_cast<void>(deleteFile(inFolder("\\spam\\a.txt")));  // between the look and the deletion
  };
  deleteChecked("SPAMBOX");
  EXPECT_THAT(logged(), ElementsAre("Delete spam from ann", "Problem deleting spam file a.txt"));
}

}  // namespace
}  // namespace vornelle

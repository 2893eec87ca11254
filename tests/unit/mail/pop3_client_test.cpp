#include "mail/pop3_client.h"

#include <set>

#include "mail/mail_component.h"
#include "platform/events.h"
#include "tests/unit/mail/latent_stream.h"
#include "tests/unit/mail/scripted_pop3.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

std::string message(int number) {
  const std::string n = std::to_string(number);
  return "From: sender" + n + "@x.example\r\nSubject: Subject " + n + "\r\n\r\nBody of " + n + "\r\n";
}

class Pop3ClientTest : public SimTest {
 protected:
  std::shared_ptr<Pop3Mailbox> mailbox = addPop3Server();
  std::unique_ptr<MailComponent> mail = std::make_unique<MailComponent>();

  Pop3ClientTest() {
    mail->setPopServer("mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
  }

  void deliver(const std::string& uidl, const std::string& text) {
    mailbox->messages.push_back({uidl, text});
  }
  void deliverMany(int count) {
    for (int i = 1; i <= count; ++i) deliver("id-" + std::to_string(i), message(i));
  }

  std::unique_ptr<HeaderList> list() {
    if (!mail->popConnect()) return nullptr;
    return mail->popGetHeaderList(1);
  }
  void expectWholeList(int count) {
    const auto headers = list();
    ASSERT_TRUE(headers);
    ASSERT_EQ(count, headers->getCount());
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ("Subject " + std::to_string(i + 1), headers->getItem(i)->getSubject());
      EXPECT_EQ(mailbox->hasUidl ? "id-" + std::to_string(i + 1) : "", headers->getItem(i)->getUidl());
    }
  }
  // Nothing can be done any more, and nothing is deleted at the end.
  void expectDeadSession() {
    const std::size_t before = mailbox->commands.size();
    EXPECT_FALSE(mail->popGetHeaderList(1));
    EXPECT_FALSE(mail->popGetUidls());
    EXPECT_FALSE(mail->popGetMessage("id-1"));
    EXPECT_FALSE(mail->popDeleteMessage("id-1"));
    mail.reset();
    EXPECT_EQ(before, mailbox->commands.size()) << mailbox->commands.back();
    EXPECT_TRUE(mailbox->deleted.empty());
  }
};

// ---- log-on ----

TEST_F(Pop3ClientTest, AServerThatCannotBeReachedIsALogOnFailure) {
  mail->setPopServer("nowhere.example");
  EXPECT_FALSE(mail->popConnect());
}

TEST_F(Pop3ClientTest, ThePortStandsBehindTheHost) {
  const auto other = addPop3Server("mail.example", 8110);
  mail->setPopServer("mail.example:8110");
  EXPECT_TRUE(mail->popConnect());
  EXPECT_EQ(1, other->connections);
  EXPECT_EQ(0, mailbox->connections);
}

TEST_F(Pop3ClientTest, APortThatIsNoneIsALogOnFailure) {
  mail->setPopServer("mail.example:0");
  EXPECT_FALSE(mail->popConnect());
  EXPECT_EQ(0, mailbox->connections);
}

TEST_F(Pop3ClientTest, AnyRefusalOfThePasswordIsALogOnFailure) {
  for (const std::string answer :
       {"-ERR [IN-USE] locked\r\n", "-ERR\r\n", "-ERR [SYS/TEMP] later\r\n", "hello\r\n"}) {
    mailbox->answers["PASS"] = answer;
    EXPECT_FALSE(mail->popConnect()) << answer;
  }
}

TEST_F(Pop3ClientTest, AnAccountOrPasswordThatWouldStartACommandIsALogOnFailure) {
  mail->setPopPassword("secret\r\nDELE 1");
  EXPECT_FALSE(mail->popConnect());
  mail->setPopPassword("secret");
  mail->setPopAccount("bob\nQUIT");
  EXPECT_FALSE(mail->popConnect());
  EXPECT_TRUE(mailbox->commands.empty());
}

TEST_F(Pop3ClientTest, ASilentServerIsGivenUpAfterTheTimeOut) {
  mailbox->stallsAt = "GREETING";
  mail->setTimeoutSeconds(7);
  EXPECT_FALSE(mail->popConnect());
  EXPECT_EQ(7000, sim::elapsedMilliseconds());
}

TEST_F(Pop3ClientTest, TheTimeOutIsThirtySecondsWhenNeverSet) {
  mailbox->stallsAt = "USER";
  EXPECT_FALSE(mail->popConnect());
  EXPECT_EQ(30000, sim::elapsedMilliseconds());
}

// ---- the end of a session ----

TEST_F(Pop3ClientTest, ReleaseEndsTheSessionWithQuit) {
  ASSERT_TRUE(mail->popConnect());
  mail.reset();
  EXPECT_EQ("QUIT", mailbox->commands.back());
}

TEST_F(Pop3ClientTest, TheAnswerToQuitIsAwaitedForTheTimeOut) {
  mailbox->stallsAt = "QUIT";
  ASSERT_TRUE(mail->popConnect());
  mail.reset();
  EXPECT_EQ(30000, sim::elapsedMilliseconds());
}

TEST_F(Pop3ClientTest, AFailedLogOnDoesNotWaitForTheAnswerToQuit) {
  mailbox->stallsAt = "QUIT";
  mail->setPopPassword("wrong");
  EXPECT_FALSE(mail->popConnect());
  EXPECT_EQ("QUIT", mailbox->commands.back());
  EXPECT_EQ(0, sim::elapsedMilliseconds());
}

// ---- refusals: the session goes on ----

TEST_F(Pop3ClientTest, ARefusedListGivesNoHeaders) {
  deliverMany(2);
  mailbox->answers["LIST"] = "-ERR\r\n";
  EXPECT_FALSE(list());
}

TEST_F(Pop3ClientTest, WithoutUidlEveryMessageHasAnEmptyIdAndIsKept) {
  deliverMany(3);
  mailbox->hasUidl = false;
  expectWholeList(3);
  EXPECT_FALSE(mail->popGetUidls());
  EXPECT_FALSE(mail->popGetMessage(""));
  EXPECT_FALSE(mail->popDeleteMessage(""));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  mail.reset();
  EXPECT_EQ(0, mailbox->count("DELE"));
  EXPECT_EQ(3U, mailbox->messages.size());
}

TEST_F(Pop3ClientTest, WithoutTopHeadersAreReadWithRetr) {
  deliverMany(40);
  mailbox->hasTop = false;
  expectWholeList(40);
  EXPECT_EQ(1, mailbox->count("TOP")) << "one refusal is enough to know";
  EXPECT_EQ(40, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, AMessageThatTopRefusesIsReadWithRetr) {
  deliverMany(40);
  mailbox->answers["TOP 17 1"] = "-ERR\r\n";
  expectWholeList(40);
  EXPECT_EQ(1, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, AMessageWhoseHeaderCannotBeHadHasNoIdSoThatNobodyJudgesIt) {
  deliverMany(3);
  for (const std::string number : {"1", "3"}) {
    mailbox->answers["TOP " + number + " 1"] = mailbox->answers["RETR " + number] = "-ERR\r\n";
  }
  const auto headers = list();
  ASSERT_TRUE(headers);
  ASSERT_EQ(3, headers->getCount());
  EXPECT_EQ("", headers->getItem(0)->getUidl());
  EXPECT_EQ("id-2", headers->getItem(1)->getUidl());
  EXPECT_EQ("Subject 2", headers->getItem(1)->getSubject());
  EXPECT_EQ("", headers->getItem(2)->getUidl());
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, AMessageWhoseRetrievalWasRefusedIsNotDeletedInThatSession) {
  deliverMany(2);
  mailbox->answers["RETR 1"] = "-ERR\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  EXPECT_TRUE(mail->popGetMessage("id-2"));
  EXPECT_TRUE(mail->popDeleteMessage("id-2"));
  mail.reset();
  EXPECT_EQ(std::vector<std::string>{"id-2"}, mailbox->deleted);
}

TEST_F(Pop3ClientTest, AnEmptyMessageCountsAsNotRetrieved) {
  deliverMany(1);
  mailbox->answers["RETR"] = "+OK\r\n.\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, ARetrievalThatWorksInTheEndAllowsTheDeletion) {
  deliverMany(1);
  mailbox->answers["RETR"] = "-ERR\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  mailbox->answers.clear();
  EXPECT_TRUE(mail->popGetMessage("id-1"));
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, ARefusedDeletionIsReportedAndCanBeTriedAgain) {
  deliverMany(1);
  mailbox->answers["DELE"] = "-ERR\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  mailbox->answers.clear();
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
}

// ---- errors: the session is dead ----

TEST_F(Pop3ClientTest, AnAnswerThatIsNoneKillsTheSession) {
  for (const std::string verb : {"LIST", "UIDL", "TOP", "RETR", "DELE"}) {
    deliverMany(1);
    mailbox->answers[verb] = "HTTP/1.0 200\r\n";
    ASSERT_TRUE(mail->popConnect());
    if (verb == "TOP") {
      EXPECT_FALSE(mail->popGetHeaderList(1));
    } else if (verb == "RETR") {
      EXPECT_FALSE(mail->popGetMessage("id-1"));
    } else {
      EXPECT_FALSE(mail->popDeleteMessage("id-1"));
    }
    expectDeadSession();
    mail = std::make_unique<MailComponent>();
    mail->setPopServer("mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
    mailbox->answers.clear();
    mailbox->messages.clear();
  }
}

TEST_F(Pop3ClientTest, AServerThatFallsSilentKillsTheSessionAndNothingIsDeleted) {
  deliverMany(2);
  mailbox->stallsAt = "RETR 2";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_FALSE(mail->popGetMessage("id-2"));
  EXPECT_EQ(30000, sim::elapsedMilliseconds());
  expectDeadSession();
  EXPECT_EQ(2U, mailbox->messages.size());
}

TEST_F(Pop3ClientTest, AMessageThatIsCutShortDoesNotCountAsWhole) {
  deliverMany(1);
  ASSERT_TRUE(mail->popConnect());
  ASSERT_TRUE(mail->popGetUidls());
  mailbox->cutAfter = mailbox->bytesSent + 20;
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  expectDeadSession();
}

TEST_F(Pop3ClientTest, BytesThatNobodyAskedForKillTheSession) {
  // What a server does that does not stuff a lone dot inside a message: the rest of it follows the answer.
  deliverMany(1);
  mailbox->messages[0].text = "From: a@b\r\n\r\nfirst half\r\n.\r\n+OK second half\r\n";
  mailbox->stuffsDots = false;
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popGetMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  expectDeadSession();
  EXPECT_EQ(0, mailbox->count("DELE"));
}

// ---- bounds ----

TEST_F(Pop3ClientTest, AStatusLineOfMoreThan64KiBKillsTheSession) {
  deliverMany(1);
  mailbox->answers["LIST"] = "+OK " + std::string(kLongestAnswerLine, 'x') + "\r\n.\r\n";
  EXPECT_FALSE(list());
  expectDeadSession();
}

TEST_F(Pop3ClientTest, AStatusLineOf64KiBIsRead) {
  deliverMany(1);
  const std::string start = "+OK ";
  mailbox->answers["DELE"] = start + std::string(kLongestAnswerLine - start.size() - 1, 'x') + "\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, AnEndlessLineOfTheListKillsTheSession) {
  deliverMany(1);
  mailbox->answers["UIDL"] = "+OK\r\n1 " + std::string(kLongestAnswerLine, 'u') + "\r\n.\r\n";
  EXPECT_FALSE(list());
  expectDeadSession();
}

TEST_F(Pop3ClientTest, AListOfMoreThanAMillionLinesKillsTheSession) {
  std::string answer = "+OK\r\n";
  for (std::size_t i = 0; i <= kMostMessages; ++i) answer += "?\r\n";
  mailbox->answers["LIST"] = answer + ".\r\n";
  EXPECT_FALSE(list());
  expectDeadSession();
}

TEST_F(Pop3ClientTest, OfAHeaderTheFirstMebibyteIsReadAndTheRestDropped) {
  deliver("id-1", "From: a@b\r\nX-Long: " + std::string(2U << 20, 'x') + "\r\nSubject: too late\r\n\r\n");
  deliver("id-2", message(2));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("a@b", headers->getItem(0)->getFromAddress());
  EXPECT_EQ("", headers->getItem(0)->getSubject());
  EXPECT_EQ("Subject 2", headers->getItem(1)->getSubject());
}

TEST_F(Pop3ClientTest, AnAnswerThatTricklesInIsGivenUpAfterTheTimeOut) {
  // A byte every 20 seconds, and no end.
  class Trickle : public NetStream {
   public:
    [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t, int timeout) override {
      pause(std::min(timeout, 20'000));
      if (timeout < 20'000) return std::nullopt;
      *buffer = '+';
      return 1;
    }
    [[nodiscard]] bool write(std::string_view, int) override { return true; }
  };
  Pop3Client client([] { return std::make_unique<Trickle>(); }, "bob", "secret", 30'000);
  EXPECT_FALSE(client.logOn());
  EXPECT_EQ(30'000, sim::elapsedMilliseconds());
}

TEST_F(Pop3ClientTest, AMessageThatTricklesInForLongIsGivenUp) {
  // Every 20 seconds a byte of a message without end; no single wait is too long.
  class Trickle : public NetStream {
   public:
    [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int) override {
      if (!answer_.empty()) {
        const std::size_t count = std::min(size, answer_.size());
        answer_.copy(buffer, count);
        answer_.erase(0, count);
        return count;
      }
      pause(20'000);
      *buffer = 'x';
      return 1;
    }
    [[nodiscard]] bool write(std::string_view command, int) override {
      answer_ += command.starts_with("LIST")   ? "+OK\r\n1 10\r\n.\r\n"
                 : command.starts_with("UIDL") ? "+OK\r\n1 id-1\r\n.\r\n"
                                               : "+OK\r\n";
      return true;
    }

   private:
    std::string answer_ = "+OK\r\n";
  };
  Pop3Client client([] { return std::make_unique<Trickle>(); }, "bob", "secret", 30'000);
  ASSERT_TRUE(client.logOn());
  EXPECT_FALSE(client.fetchMessage("id-1"));
  EXPECT_GT(sim::elapsedMilliseconds(), 300'000);
  EXPECT_LE(sim::elapsedMilliseconds(), 320'000);
  EXPECT_FALSE(client.deleteMessage("id-1"));
}

// ---- odd lists ----

TEST_F(Pop3ClientTest, ALyingSizeIsTakenAsItIsAndANegativeOneAsZero) {
  for (const std::string size :
       {"99999999999999999999", "5000000000", "157201", "-5", "-99999999999999999999", "many", ""}) {
    mailbox->messages.push_back({"id-" + std::to_string(mailbox->messages.size()), message(1), size});
  }
  const auto headers = list();
  ASSERT_TRUE(headers);
  const std::int32_t expected[] = {2147483647, 2147483647, 157201, 0, 0, 0, 0};
  ASSERT_EQ(7, headers->getCount());
  for (int i = 0; i < 7; ++i) EXPECT_EQ(expected[i], headers->getItem(i)->getSize()) << i;
}

TEST_F(Pop3ClientTest, TheSizeOfAFetchedMessageIsTheOneOfTheList) {
  mailbox->messages.push_back({"id-1", message(1), "4711"});
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(4711, fetched->getSize());
}

TEST_F(Pop3ClientTest, UniqueIdsMayBeOdd) {
  const std::string longId(300, 'u');
  const std::string odd = "a b\x01\xFC<>";
  deliver(longId, message(1));
  deliver("  blanks-before", message(2));
  deliver(odd, message(3));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ(longId, headers->getItem(0)->getUidl());
  EXPECT_EQ("blanks-before", headers->getItem(1)->getUidl());
  EXPECT_EQ(odd, headers->getItem(2)->getUidl());
  EXPECT_TRUE(mail->popGetMessage(odd));
  EXPECT_TRUE(mail->popDeleteMessage("blanks-before"));
}

TEST_F(Pop3ClientTest, AMessageWithAnEmptyIdIsKept) {
  deliver("", message(1));
  deliver("id-2", message(2));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("", headers->getItem(0)->getUidl());
  EXPECT_FALSE(mail->popGetMessage(""));
  EXPECT_FALSE(mail->popDeleteMessage(""));
  const auto uidls = mail->popGetUidls();
  ASSERT_TRUE(uidls);
  ASSERT_EQ(1, uidls->getCount());
  EXPECT_EQ("id-2", *uidls->getItem(0));
}

TEST_F(Pop3ClientTest, OfMessagesWithTheSameIdTheLastIsFetchedAndNoneIsDeleted) {
  deliver("same", message(1));
  deliver("same", message(2));
  deliver("other", message(3));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("same", headers->getItem(0)->getUidl());
  EXPECT_EQ("same", headers->getItem(1)->getUidl());
  const auto fetched = mail->popGetMessage("same");
  ASSERT_TRUE(fetched);
  EXPECT_EQ("Subject 2", fetched->getSubject());
  EXPECT_FALSE(mail->popDeleteMessage("same"));
  EXPECT_TRUE(mail->popDeleteMessage("other"));
  mail.reset();
  EXPECT_EQ(std::vector<std::string>{"other"}, mailbox->deleted);
}

TEST_F(Pop3ClientTest, AnIdThatAMessageOutsideTheListHasTooDeletesNothing) {
  deliver("id-1", message(1));
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n2 id-1\r\n.\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, AMessageWithTwoIdsHasNone) {
  deliver("id-1", message(1));
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n1 id-2\r\n.\r\n";
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("", headers->getItem(0)->getUidl());
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-2"));
}

TEST_F(Pop3ClientTest, AMessageThatArrivesBetweenListAndUidlIsNotTouched) {
  deliverMany(2);
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n2 id-2\r\n3 new\r\n.\r\n";
  expectWholeList(2);
  EXPECT_FALSE(mail->popGetMessage("new"));
  EXPECT_FALSE(mail->popDeleteMessage("new"));
}

TEST_F(Pop3ClientTest, LinesThatMakeNoSenseArePassedOver) {
  deliverMany(2);
  mailbox->answers["LIST"] =
      "+OK\r\n\r\nfoo\r\n-1 5\r\n0 5\r\n1 10\r\n1 20\r\n2x 5\r\n99999999999 5\r\n 2  30\r\n.\r\n";
  mailbox->answers["UIDL"] = "+OK\r\nfoo\r\n1\r\n7 seven\r\n1 id-1\r\n2\tid-2\r\n.\r\n";
  const auto headers = list();
  ASSERT_TRUE(headers);
  ASSERT_EQ(2, headers->getCount());
  EXPECT_EQ(10, headers->getItem(0)->getSize());
  EXPECT_EQ(30, headers->getItem(1)->getSize());
  EXPECT_EQ("id-1", headers->getItem(0)->getUidl());
  EXPECT_EQ("id-2", headers->getItem(1)->getUidl());
}

TEST_F(Pop3ClientTest, AMessageIsFoundInAnotherLetterCaseForReadingOnly) {
  deliver("Id-A", message(1));
  deliver("id-b", message(2));
  deliver("ID-B", message(3));
  ASSERT_TRUE(mail->popConnect());
  EXPECT_EQ("Id-A", mail->popGetMessage("ID-A")->getUidl());
  EXPECT_FALSE(mail->popDeleteMessage("ID-A"));
  EXPECT_EQ("Subject 2", mail->popGetMessage("id-b")->getSubject());
  EXPECT_FALSE(mail->popGetMessage("Id-b")) << "either could be meant";
  EXPECT_TRUE(mail->popDeleteMessage("Id-A"));
}

// ---- odd messages ----

TEST_F(Pop3ClientTest, TopMayAnswerMoreThanWasAskedFor) {
  deliverMany(1);
  mailbox->answers["TOP"] = "+OK\r\n" + message(1) + "more\r\nFrom: not@this.one\r\n.\r\n";
  expectWholeList(1);
}

TEST_F(Pop3ClientTest, ATopThatIsCutBeforeTheSenderIsReadAgainWithRetr) {
  deliverMany(3);
  mailbox->answers["TOP 1 1"] = "+OK\r\nReceived: from x\r\n.\r\n";
  mailbox->answers["TOP 3 1"] = "+OK\r\n.\r\n";
  expectWholeList(3);
  EXPECT_EQ(2, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, AHeaderWithoutTheEmptyLineBehindItIsRead) {
  deliver("id-1", "From: a@b\r\nSubject: Subject 1\r\n");
  expectWholeList(1);
  EXPECT_EQ(0, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, LongLinesAreNoProblem) {
  const std::string text =
      "From: a@b\r\n\r\n" + std::string(100'000, 'x') + "\r\n" + std::string(300'000, '.') + "\r\n";
  deliver("id-1", text);
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text, fetched->getRawText());
}

TEST_F(Pop3ClientTest, ADotThatTheServerDidNotStuffStays) {
  const std::string text = "From: a@b\r\n\r\n.hidden\r\n.\rx\r\n. \r\na.\r\n";
  deliver("id-1", text);
  mailbox->stuffsDots = false;
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text, fetched->getRawText());
}

TEST_F(Pop3ClientTest, ALoneLineFeedBeforeADotEndsNoMessage) {
  const std::string text = "From: a@b\n\nx\n.\ny\n.\r\nz\r\n";
  deliver("id-1", text);
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text, fetched->getRawText());
}

TEST_F(Pop3ClientTest, AServerThatEndsItsLinesWithLineFeedsIsUnderstood) {
  mailbox->answers = {{"GREETING", "+OK\n"},
                      {"USER", "+OK\n"},
                      {"PASS", "+OK\n"},
                      {"LIST", "+OK\n1 30\n.\n"},
                      {"UIDL", "+OK\n1 id-1\n.\n"},
                      {"TOP", "+OK\nFrom: a@b\nSubject: Subject 1\n\nx\n.\n"},
                      {"RETR", "+OK\nFrom: a@b\n\n..x\n.y\n.\n"},
                      {"DELE", "+OK\n"}};
  deliverMany(1);
  expectWholeList(1);
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ("From: a@b\n\n.x\n.y\n", fetched->getRawText());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
}

// ---- CAPA and pipelining ----

TEST_F(Pop3ClientTest, ASmallMailboxIsReadWithoutAskingForCapabilities) {
  deliverMany(31);
  expectWholeList(31);
  EXPECT_EQ(0, mailbox->count("CAPA"));
}

TEST_F(Pop3ClientTest, ALargeMailboxIsReadPipelined) {
  deliverMany(32);
  expectWholeList(32);
  EXPECT_EQ(1, mailbox->count("CAPA"));
  EXPECT_EQ(32, mailbox->count("TOP"));
  // USER, PASS, LIST, CAPA, UIDL, TOP for the first message, TOP for all others.
  EXPECT_EQ(7U, mailbox->deliveries);
}

TEST_F(Pop3ClientTest, CapabilitiesAreAskedForOnce) {
  deliverMany(40);
  expectWholeList(40);
  EXPECT_TRUE(mail->popGetHeaderList(1));
  EXPECT_EQ(1, mailbox->count("CAPA"));
}

TEST_F(Pop3ClientTest, AServerThatDoesNotAnnouncePipeliningGetsOneCommandAtATime) {
  deliverMany(40);
  mailbox->pipelining = false;
  expectWholeList(40);
  EXPECT_EQ(5U + 40U, mailbox->deliveries);
}

TEST_F(Pop3ClientTest, AServerWithoutCapabilitiesGetsOneCommandAtATime) {
  deliverMany(40);
  mailbox->hasCapa = false;
  expectWholeList(40);
  EXPECT_EQ(1, mailbox->connections);
  EXPECT_EQ(5U + 40U, mailbox->deliveries);
}

TEST_F(Pop3ClientTest, AServerThatClosesAtCapaIsAskedAgainWithout) {
  deliverMany(40);
  mailbox->closesAt = "CAPA";
  expectWholeList(40);
  EXPECT_EQ(2, mailbox->connections);
  EXPECT_EQ(1, mailbox->count("CAPA"));
  EXPECT_TRUE(mail->popDeleteMessage("id-40"));
  mail.reset();
  EXPECT_EQ(std::vector<std::string>{"id-40"}, mailbox->deleted);
}

TEST_F(Pop3ClientTest, AServerThatNeverAnswersCapaIsAskedAgainWithout) {
  deliverMany(40);
  mailbox->stallsAt = "CAPA";
  expectWholeList(40);
  EXPECT_EQ(2, mailbox->connections);
  EXPECT_EQ(10'000, sim::elapsedMilliseconds()) << "it is not worth the whole time-out";
}

TEST_F(Pop3ClientTest, ACapaAnswerThatNeverEndsIsLikeNoAnswer) {
  deliverMany(40);
  mailbox->answers["CAPA"] = "+OK\r\nPIPELINING\r\n";
  expectWholeList(40);
  EXPECT_EQ(2, mailbox->connections);
}

TEST_F(Pop3ClientTest, AServerThatRefusesCapaAndThenClosesIsAskedAgainWithout) {
  deliverMany(40);
  mailbox->answers["CAPA"] = "-ERR\r\n";
  mailbox->onCommand = [this](const std::string& command) {
    if (command == "CAPA") mailbox->closesAt = "UIDL";
    if (command.starts_with("USER")) mailbox->closesAt = "";
  };
  expectWholeList(40);
  EXPECT_EQ(2, mailbox->connections);
}

TEST_F(Pop3ClientTest, AfterADeletionCapabilitiesAreNotAskedFor) {
  // A new connection would forget the deletion.
  deliverMany(40);
  mailbox->closesAt = "CAPA";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_TRUE(mail->popGetHeaderList(1));
  mail.reset();
  EXPECT_EQ(0, mailbox->count("CAPA"));
  EXPECT_EQ(std::vector<std::string>{"id-1"}, mailbox->deleted);
}

TEST_F(Pop3ClientTest, AnErrorLaterInThePipelineFailsTheWholeList) {
  deliverMany(40);
  mailbox->closesAt = "TOP 20 1";
  EXPECT_FALSE(list());
  EXPECT_EQ(1, mailbox->connections);
  expectDeadSession();
}

// With a server 40 milliseconds away, the time is what the waits cost.
TEST_F(Pop3ClientTest, TheHeadersOf5000MessagesCostAFewWaits) {
  const auto waitsFor = [this](int messages, bool pipelining) {
    mailbox = std::make_shared<Pop3Mailbox>();
    mailbox->pipelining = pipelining;
    deliverMany(messages);
    Distance distance;
    {
      Pop3Client client(
          [&] { return std::make_unique<LatentStream>(std::make_unique<ScriptedPop3>(mailbox), distance); },
          "bob", "secret", 30'000);
      EXPECT_TRUE(client.logOn());
      int taken = 0;
      EXPECT_TRUE(client.fetchHeaders(
          [&](std::size_t, const MaildropEntry&, std::string_view) { return ++taken > 0; }));
      EXPECT_EQ(messages, taken);
    }
    EXPECT_LE(distance.mostUnread, 32768U + 32U) << "more could fill the buffers on the way";
    return distance.waits;
  };
  // Log-on, lists, the first header and QUIT are 9 waits; then 32 KiB of commands, some 2,700 messages, go
  // out at a time.
  EXPECT_LE(waitsFor(50, true), 10);
  EXPECT_LE(waitsFor(500, true), 11);
  EXPECT_LE(waitsFor(5000, true), 9 + 2 * 5000 / 2700);
  EXPECT_GE(waitsFor(500, false), 500);
}

// ---- the line is cut ----

// Whatever byte of the server is the last one to arrive: no message is gone that has not been received whole.
TEST_F(Pop3ClientTest, ALineThatIsCutAnywhereLosesNoMessage) {
  const auto wholeSession = [this](std::size_t cutAfter, int messages) {
    mailbox = addPop3Server();
    deliverMany(messages);
    mailbox->messages[1].text += ".\r\n..\r\nlast\r\n";
    const auto sent = mailbox->messages;
    mailbox->cutAfter = cutAfter;
    std::set<std::string> received;
    auto component = std::make_unique<MailComponent>();
    component->setPopServer("mail.example");
    component->setPopAccount("bob");
    component->setPopPassword("secret");
    if (component->popConnect()) {
      const auto headers = component->popGetHeaderList(1);
      for (int i = 0; headers && i < headers->getCount(); ++i) {
        const std::string uidl = headers->getItem(i)->getUidl();
        const auto fetched = component->popGetMessage(uidl);
        if (fetched && fetched->getRawText() == sent[static_cast<std::size_t>(i)].text) received.insert(uidl);
        component->popDeleteMessage(uidl);
      }
    }
    component.reset();
    for (const auto& message : sent) {
      EXPECT_TRUE(mailbox->has(message.uidl) || received.contains(message.uidl))
          << cutAfter << " " << message.uidl;
    }
    return mailbox->bytesSent;
  };
  for (const int messages : {3, 33}) {
    const std::size_t whole = wholeSession(std::numeric_limits<std::size_t>::max(), messages);
    EXPECT_TRUE(mailbox->messages.empty());
    for (std::size_t cut = 0; cut < whole; ++cut) wholeSession(cut, messages);
  }
}

}  // namespace
}  // namespace vornelle

#include "mail/pop3_client.h"

#include <limits>
#include <set>

#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

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

TEST_F(Pop3ClientTest, AMessageWhoseHeaderCannotBeHadIsListedWithItsIdAndSaidToHaveNone) {
  deliverMany(3);
  for (const std::string number : {"1", "3"}) {
    mailbox->answers["TOP " + number + " 1"] = mailbox->answers["RETR " + number] = "-ERR\r\n";
  }
  const auto headers = list();
  ASSERT_TRUE(headers);
  ASSERT_EQ(3, headers->getCount());
  for (const int place : {0, 2}) {
    EXPECT_EQ("id-" + std::to_string(place + 1), headers->getItem(place)->getUidl());
    EXPECT_EQ("", headers->getItem(place)->getSubject());
    EXPECT_GT(headers->getItem(place)->getSize(), 0);
    EXPECT_FALSE(headers->getItem(place)->headerPresent);
  }
  EXPECT_EQ("id-2", headers->getItem(1)->getUidl());
  EXPECT_EQ("Subject 2", headers->getItem(1)->getSubject());
  EXPECT_TRUE(headers->getItem(1)->headerPresent);
  EXPECT_FALSE(mail->popDeleteMessage("id-1"))
      << "nothing is deleted in the session in which it could not be read";
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
  deliverMany(1);
  mailbox->answers["UIDL 1"] = "+OK 1 id-1\r\n+OK\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popGetMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  expectDeadSession();
  EXPECT_EQ(0, mailbox->count("DELE"));
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

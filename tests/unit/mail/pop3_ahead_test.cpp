// A series of messages that is fetched ahead, and everything that can go wrong while many are under way.
#include <algorithm>

#include "mail/pop3_client.h"
#include "tests/unit/mail/given_connector.h"
#include "tests/unit/mail/latent_stream.h"
#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

std::string uidlOf(int number) {
  return "id-" + std::to_string(number);
}

class Pop3AheadTest : public Pop3ClientTest {
 protected:
  // The headers of so many messages have been fetched, and the messages from `first` on are expected.
  void expectMany(int count, int first = 1) {
    deliverMany(count);
    expectWholeList(count);
    expect(first, count);
  }
  void expect(int first, int last) {
    std::vector<std::string> uidls;
    for (int n = first; n <= last; ++n) uidls.push_back(uidlOf(n));
    mail->popExpect({uidls.begin(), uidls.end()});
  }
  [[nodiscard]] std::string textOf(int number) const {
    const auto fetched = mail->popGetMessage(uidlOf(number));
    return fetched ? fetched->getRawText() : "none";
  }
  [[nodiscard]] bool isRight(int number) const { return textOf(number) == message(number); }
  [[nodiscard]] std::vector<std::string> quit() {
    mail.reset();
    return mailbox->deleted;
  }
};

TEST_F(Pop3AheadTest, ExpectedMessagesAreUnderWayBeforeTheyAreAskedFor) {
  expectMany(40);
  const std::size_t before = mailbox->deliveries;
  EXPECT_TRUE(isRight(1));
  EXPECT_EQ(before + 1, mailbox->deliveries);
  EXPECT_EQ(40, mailbox->count("RETR"));
  for (int n = 2; n <= 40; ++n) EXPECT_TRUE(isRight(n)) << n;
  EXPECT_EQ(before + 1, mailbox->deliveries);
  EXPECT_EQ(40, mailbox->count("RETR"));
}

TEST_F(Pop3AheadTest, OnALineThatMayNotPipelineExpectingDoesNothing) {
  mailbox->pipelining = false;
  expectMany(40);
  EXPECT_TRUE(isRight(1));
  EXPECT_EQ(1, mailbox->count("RETR"));
}

TEST_F(Pop3AheadTest, AServerThatDoesNotConfirmOneMessageGetsOneCommandAtATime) {
  mailbox->hasUidlOfOne = false;
  expectMany(40);
  EXPECT_TRUE(isRight(1));
  EXPECT_EQ(1, mailbox->count("RETR"));
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_EQ(std::vector<std::string>{"id-1"}, quit());
}

TEST_F(Pop3AheadTest, NothingIsDeletedThatNobodyHasDeleted) {
  expectMany(40);
  for (int n = 1; n <= 40; ++n) EXPECT_TRUE(isRight(n));
  EXPECT_TRUE(quit().empty());
  EXPECT_EQ(0, mailbox->count("DELE"));
  EXPECT_EQ("QUIT", mailbox->commands.back());
}

TEST_F(Pop3AheadTest, ADeletionGoesOutAfterItsMessageAndBeforeQuit) {
  expectMany(40);
  for (int n = 1; n <= 40; ++n) {
    ASSERT_TRUE(isRight(n));
    EXPECT_EQ(0, mailbox->count("DELE " + std::to_string(n)));
    EXPECT_TRUE(mail->popDeleteMessage(uidlOf(n)));
    EXPECT_FALSE(mail->popDeleteMessage(uidlOf(n))) << "it has been deleted";
    EXPECT_EQ("none", textOf(n));
  }
  EXPECT_EQ(40U, quit().size());
  EXPECT_EQ("QUIT", mailbox->commands.back());
  EXPECT_EQ(1, mailbox->count("UIDL 17")) << "its confirmation came with it";
}

TEST_F(Pop3AheadTest, WhatIsNotWantedAfterAllIsDroppedAndStays) {
  expectMany(40);
  for (int n = 1; n <= 40; n += 3) {
    EXPECT_TRUE(isRight(n));
    EXPECT_TRUE(mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_TRUE(isRight(2)) << "what has been dropped can be fetched again";
  EXPECT_EQ(14U, quit().size());
  EXPECT_TRUE(mailbox->has("id-2"));
}

TEST_F(Pop3AheadTest, WhatWasNotExpectedIsFetchedInBetween) {
  expectMany(40, 21);
  EXPECT_TRUE(isRight(21));
  EXPECT_TRUE(mail->popDeleteMessage("id-21"));
  EXPECT_TRUE(isRight(3));
  EXPECT_TRUE(mail->popDeleteMessage("id-3"));
  EXPECT_TRUE(isRight(22));
  EXPECT_TRUE(mail->popDeleteMessage("id-22"));
  EXPECT_EQ((std::vector<std::string>{"id-3", "id-21", "id-22"}), quit());
}

TEST_F(Pop3AheadTest, OtherQuestionsAreAnsweredInTheMiddleOfASeries) {
  expectMany(40);
  EXPECT_TRUE(isRight(1));
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_TRUE(mail->popGetUidls());
  EXPECT_TRUE(mail->popDeleteMessage("id-40")) << "without its text, once the server has confirmed it";
  EXPECT_TRUE(isRight(2));
  EXPECT_EQ((std::vector<std::string>{"id-1", "id-40"}), quit());
}

TEST_F(Pop3AheadTest, ExpectingAgainTakesThePlaceOfWhatHasNotBeenSentFor) {
  expectMany(800);
  EXPECT_TRUE(isRight(1));
  const int sent = mailbox->count("RETR");
  EXPECT_LT(sent, 700);
  expect(790, 800);
  for (int n = 790; n <= 800; ++n) EXPECT_TRUE(isRight(n));
  EXPECT_EQ(sent + 11, mailbox->count("RETR"));
  EXPECT_TRUE(isRight(700));
}

TEST_F(Pop3AheadTest, ARefusedDeletionLeavesTheMessageAndBreaksNothing) {
  expectMany(40);
  mailbox->answers["DELE 3"] = "-ERR no\r\n";
  for (int n = 1; n <= 40; ++n) {
    EXPECT_TRUE(isRight(n));
    EXPECT_TRUE(mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_EQ(39U, quit().size());
  EXPECT_TRUE(mailbox->has("id-3"));
}

TEST_F(Pop3AheadTest, AfterARefusedDeletionTheMessageIsFoundAgain) {
  expectMany(40);
  mailbox->answers["DELE 3"] = "-ERR no\r\n";
  EXPECT_TRUE(isRight(3));
  EXPECT_TRUE(mail->popDeleteMessage("id-3"));
  EXPECT_EQ("none", textOf(3));
  EXPECT_TRUE(mail->popGetUidls());
  EXPECT_TRUE(isRight(40));
  EXPECT_TRUE(mail->popDeleteMessage("id-1")) << "this asks, and reads every answer before";
  EXPECT_TRUE(isRight(3));
}

TEST_F(Pop3AheadTest, ARefusedMessageIsKeptAndTheOthersAreNot) {
  expectMany(40);
  mailbox->answers["RETR 3"] = "-ERR\r\n";
  mailbox->answers["RETR 4"] = "-ERR gone\r\n";
  mailbox->answers["UIDL 4"] = "-ERR gone\r\n";
  for (int n = 1; n <= 40; ++n) {
    EXPECT_EQ(n != 3 && n != 4, isRight(n)) << n;
    EXPECT_EQ(n != 3 && n != 4, mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_EQ(38U, quit().size());
  EXPECT_EQ(0, sim::elapsedMilliseconds()) << "nobody has waited in vain";
}

TEST_F(Pop3AheadTest, AMessageThatEndsTooEarlyIsKeptAndTheOthersAreNot) {
  mailbox->stuffsDots = false;
  deliverMany(40);
  mailbox->messages[4].text += ".\r\n+OK 6 id-6\r\n+OK\r\nFrom: a@b\r\n\r\nnot a message\r\n";
  const auto headers = list();
  ASSERT_TRUE(headers);
  expect(1, 40);
  for (int n = 1; n <= 40; ++n) {
    EXPECT_EQ(n != 5, isRight(n)) << n;
    EXPECT_EQ(n != 5, mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_EQ(39U, quit().size());
}

TEST_F(Pop3AheadTest, ADroppedMessageThatWasNotWholeIsNotDeletedEither) {
  mailbox->stuffsDots = false;
  deliverMany(40);
  mailbox->messages[4].text += ".\r\nsecond half\r\n";
  ASSERT_TRUE(list());
  expect(1, 40);
  EXPECT_TRUE(isRight(1));
  EXPECT_TRUE(isRight(9));
  EXPECT_FALSE(mail->popDeleteMessage("id-5"));
  EXPECT_TRUE(mail->popDeleteMessage("id-6"));
}

TEST_F(Pop3AheadTest, ConfirmationsOfOtherMessagesAreNotBelieved) {
  expectMany(40);
  mailbox->answers["UIDL 3"] = "+OK 3 id-4\r\n+OK 3 id-3\r\n";
  mailbox->answers["UIDL 6"] = "+OK one more\r\n+OK 6 id-6\r\n";
  for (int n = 1; n <= 8; ++n) {
    EXPECT_EQ(n != 3 && n != 6, isRight(n)) << n;
    EXPECT_EQ(n != 3 && n != 6, mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_EQ(6U, quit().size());
}

TEST_F(Pop3AheadTest, AnAnswerThatIsNoneEndsTheSessionWithoutQuit) {
  for (const std::string wrong : {"RETR 5", "DELE 2"}) {
    *mailbox = {};
    mail = std::make_unique<MailComponent>();
    mail->setPopServer("mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
    expectMany(800);
    mailbox->answers[wrong] = "what?\r\n";
    int fetched = 0;
    for (int n = 1; n <= 800; ++n) {
      fetched += isRight(n) ? 1 : 0;
      static_cast<void>(mail->popDeleteMessage(uidlOf(n)));
    }
    EXPECT_LT(fetched, 800);
    EXPECT_TRUE(quit().empty());
    EXPECT_EQ(0, mailbox->count("QUIT"));
  }
}

TEST_F(Pop3AheadTest, AnswersOutOfStepLoseNoMessage) {
  // One answer too many before a text, behind it, and in place of a deletion's.
  for (const std::string at : {"RETR 5", "UIDL 5", "DELE 5"}) {
    for (const std::string extra : {"+OK\r\n", "-ERR\r\n", "+OK\r\n.\r\n", "\r\n"}) {
      *mailbox = {};
      mail = std::make_unique<MailComponent>();
      mail->setPopServer("mail.example");
      mail->setPopAccount("bob");
      mail->setPopPassword("secret");
      expectMany(300);
      std::string right = "+OK\r\n";
      if (at == "RETR 5") right += message(5) + ".\r\n";
      if (at == "UIDL 5") right = "+OK 5 id-5\r\n";
      mailbox->answers[at] = extra + right;
      std::vector<std::string> saved;
      for (int n = 1; n <= 300; ++n) {
        const std::string text = textOf(n);
        if (text.find(message(n)) == std::string::npos) continue;
        if (mail->popDeleteMessage(uidlOf(n))) saved.push_back(uidlOf(n));
      }
      for (const std::string& id : quit())
        EXPECT_NE(saved.end(), std::find(saved.begin(), saved.end(), id)) << at << extra << id;
    }
  }
}

TEST_F(Pop3AheadTest, ALineCutAtAnyByteDeletesNothing) {
  std::size_t listed = 0, whole = 0;
  const auto run = [&](std::size_t cutAfter) {
    *mailbox = {};
    mailbox->cutAfter = cutAfter;
    mail = std::make_unique<MailComponent>();
    mail->setPopServer("mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
    expectMany(32);
    listed = mailbox->bytesSent;
    int lost = 0;
    for (int n = 1; n <= 32; ++n) {
      const std::string text = textOf(n);
      EXPECT_TRUE(text == message(n) || text == "none") << n;
      if (!mail->popDeleteMessage(uidlOf(n))) ++lost;
    }
    const std::vector<std::string> deleted = quit();
    whole = mailbox->bytesSent;
    return deleted.size();
  };
  ASSERT_EQ(32U, run(1U << 30));
  const std::size_t end = whole;
  const std::size_t quitAnswer = 5;
  for (std::size_t at = listed; at + quitAnswer < end; at += 3) {
    EXPECT_EQ(0U, run(at)) << at;
    EXPECT_EQ(0, mailbox->count("QUIT")) << at;
  }
}

TEST_F(Pop3AheadTest, AServerThatFallsSilentEndsTheSessionWithoutQuit) {
  expectMany(40);
  mailbox->stallsAt = "RETR 20";
  for (int n = 1; n <= 40; ++n) {
    EXPECT_EQ(n < 20, isRight(n)) << n;
    EXPECT_EQ(n < 20, mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_EQ(30'000, sim::elapsedMilliseconds()) << "one time-out, not one for each message";
  EXPECT_TRUE(quit().empty());
}

TEST_F(Pop3AheadTest, GivenUpInTheMiddleTheSeriesEndsWithWhatHasBeenDeleted) {
  expectMany(40);
  for (int n = 1; n <= 10; ++n) {
    EXPECT_TRUE(isRight(n));
    EXPECT_TRUE(mail->popDeleteMessage(uidlOf(n)));
  }
  EXPECT_EQ(10U, quit().size());
  EXPECT_EQ(30U, mailbox->messages.size());
  EXPECT_EQ("QUIT", mailbox->commands.back());
}

TEST_F(Pop3AheadTest, GivenUpWithASilentServerTheSessionEndsDead) {
  expectMany(40);
  mailbox->stallsAt = "RETR 20";
  EXPECT_TRUE(isRight(1));
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_TRUE(quit().empty());
  EXPECT_EQ(0, mailbox->count("QUIT"));
}

TEST_F(Pop3AheadTest, ALongPauseOfTheProgramIsNoFaultOfTheServer) {
  expectMany(40);
  EXPECT_TRUE(isRight(1));
  sim::advance(3600'000);
  EXPECT_TRUE(isRight(2));
  EXPECT_TRUE(mail->popDeleteMessage("id-2"));
  EXPECT_EQ(1U, quit().size());
}

TEST_F(Pop3AheadTest, AnIdOfTwoMessagesIsReadAndNeitherIsDeleted) {
  deliverMany(40);
  mailbox->messages[6].uidl = "id-6";
  const auto headers = list();
  ASSERT_TRUE(headers);
  expect(1, 40);
  EXPECT_TRUE(isRight(5));
  EXPECT_EQ(message(7), textOf(6));
  EXPECT_FALSE(mail->popDeleteMessage("id-6"));
  EXPECT_TRUE(isRight(8));
}

// ---- streams of their own ----

// A server that takes no more commands after so many bytes: it waits until its answers have been read.
class DeafStream : public LatentStream {
 public:
  DeafStream(std::unique_ptr<sim::Server> server, Distance& distance, std::size_t bytes)
      : LatentStream(std::move(server), distance), left_(bytes) {}
  [[nodiscard]] bool write(std::string_view bytes, int timeout) override {
    if (bytes.size() > left_) return false;
    left_ -= bytes.size();
    return LatentStream::write(bytes, timeout);
  }

 private:
  std::size_t left_;
};

class SeriesAtADistance : public Pop3AheadTest {
 protected:
  // A run that saves and deletes every message.
  int deletedOf(int messages, std::size_t commandBytes = 1U << 30) {
    mailbox = std::make_shared<Pop3Mailbox>();
    for (int n = 1; n <= messages; ++n) deliver(uidlOf(n), message(n) + std::string(4000, 'x') + "\r\n");
    distance = {};
    {
      Pop3Client client(given([&] {
                          return std::make_unique<DeafStream>(std::make_unique<ScriptedPop3>(mailbox),
                                                              distance, commandBytes);
                        }),
                        "bob", "secret", 30'000);
      EXPECT_TRUE(client.logOn());
      EXPECT_TRUE(
          client.fetchHeaders([](std::size_t, const MaildropEntry&, std::string_view) { return true; }));
      std::vector<std::string> uidls;
      for (int n = 1; n <= messages; ++n) uidls.push_back(uidlOf(n));
      client.expect({uidls.begin(), uidls.end()});
      for (int n = 1; n <= messages; ++n) {
        if (client.fetchMessage(uidlOf(n))) static_cast<void>(client.deleteMessage(uidlOf(n)));
      }
    }
    return static_cast<int>(mailbox->deleted.size());
  }

  Distance distance;
};

TEST_F(SeriesAtADistance, AMessageCostsNoWaitOfItsOwn) {
  EXPECT_EQ(100, deletedOf(100));
  const int few = distance.waits;
  EXPECT_EQ(2000, deletedOf(2000));
  // 1 MiB holds some 250 of these messages.
  EXPECT_LE(distance.waits - few, 1900 / 250 + 3);
}

TEST_F(SeriesAtADistance, AServerThatStopsReadingEndsTheSessionWithoutQuit) {
  for (const std::size_t bytes : {20'000U, 26'000U, 30'000U, 40'000U}) {
    EXPECT_EQ(0, deletedOf(1000, bytes)) << bytes;
    EXPECT_EQ(0, mailbox->count("QUIT"));
  }
}

}  // namespace
}  // namespace vornelle

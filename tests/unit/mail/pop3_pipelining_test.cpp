#include "mail/pop3_client.h"

#include "tests/unit/mail/given_connector.h"
#include "tests/unit/mail/latent_stream.h"
#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

// ---- CAPA and pipelining ----

TEST_F(Pop3ClientTest, ASmallMailboxIsReadWithoutAskingForCapabilities) {
  deliverMany(7);
  expectWholeList(7);
  EXPECT_EQ(0, mailbox->count("CAPA"));
}

TEST_F(Pop3ClientTest, ALargeMailboxIsReadPipelined) {
  deliverMany(8);
  expectWholeList(8);
  EXPECT_EQ(1, mailbox->count("CAPA"));
  EXPECT_EQ(8, mailbox->count("TOP"));
  // USER, PASS, LIST, CAPA, UIDL, TOP for the first message, TOP for all others, UIDL for the last.
  EXPECT_EQ(8U, mailbox->deliveries);
}

TEST_F(Pop3ClientTest, CapabilitiesAreAskedForOnce) {
  deliverMany(40);
  expectWholeList(40);
  EXPECT_TRUE(mail->popGetHeaderList(1));
  EXPECT_EQ(1, mailbox->count("CAPA"));
}

TEST_F(Pop3ClientTest, WithPipeliningTheConfirmationOfAMessageCostsNoWait) {
  deliverMany(32);
  expectWholeList(32);
  const std::size_t before = mailbox->deliveries;
  EXPECT_TRUE(mail->popGetMessage("id-3"));
  EXPECT_TRUE(mail->popDeleteMessage("id-3"));
  EXPECT_EQ(before + 2, mailbox->deliveries);
  EXPECT_EQ(1, mailbox->count("UIDL 3"));
}

TEST_F(Pop3ClientTest, ARefusedRetrievalLeavesThePipelineInStep) {
  deliverMany(32);
  expectWholeList(32);
  mailbox->answers["RETR 3"] = "-ERR\r\n";
  EXPECT_FALSE(mail->popGetMessage("id-3"));
  EXPECT_FALSE(mail->popDeleteMessage("id-3"));
  EXPECT_TRUE(mail->popGetMessage("id-4"));
  EXPECT_TRUE(mail->popDeleteMessage("id-4"));
  mail.reset();
  EXPECT_EQ(std::vector<std::string>{"id-4"}, mailbox->deleted);
}

TEST_F(Pop3ClientTest, AServerThatDoesNotAnnouncePipeliningGetsOneCommandAtATime) {
  deliverMany(40);
  mailbox->pipelining = false;
  expectWholeList(40);
  EXPECT_EQ(6U + 40U, mailbox->deliveries);
}

TEST_F(Pop3ClientTest, AServerWithoutCapabilitiesGetsOneCommandAtATime) {
  deliverMany(40);
  mailbox->hasCapa = false;
  expectWholeList(40);
  EXPECT_EQ(1, mailbox->connections);
  EXPECT_EQ(6U + 40U, mailbox->deliveries);
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

TEST_F(Pop3ClientTest, WhatTheFirstSessionToldOfTheMailboxIsForgottenInTheSecond) {
  for (const bool uidlsAsked : {false, true}) {
    mailbox->messages.clear();
    mailbox->deleted.clear();
    mailbox->closesAt = "CAPA";
    deliverMany(40);
    // Another program takes the first message away in between: all others get other numbers.
    mailbox->onCommand = [this](const std::string& command) {
      if (command == "CAPA") mailbox->messages.erase(mailbox->messages.begin());
    };
    mail = std::make_unique<MailComponent>();
    mail->setPopServer("mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
    ASSERT_TRUE(mail->popConnect());
    if (uidlsAsked) {
      ASSERT_TRUE(mail->popGetUidls());
    }
    const auto headers = mail->popGetHeaderList(1);
    ASSERT_TRUE(headers);
    ASSERT_EQ(39, headers->getCount());
    EXPECT_EQ("id-2", headers->getItem(0)->getUidl());
    EXPECT_EQ("Subject 2", headers->getItem(0)->getSubject());
    const auto fetched = mail->popGetMessage("id-7");
    ASSERT_TRUE(fetched);
    EXPECT_EQ(message(7), fetched->getRawText());
    EXPECT_TRUE(mail->popDeleteMessage("id-7"));
    EXPECT_FALSE(mail->popDeleteMessage("id-1"));
    mail.reset();
    EXPECT_EQ(std::vector<std::string>{"id-7"}, mailbox->deleted);
  }
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
      Pop3Client client(given([&] {
                          return std::make_unique<LatentStream>(std::make_unique<ScriptedPop3>(mailbox),
                                                                distance);
                        }),
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
  // Log-on, lists, the first header, the confirmation and QUIT are 10 waits; then 32 KiB of commands, some
  // 2,700 messages, go out at a time.
  EXPECT_LE(waitsFor(50, true), 11);
  EXPECT_LE(waitsFor(500, true), 12);
  EXPECT_LE(waitsFor(5000, true), 10 + 2 * 5000 / 2700);
  EXPECT_GE(waitsFor(500, false), 500);
}

}  // namespace
}  // namespace vornelle

#include "mail/smtp_client.h"

#include "mail/mail_component.h"
#include "tests/unit/mail/scripted_smtp.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

constexpr std::int32_t kSent = 1;

class SmtpClientTest : public SimTest {
 protected:
  std::shared_ptr<SmtpMailboxes> server = addSmtpServer();
  std::unique_ptr<MailComponent> mail = std::make_unique<MailComponent>();

  SmtpClientTest() { mail->setSmtpServer("mail.example"); }

  std::int32_t send(const std::string& text, const std::string& from = "ann@x.example") {
    return mail->smtpSendRaw(from, "bob@x.example", text);
  }
  [[nodiscard]] bool said(const std::string& command) const {
    return std::find(server->commands.begin(), server->commands.end(), command) != server->commands.end();
  }
};

// ---- connecting ----

TEST_F(SmtpClientTest, ConnectingGreetsWithEhlo) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(std::vector<std::string>{"EHLO [127.0.0.1]"}, server->commands);
}

TEST_F(SmtpClientTest, WhereEhloIsRefusedHeloFollows) {
  server->answers["EHLO"] = "502 what?\r\n";
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ("HELO [127.0.0.1]", server->commands.back());
  EXPECT_EQ(kSent, send("Subject: x\r\n\r\n\xFC\r\n"));
  EXPECT_EQ("<ann@x.example>", server->mails.at(0).from) << "an old server knows no parameters";
}

TEST_F(SmtpClientTest, AServerThatWantsNobodyIsAFailure) {
  server->answers["GREETING"] = "554 go away\r\n";
  EXPECT_FALSE(mail->smtpConnect());
  server->answers.clear();
  server->answers["EHLO"] = server->answers["HELO"] = "550 no\r\n";
  EXPECT_FALSE(mail->smtpConnect());
  mail->setSmtpServer("nowhere.example");
  EXPECT_FALSE(mail->smtpConnect());
  mail->setSmtpServer("mail.example:70000");
  EXPECT_FALSE(mail->smtpConnect());
}

TEST_F(SmtpClientTest, ThePortStandsBehindTheHost) {
  const auto other = addSmtpServer("mail.example", 2525);
  mail->setSmtpServer("mail.example:2525");
  EXPECT_TRUE(mail->smtpConnect());
  EXPECT_EQ(1, other->connections);
}

TEST_F(SmtpClientTest, ReleaseEndsTheSessionWithQuit) {
  ASSERT_TRUE(mail->smtpConnect());
  mail.reset();
  EXPECT_EQ("QUIT", server->commands.back());
}

TEST_F(SmtpClientTest, ASilentServerIsGivenUpAfterTheTimeOut) {
  server->stallsAt = "EHLO";
  EXPECT_FALSE(mail->smtpConnect());
  EXPECT_EQ(30'000, sim::elapsedMilliseconds());
  EXPECT_FALSE(said("QUIT"));
}

// ---- logging on ----

TEST_F(SmtpClientTest, WithoutAUserTheGreetingIsEnough) {
  EXPECT_TRUE(mail->smtpLogin());
  EXPECT_EQ(1, server->connections);
  EXPECT_EQ(1U, server->commands.size());
}

TEST_F(SmtpClientTest, LoggingOnConnectsWhereThatHasNotBeenDone) {
  server->user = "Ym9i";
  server->password = "c2Vj/XQ=";
  mail->setSmtpUser("bob");
  mail->setSmtpPassword("sec\xFDt");
  mail->setSmtpAuthMethod("LOGIN");
  EXPECT_TRUE(mail->smtpLogin());
  EXPECT_TRUE(said("AUTH LOGIN"));
  EXPECT_EQ(1, server->connections);
}

TEST_F(SmtpClientTest, LoggingOnUsesTheConnectionThatIsThere) {
  server->user = "Ym9i";
  ASSERT_TRUE(mail->smtpConnect());
  mail->setSmtpUser("bob");
  EXPECT_TRUE(mail->smtpLogin());
  EXPECT_EQ(1, server->connections);
}

TEST_F(SmtpClientTest, AnyRefusalOfTheLogOnIsAFailure) {
  mail->setSmtpUser("bob");
  server->user = "Ym9i";
  server->password = "another";
  EXPECT_FALSE(mail->smtpLogin());
  for (const std::string step : {"AUTH", "AUTH-USER", "AUTH-PASSWORD"}) {
    for (const std::string answer : {"504 no\r\n", "250 ok?\r\n", "334 more\r\n", "nonsense\r\n"}) {
      if ((step == "AUTH-PASSWORD") == (answer[0] == '2') && step == "AUTH-PASSWORD") continue;
      if (step != "AUTH-PASSWORD" && answer[0] == '3') continue;
      server->answers = {{step, answer}};
      auto component = std::make_unique<MailComponent>();
      component->setSmtpServer("mail.example");
      component->setSmtpUser("bob");
      EXPECT_FALSE(component->smtpLogin()) << step << answer;
    }
  }
}

TEST_F(SmtpClientTest, AServerThatCannotBeReachedIsALogOnFailure) {
  mail->setSmtpServer("nowhere.example");
  EXPECT_FALSE(mail->smtpLogin());
}

// ---- sending ----

TEST_F(SmtpClientTest, AMessageIsSentAsItIs) {
  const std::string text = "From: ann@x.example\r\n\r\n.dot\r\n..\r\n.\r\nlast\r\n";
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send(text));
  ASSERT_EQ(1U, server->mails.size());
  EXPECT_EQ("<ann@x.example>", server->mails[0].from);
  EXPECT_EQ("<bob@x.example>", server->mails[0].to);
  EXPECT_EQ(text, server->mails[0].text);
}

TEST_F(SmtpClientTest, ALargeMessageIsSentAsItIs) {
  std::string text = "From: ann@x.example\r\n\r\n";
  while (text.size() < 300'000)
    text += ".......................\r\n" + std::string(text.size() % 97, '.') + "\r\n";
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send(text));
  EXPECT_TRUE(server->mails.at(0).text == text);
}

TEST_F(SmtpClientTest, AMissingLineEndAtTheEndIsAdded) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send("a\r\nb"));
  EXPECT_EQ("a\r\nb\r\n", server->mails.at(0).text);
  EXPECT_EQ(kSent, send(""));
  EXPECT_EQ("", server->mails.at(1).text);
}

TEST_F(SmtpClientTest, ALoneLineFeedOrReturnBeforeADotHidesNoEndOfText) {
  // Servers that take a lone line feed for a line end would go on with the stranger's commands.
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send("a\n.\r\nMAIL FROM:<eve@x.example>\r\nb\r.\r\n"));
  EXPECT_EQ("a\n..\r\nMAIL FROM:<eve@x.example>\r\nb\r..\r\n", server->mails.at(0).text);
}

TEST_F(SmtpClientTest, TheSenderIsTheAddressInAWholeFromField) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send("x\r\n", "\"Ann\" <ann@x.example>"));
  EXPECT_EQ("<ann@x.example>", server->mails.at(0).from);
}

TEST_F(SmtpClientTest, ASenderThatIsNoAddressIsSentAsNobody) {
  ASSERT_TRUE(mail->smtpConnect());
  for (const std::string from : {"", "Ann", "\xC4nn"}) {
    EXPECT_EQ(kSent, send("x\r\n", from));
    EXPECT_EQ("<>", server->mails.back().from);
  }
}

TEST_F(SmtpClientTest, AnAddressWithALineEndIsNotSent) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_NE(kSent, send("x\r\n", "ann@x.example\r\nRCPT TO:<eve@x.example>"));
  EXPECT_NE(kSent, send("x\r\n", "ann@x.example\n"));
  EXPECT_NE(kSent, mail->smtpSendRaw("ann@x.example", "bob@x.example\rDATA", "x\r\n"));
  EXPECT_EQ(1U, server->commands.size());
}

TEST_F(SmtpClientTest, WithoutARecipientNothingIsSent) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_NE(kSent, mail->smtpSendRaw("ann@x.example", "", "x\r\n"));
  EXPECT_NE(kSent, mail->smtpSendRaw("ann@x.example", "bob builder", "x\r\n"));
  EXPECT_EQ(1U, server->commands.size());
}

TEST_F(SmtpClientTest, ARecipientMayBeKnownToTheServerWithoutADomain) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, mail->smtpSendRaw("ann@x.example", " bob ", "x\r\n"));
  EXPECT_EQ("<bob>", server->mails.at(0).to);
}

TEST_F(SmtpClientTest, EightBitTextIsAnnouncedWhereTheServerKnowsIt) {
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send("\xFC\r\n"));
  EXPECT_EQ("<ann@x.example> BODY=8BITMIME", server->mails.at(0).from);
  EXPECT_EQ(kSent, send("u\r\n"));
  EXPECT_EQ("<ann@x.example>", server->mails.at(1).from);
  server->extensions = {"SIZE 1000"};
  ASSERT_TRUE(mail->smtpConnect());
  EXPECT_EQ(kSent, send("\xFC\r\n"));
  EXPECT_EQ("<ann@x.example>", server->mails.at(2).from);
}

TEST_F(SmtpClientTest, ARefusalAtAnyStepIsAFailureAndTheNextMessageCanBeSent) {
  ASSERT_TRUE(mail->smtpConnect());
  for (const std::string verb : {"MAIL", "RCPT", "DATA", "."}) {
    server->answers = {{verb, "550-no\r\n550 not that\r\n"}};
    EXPECT_NE(kSent, send("x\r\n")) << verb;
    server->answers.clear();
    EXPECT_EQ(kSent, send("x\r\n")) << verb;
  }
  EXPECT_EQ(4U, server->mails.size());
  EXPECT_EQ(2, std::count(server->commands.begin(), server->commands.end(), "RSET"));
}

TEST_F(SmtpClientTest, WithoutAConnectionNothingIsSent) {
  EXPECT_NE(kSent, send("x\r\n"));
}

// ---- errors: the session is dead ----

TEST_F(SmtpClientTest, AnAnswerThatIsNoneKillsTheSession) {
  for (const std::string answer :
       {"hello\r\n", "25\r\n", "250x\r\n", "2500 ok\r\n", "\r\n", "421 closing\r\n"}) {
    ASSERT_TRUE(mail->smtpConnect());
    server->answers = {{"MAIL", answer}};
    EXPECT_NE(kSent, send("x\r\n")) << answer;
    server->answers.clear();
    const std::size_t before = server->commands.size();
    EXPECT_NE(kSent, send("x\r\n")) << answer;
    mail = std::make_unique<MailComponent>();
    mail->setSmtpServer("mail.example");
    EXPECT_EQ(before, server->commands.size()) << "no QUIT either";
  }
}

TEST_F(SmtpClientTest, AReplyOfMoreThan64KiBKillsTheSession) {
  std::string answer;
  while (answer.size() < (80U << 10)) answer += "250-" + std::string(60, 'x') + "\r\n";
  server->answers["EHLO"] = answer + "250 end\r\n";
  EXPECT_FALSE(mail->smtpConnect());
  server->answers["EHLO"] = "250 " + std::string(70U << 10, 'x') + "\r\n";
  EXPECT_FALSE(mail->smtpConnect());
  EXPECT_FALSE(said("QUIT"));
}

TEST_F(SmtpClientTest, AReplyWithoutTextIsRead) {
  server->answers["EHLO"] = "250\r\n";
  EXPECT_TRUE(mail->smtpConnect());
}

TEST_F(SmtpClientTest, ALineThatIsCutAnywhereNeverCountsAsSent) {
  const auto session = [this](std::size_t cutAfter) {
    server = addSmtpServer();
    server->cutAfter = cutAfter;
    server->user = "Ym9i";
    mail = std::make_unique<MailComponent>();
    mail->setSmtpServer("mail.example");
    mail->setSmtpUser("bob");
    const bool sent = mail->smtpConnect() && mail->smtpLogin() && send("x\r\n") == kSent;
    EXPECT_TRUE(!sent || server->mails.size() == 1);
    const std::size_t bytes = server->bytesSent;
    mail.reset();
    return std::pair(sent, bytes);
  };
  const auto [sent, bytes] = session(std::numeric_limits<std::size_t>::max());
  ASSERT_TRUE(sent);
  for (std::size_t cut = 0; cut < bytes; ++cut) EXPECT_FALSE(session(cut).first) << cut;
}

}  // namespace
}  // namespace vornelle

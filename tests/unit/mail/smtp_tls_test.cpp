// The SMTP client on lines that are to be encrypted, from the start or by STARTTLS.
#include <gmock/gmock.h>

#include "mail/mail_component.h"
#include "mail/smtp_client.h"
#include "tests/unit/mail/scripted_smtp.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t kAccepted = 1;
const std::string kEhlo = "EHLO [127.0.0.1]";

class SmtpTlsTest : public SimTest {
 protected:
  std::shared_ptr<SmtpMailboxes> server = addSmtpServer("mail.example", 587);
  std::unique_ptr<MailComponent> mail = component("mail.example:587");

  SmtpTlsTest() {
    server->tls.emplace();
    server->user = "Ym9i";
    server->password = "c2VjcmV0";
  }
  static std::unique_ptr<MailComponent> component(const std::string& field) {
    auto made = std::make_unique<MailComponent>();
    made->setSmtpServer(field);
    made->setSmtpUser("bob");
    made->setSmtpPassword("secret");
    return made;
  }
  void encryptAtOnce() {
    server = addSmtpServer("mail.example", 465);
    server->tls.emplace();
    server->tlsAtOnce = true;
    server->user = "Ym9i";
    server->password = "c2VjcmV0";
    mail = component("tls://mail.example");
  }
  MailReason reasonOfFailedLogOn() {
    server->commands.clear();
    EXPECT_FALSE(mail->smtpLogin());
    EXPECT_EQ(mail->failure().protocol, MailProtocol::smtp);
    return mail->failure().reason;
  }
};

TEST_F(SmtpTlsTest, BeforeTheHandshakeNothingIsSaidButEhloAndStarttlsAndEhloComesAgain) {
  ASSERT_TRUE(mail->smtpLogin());
  EXPECT_THAT(server->plainCommands, ElementsAre(kEhlo, "STARTTLS"));
  EXPECT_THAT(server->commands, ElementsAre(kEhlo, "STARTTLS", kEhlo, "AUTH LOGIN", "Ym9i", "c2VjcmV0"));
  EXPECT_EQ(kAccepted, mail->smtpSendRaw("ann@x.example", "bob@x.example", "x\r\n"));
  mail.reset();
  EXPECT_EQ(server->commands.back(), "QUIT");
  EXPECT_THAT(server->plainCommands, ElementsAre(kEhlo, "STARTTLS"));
}

TEST_F(SmtpTlsTest, AnEncryptedPortIsSpokenToOnlyBehindTheHandshake) {
  encryptAtOnce();
  ASSERT_TRUE(mail->smtpLogin());
  EXPECT_THAT(server->plainCommands, IsEmpty());
  EXPECT_EQ(server->commands.front(), kEhlo);
}

TEST_F(SmtpTlsTest, WhatTheServerToldBeforeTheHandshakeIsForgotten) {
  server->plainExtensions = {"8BITMIME", "STARTTLS"};
  server->extensions = {"AUTH LOGIN"};
  ASSERT_TRUE(mail->smtpLogin());
  EXPECT_EQ(kAccepted, mail->smtpSendRaw("ann@x.example", "bob@x.example", "\xFC\r\n"));
  EXPECT_EQ(server->mails.at(0).from, "<ann@x.example>");
}

TEST_F(SmtpTlsTest, WhereStarttlsIsNotListedItIsAskedForAllTheSame) {
  server->plainExtensions = {"8BITMIME"};
  EXPECT_TRUE(mail->smtpLogin());
}

TEST_F(SmtpTlsTest, WhereStarttlsIsRefusedNothingElseIsSaidNotEvenQuit) {
  for (const std::string answer :
       {"454 TLS not available\r\n", "502 what?\r\n", "250 ok\r\n", "221 bye\r\n"}) {
    server->answers["STARTTLS"] = answer;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsNotOffered) << answer;
    EXPECT_EQ(mail->failure().words, cleanedWords(answer));
    EXPECT_NE(kAccepted, mail->smtpSendRaw("ann@x.example", "bob@x.example", "x\r\n"));
    EXPECT_THAT(server->commands, ElementsAre(kEhlo, "STARTTLS"));
  }
}

TEST_F(SmtpTlsTest, WhereEhloIsRefusedThereIsNoHeloInPlainText) {
  server->answers["EHLO"] = "502 what?\r\n";
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsNotOffered);
  EXPECT_THAT(server->commands, ElementsAre(kEhlo));
}

TEST_F(SmtpTlsTest, BytesBehindTheAnswerToStarttlsEndTheSession) {
  for (const std::string injected : {"250 mail.example\r\n", "x", "\r\n", "\x16"}) {
    server->answers["STARTTLS"] = "220 go on\r\n" + injected;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsInjected) << injected;
    EXPECT_THAT(server->commands, ElementsAre(kEhlo, "STARTTLS"));
    EXPECT_THAT(server->peers, IsEmpty());
  }
  server->answers.clear();
  server->tls->problem = TlsProblem::notTls;
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsInjected);
}

TEST_F(SmtpTlsTest, AnAnswerThatCameBeforeItsCommandEndsTheSession) {
  // Both answers at once: the second cannot be one to STARTTLS, which has not been sent.
  server->answers["EHLO"] = "250 mail.example\r\n220 go on\r\n";
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsInjected);
  EXPECT_THAT(server->commands, ElementsAre(kEhlo));
  EXPECT_THAT(server->peers, IsEmpty());
}

TEST_F(SmtpTlsTest, AHandshakeThatFailsEndsTheSession) {
  for (const bool atOnce : {false, true}) {
    if (atOnce) encryptAtOnce();
    for (const TlsProblem problem : {TlsProblem::version, TlsProblem::closed, TlsProblem::untrusted}) {
      server->tls->problem = problem;
      EXPECT_NE(reasonOfFailedLogOn(), MailReason::none);
      EXPECT_EQ(mail->failure().step, MailStep::securing);
      EXPECT_EQ(server->commands.size(), atOnce ? 0U : 2U);
    }
  }
}

TEST_F(SmtpTlsTest, AServerThatFallsSilentOrClosesAtAnyStepIsGivenUp) {
  for (const std::string step : {"GREETING", "EHLO", "STARTTLS", "AUTH-PASSWORD"}) {
    server->stallsAt = step;
    mail = component("mail.example:587");
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::timedOut) << step;
    server->stallsAt = "";
    server->closesAt = step;
    mail = component("mail.example:587");
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::closed) << step;
    server->closesAt = "";
  }
}

TEST_F(SmtpTlsTest, ALineThatIsCutAtAnyByteSendsNoPasswordInPlainText) {
  ASSERT_TRUE(mail->smtpLogin());
  const std::size_t bytes = server->bytesSent;
  for (std::size_t cut = 0; cut < bytes; ++cut) {
    server = addSmtpServer("mail.example", 587);
    server->tls.emplace();
    server->cutAfter = cut;
    mail = component("mail.example:587");
    EXPECT_FALSE(mail->smtpLogin()) << cut;
    mail.reset();
    for (const std::string& command : server->plainCommands)
      EXPECT_TRUE(command == kEhlo || command == "STARTTLS") << command;
  }
}

TEST_F(SmtpTlsTest, AServerThatKnowsOnlyTheNewestTlsGetsASecondConnection) {
  for (const bool atOnce : {false, true}) {
    if (atOnce) encryptAtOnce();
    server->tls->problem = TlsProblem::version;
    server->tls->newestMayDo = true;
    server->onHandshake = [this] {
      if (server->peers.back().versions == TlsVersions::newest) server->tls->problem = TlsProblem::none;
    };
    EXPECT_TRUE(mail->smtpLogin());
    EXPECT_EQ(server->connections, 2);
  }
}

}  // namespace
}  // namespace vornelle

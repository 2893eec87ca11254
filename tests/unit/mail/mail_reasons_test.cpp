// The reason of each failure, from the line and the server up to the component and the pages.
#include <gmock/gmock.h>

#include "core/settings.h"
#include "mail/mail_component.h"
#include "mail/server_notes.h"
#include "tests/unit/mail/pop3_client_fixture.h"
#include "tests/unit/mail/scripted_smtp.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class MailReasonsTest : public Pop3ClientTest {
 protected:
  void expectLogOnFailure(MailReason reason, MailStep step, const std::string& words = "") {
    EXPECT_FALSE(mail->popConnect());
    const MailFailure& failure = mail->failure();
    EXPECT_EQ(reasonName(failure.reason), reasonName(reason));
    EXPECT_EQ(stepName(failure.step), stepName(step));
    EXPECT_EQ(failure.words, words);
    EXPECT_EQ(failure.protocol, MailProtocol::pop3);
    EXPECT_EQ(lastMailFailures.pop.reason, failure.reason);
    EXPECT_NE(failureText(failure), "");
  }
};

TEST_F(MailReasonsTest, ASuccessHasNone) {
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->failure());
  EXPECT_FALSE(lastMailFailures.pop);
}

TEST_F(MailReasonsTest, ALineThatFetchesNothingAheadHasNotFailed) {
  deliver("id-1", message(1));
  ASSERT_TRUE(mail->popConnect());
  ASSERT_TRUE(mail->popGetHeaderList(1));
  EXPECT_FALSE(mail->popExpect({"id-1"}));
  EXPECT_FALSE(mail->failure());
  EXPECT_FALSE(lastMailFailures.pop);
}

TEST_F(MailReasonsTest, TheFieldIsNoServer) {
  mail->setPopServer("mail.example:99999");
  expectLogOnFailure(MailReason::fieldUnreadable, MailStep::connecting);
  EXPECT_THAT(failureText(mail->failure()), StartsWith("\"mail.example:99999\" is no server"));
  mail->setPopServer("imap://mail.example");
  expectLogOnFailure(MailReason::schemeUnknown, MailStep::connecting);
  mail->setPopServer("");
  expectLogOnFailure(MailReason::fieldUnreadable, MailStep::connecting);
  EXPECT_THAT(failureText(mail->failure()), StartsWith("No POP3 server has been entered."));
}

TEST_F(MailReasonsTest, TheNameIsNotThereOrNobodyListens) {
  mail->setPopServer("nowhere.example");
  expectLogOnFailure(MailReason::nameNotFound, MailStep::connecting);
  mail->setPopServer("mail.example:111");
  expectLogOnFailure(MailReason::refused, MailStep::connecting);
  EXPECT_EQ(mail->failure().port, 111);
}

TEST_F(MailReasonsTest, TheServerFallsSilent) {
  mailbox->stallsAt = "GREETING";
  expectLogOnFailure(MailReason::timedOut, MailStep::greeting);
  mailbox->stallsAt = "PASS";
  expectLogOnFailure(MailReason::timedOut, MailStep::loggingOn);
}

TEST_F(MailReasonsTest, TheServerCloses) {
  mailbox->closesAt = "GREETING";
  expectLogOnFailure(MailReason::closed, MailStep::greeting);
  mailbox->closesAt = "USER";
  expectLogOnFailure(MailReason::closed, MailStep::loggingOn);
}

TEST_F(MailReasonsTest, TheServerSaysNoInItsOwnWordsButNeverWithThePassword) {
  mail->setPopPassword("wrong");
  expectLogOnFailure(MailReason::saidNo, MailStep::loggingOn, "-ERR ****");
  mailbox->answers["PASS"] = "-ERR [AUTH] app password\t needed\r\n";
  expectLogOnFailure(MailReason::saidNo, MailStep::loggingOn, "-ERR [AUTH] app password  needed");
  mailbox->answers["GREETING"] = "-ERR go away\r\n";
  expectLogOnFailure(MailReason::saidNo, MailStep::greeting, "-ERR go away");
}

TEST_F(MailReasonsTest, TheServerIsNone) {
  mailbox->answers["GREETING"] = "SSH-2.0-x\r\n";
  expectLogOnFailure(MailReason::nonsense, MailStep::greeting, "SSH-2.0-x");
}

TEST_F(MailReasonsTest, AnAccountThatCannotBeSentIsNotSent) {
  mail->setPopAccount("bob\r\nDELE 1");
  expectLogOnFailure(MailReason::credentialsUnusable, MailStep::loggingOn);
  EXPECT_EQ(mailbox->connections, 0);
}

TEST_F(MailReasonsTest, AfterTheLogOnEveryOperationTellsItsStep) {
  deliver("id-1", message(1));
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popGetMessage("id-2"));
  EXPECT_EQ(mail->failure().reason, MailReason::noMessage);
  EXPECT_EQ(mail->failure().step, MailStep::fetching);
  mailbox->answers["DELE"] = "-ERR read only\r\n";
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  EXPECT_EQ(mail->failure().reason, MailReason::saidNo);
  EXPECT_EQ(mail->failure().step, MailStep::deleting);
  EXPECT_EQ(mail->failure().words, "-ERR read only");
  mailbox->closesAt = "RETR";
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  EXPECT_EQ(mail->failure().reason, MailReason::closed);
  EXPECT_FALSE(mail->popGetHeaderList(1));
  EXPECT_EQ(mail->failure().step, MailStep::listing);
  EXPECT_EQ(mail->failure().reason, MailReason::closed);
}

TEST_F(MailReasonsTest, AFailureStaysForThePagesUntilTheNextTaskHasLoggedOn) {
  deliver("id-1", message(1));
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popGetMessage("id-2"));
  EXPECT_TRUE(mail->popGetMessage("id-1"));
  EXPECT_FALSE(mail->failure());
  EXPECT_EQ(lastMailFailures.pop.reason, MailReason::noMessage);
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(lastMailFailures.pop);
}

TEST_F(MailReasonsTest, AnSmtpServerTellsItsStepsToo) {
  const auto smtp = addSmtpServer();
  mail->setSmtpServer("mail.example");
  mail->setSmtpUser("bob");
  mail->setSmtpPassword("secret");
  smtp->answers["AUTH-PASSWORD"] = "535 c2VjcmV0 is no password\r\n";
  EXPECT_FALSE(mail->smtpLogin());
  EXPECT_EQ(mail->failure().reason, MailReason::saidNo);
  EXPECT_EQ(mail->failure().step, MailStep::loggingOn);
  EXPECT_EQ(mail->failure().words, "535 **** is no password");
  EXPECT_EQ(lastMailFailures.smtp.reason, MailReason::saidNo);
  EXPECT_FALSE(lastMailFailures.pop);

  smtp->answers = {{"RCPT", "550 relaying denied\r\n"}};
  EXPECT_NE(1, mail->smtpSendRaw("ann@x.example", "bob@x.example", "x\r\n"));
  EXPECT_EQ(mail->failure().step, MailStep::sending);
  EXPECT_EQ(mail->failure().words, "550 relaying denied") << "and not the answer to RSET";
  EXPECT_NE(1, mail->smtpSendRaw("ann@x.example", "", "x\r\n"));
  EXPECT_EQ(mail->failure().reason, MailReason::addressUnusable);

  smtp->answers = {{"GREETING", "421 too busy\r\n"}};
  EXPECT_FALSE(mail->smtpConnect());
  EXPECT_EQ(mail->failure().reason, MailReason::saidNo);
  EXPECT_EQ(mail->failure().words, "421 too busy");
}

// ---- the further line of the log ----

TEST_F(MailReasonsTest, APlainLineNeverHasAFurtherLine) {
  for (int i = 0; i <= static_cast<int>(MailReason::outOfMemory); ++i) {
    MailFailure failure;
    failure.reason = static_cast<MailReason>(i);
    failure.step = MailStep::securing;
    EXPECT_EQ(tlsLogLine(failure), "") << i;
  }
}

TEST_F(MailReasonsTest, AnEncryptedLineTellsWhyItCouldNotBeEncrypted) {
  MailFailure failure;
  failure.host = "mail.example";
  failure.encrypted = true;
  failure.fingerprint = "ab12";
  failure.reason = MailReason::certificateUntrusted;
  EXPECT_EQ(tlsLogLine(failure), "**TLS to mail.example: certificate not trusted, SHA-256 AB:12");
  failure.reason = MailReason::certificateChanged;
  failure.acceptedFingerprint = "cd34";
  EXPECT_EQ(
      tlsLogLine(failure),
      "**TLS to mail.example: certificate is not the accepted one, accepted SHA-256 CD:34, shown SHA-256 "
      "AB:12");
  failure.reason = MailReason::tlsFailed;
  failure.words = "handshake failure";
  EXPECT_EQ(tlsLogLine(failure), "**TLS to mail.example: no agreement (handshake failure)");
  failure.reason = MailReason::saidNo;
  EXPECT_EQ(tlsLogLine(failure), "");
  failure.reason = MailReason::timedOut;
  failure.step = MailStep::fetching;
  EXPECT_EQ(tlsLogLine(failure), "") << "that is not TLS's fault";
  failure.step = MailStep::securing;
  EXPECT_THAT(tlsLogLine(failure), HasSubstr("no end in time"));
}

// ---- notes beside the settings ----

TEST_F(MailReasonsTest, APasswordThatCrossesTheNetworkInPlainTextIsWarnedOf) {
  settings.POP_SERVER = "mail.example";
  settings.POP_PASSWORD = "secret";
  EXPECT_THAT(serverNote(MailProtocol::pop3), HasSubstr("crosses the network in plain text"));
  EXPECT_THAT(serverNote(MailProtocol::pop3), HasSubstr("enter mail.example:995."));
  settings.SMTP_SERVER = "mail.example";
  EXPECT_EQ(serverNote(MailProtocol::smtp), "") << "no user, no password";
  settings.SMTP_USER = "bob";
  EXPECT_THAT(serverNote(MailProtocol::smtp), HasSubstr("enter mail.example:465."));
  EXPECT_THAT(serverNotesText(), StartsWith("POP3: The password for mail.example"));
  EXPECT_THAT(serverNotesText(), HasSubstr("\nSMTP: The password"));
}

TEST_F(MailReasonsTest, NoWarningWhereNothingCrossesOrItIsEncrypted) {
  settings.POP_PASSWORD = "secret";
  for (const char* server : {"localhost", "127.0.0.1:8110", "[::1]:110", "mail.example:995",
                             "starttls://mail.example", "tls://mail.example", "", "mail.example:0"}) {
    settings.POP_SERVER = server;
    EXPECT_EQ(serverNote(MailProtocol::pop3), "") << server;
  }
  settings.POP_SERVER = "mail.example";
  settings.POP_PASSWORD = "";
  EXPECT_EQ(serverNote(MailProtocol::pop3), "");
  EXPECT_EQ(serverNotesText(),
            "POP3: mail.example:995 for an encrypted connection.\nSMTP: mail.example:465 or :587 for an "
            "encrypted connection.");
}

TEST_F(MailReasonsTest, AFailureComesBeforeAWarning) {
  settings.POP_SERVER = "mail.example";
  settings.POP_PASSWORD = "wrong";
  mail->setPopPassword("wrong");
  EXPECT_FALSE(mail->popConnect());
  EXPECT_EQ(serverNote(MailProtocol::pop3), failureText(mail->failure()));
}

TEST_F(MailReasonsTest, OnlyARefusedCertificateCanBeAccepted) {
  EXPECT_EQ(refusedCertificate(MailProtocol::pop3), nullptr);
  mail->setPopPassword("wrong");
  EXPECT_FALSE(mail->popConnect());
  EXPECT_EQ(refusedCertificate(MailProtocol::pop3), nullptr);
  mailbox->tls.emplace();
  mailbox->tls->problem = TlsProblem::selfSigned;
  mail->setPopServer("starttls://mail.example");
  EXPECT_FALSE(mail->popConnect());
  ASSERT_NE(refusedCertificate(MailProtocol::pop3), nullptr);
  EXPECT_EQ(refusedCertificate(MailProtocol::pop3)->fingerprint, mailbox->tls->fingerprint);
  EXPECT_EQ(refusedCertificate(MailProtocol::smtp), nullptr);
}

}  // namespace
}  // namespace vornelle

// The POP3 client on lines that are to be encrypted, from the start or by STLS.
#include <gmock/gmock.h>

#include "mail/tls_certificates.h"
#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kFingerprint = sim::TlsAnswer{}.fingerprint;

class Pop3TlsTest : public Pop3ClientTest {
 protected:
  Pop3TlsTest() {
    mailbox->tls.emplace();
    mail->setPopServer("starttls://mail.example");
  }
  void encryptAtOnce() {
    mailbox = addPop3Server("mail.example", 995);
    mailbox->tls.emplace();
    mailbox->tlsAtOnce = true;
    mail->setPopServer("mail.example:995");
  }
  MailReason reasonOfFailedLogOn() {
    EXPECT_FALSE(mail->popConnect());
    EXPECT_EQ(mail->failure().host, "mail.example");
    return mail->failure().reason;
  }
  [[nodiscard]] std::vector<std::string> commandsAfterStls() const {
    std::vector<std::string> rest = mailbox->commands;
    rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(mailbox->plainCommands.size()));
    return rest;
  }
};

TEST_F(Pop3TlsTest, BeforeTheHandshakeNothingIsSaidButStls) {
  deliver("id-1", message(1));
  ASSERT_TRUE(mail->popConnect());
  EXPECT_THAT(mailbox->plainCommands, ElementsAre("STLS"));
  EXPECT_THAT(commandsAfterStls(), ElementsAre("USER bob", "PASS secret"));
  ASSERT_TRUE(mail->popGetMessage("id-1"));
  ASSERT_TRUE(mail->popDeleteMessage("id-1"));
  mail.reset();
  EXPECT_THAT(mailbox->deleted, ElementsAre("id-1"));
  EXPECT_THAT(mailbox->plainCommands, ElementsAre("STLS"));
  ASSERT_EQ(mailbox->peers.size(), 1U);
  EXPECT_EQ(mailbox->peers[0].host, "mail.example");
}

TEST_F(Pop3TlsTest, AnEncryptedPortIsSpokenToOnlyBehindTheHandshake) {
  encryptAtOnce();
  deliverMany(3);
  expectWholeList(3);
  EXPECT_THAT(mailbox->plainCommands, IsEmpty());
  EXPECT_EQ(mailbox->commands.front(), "USER bob");
}

TEST_F(Pop3TlsTest, WhereStlsIsRefusedNothingElseIsSaidNotEvenQuit) {
  for (const std::string answer : {"-ERR unknown command\r\n", "-ERR\r\n", "-ERR [SYS/PERM] no\r\n"}) {
    mailbox->commands.clear();
    mailbox->answers["STLS"] = answer;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsNotOffered);
    EXPECT_EQ(mail->failure().words, cleanedWords(answer));
    EXPECT_EQ(mail->failure().step, MailStep::securing);
    EXPECT_FALSE(mail->popGetHeaderList(1));
    EXPECT_THAT(mailbox->commands, ElementsAre("STLS"));
  }
}

TEST_F(Pop3TlsTest, AnyOtherAnswerToStlsEndsTheSessionTheSameWay) {
  for (const std::string answer : {"220 go on\r\n", "\r\n", "ok\r\n", "\x16\x03\x01\r\n"}) {
    mailbox->commands.clear();
    mailbox->answers["STLS"] = answer;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::nonsense) << answer;
    EXPECT_THAT(mailbox->commands, ElementsAre("STLS"));
  }
}

TEST_F(Pop3TlsTest, BytesBehindTheAnswerToStlsEndTheSession) {
  for (const std::string injected : {"+OK\r\n", "+OK welcome\r\n+OK\r\n", "x", "\r\n", "\x16"}) {
    mailbox->commands.clear();
    mailbox->answers["STLS"] = "+OK go on\r\n" + injected;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsInjected) << injected;
    EXPECT_THAT(mailbox->commands, ElementsAre("STLS"));
    EXPECT_THAT(mailbox->peers, IsEmpty());
  }
}

// Gives its bytes only when asked a second time: they have come in later.
TEST_F(Pop3TlsTest, PlainBytesThatComeLaterAreTakenForAnAttackToo) {
  mailbox->tls->problem = TlsProblem::notTls;
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsInjected);
  EXPECT_THAT(mailbox->commands, ElementsAre("STLS"));
}

TEST_F(Pop3TlsTest, BytesBehindTheGreetingEndTheSessionBeforeStls) {
  mailbox->answers["GREETING"] = "+OK ready\r\n+OK go on\r\n";
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::nonsense);
  EXPECT_THAT(mailbox->commands, IsEmpty());
}

TEST_F(Pop3TlsTest, AGreetingThatRefusesIsAnsweredWithNothing) {
  mailbox->answers["GREETING"] = "-ERR busy\r\n";
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::saidNo);
  EXPECT_EQ(mail->failure().words, "-ERR busy");
  EXPECT_THAT(mailbox->commands, IsEmpty());
}

TEST_F(Pop3TlsTest, EveryProblemOfTheHandshakeIsItsReasonAndNothingIsSaid) {
  const std::pair<TlsProblem, MailReason> kProblems[] = {
      {TlsProblem::unavailable, MailReason::tlsMissing},
      {TlsProblem::outOfMemory, MailReason::outOfMemory},
      {TlsProblem::timedOut, MailReason::timedOut},
      {TlsProblem::closed, MailReason::closed},
      {TlsProblem::version, MailReason::tlsVersion},
      {TlsProblem::refused, MailReason::tlsFailed},
      {TlsProblem::wrongName, MailReason::certificateWrongName},
      {TlsProblem::expired, MailReason::certificateExpired},
      {TlsProblem::notYetValid, MailReason::certificateNotYetValid},
      {TlsProblem::selfSigned, MailReason::certificateSelfSigned},
      {TlsProblem::untrusted, MailReason::certificateUntrusted},
      {TlsProblem::wrongPurpose, MailReason::certificateBad},
      {TlsProblem::weakKey, MailReason::certificateWeak},
      {TlsProblem::weakSignature, MailReason::certificateWeak},
      {TlsProblem::badCertificate, MailReason::certificateBad},
  };
  for (const bool atOnce : {false, true}) {
    if (atOnce) encryptAtOnce();
    for (const auto& [problem, reason] : kProblems) {
      mailbox->commands.clear();
      mailbox->tls->problem = problem;
      mailbox->tls->system = "the system's words";
      EXPECT_EQ(reasonOfFailedLogOn(), reason);
      EXPECT_EQ(mail->failure().step, MailStep::securing);
      EXPECT_TRUE(mail->failure().encrypted);
      EXPECT_EQ(mail->failure().words, "the system's words");
      EXPECT_EQ(mail->failure().fingerprint, isCertificateProblem(problem) ? kFingerprint : "");
      EXPECT_EQ(mailbox->commands.size(), atOnce ? 0U : 1U) << "STLS";
    }
  }
  mailbox->tls->problem = TlsProblem::notTls;
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::tlsNotSpoken);
}

TEST_F(Pop3TlsTest, AServerThatFallsSilentOrClosesAtAnyStepIsGivenUp) {
  for (const std::string step : {"GREETING", "STLS", "USER", "PASS"}) {
    mailbox->stallsAt = step;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::timedOut) << step;
    mailbox->stallsAt = "";
    mailbox->closesAt = step;
    EXPECT_EQ(reasonOfFailedLogOn(), MailReason::closed) << step;
    mailbox->closesAt = "";
  }
  EXPECT_EQ(sim::elapsedMilliseconds(), 4 * 30'000);
}

TEST_F(Pop3TlsTest, ALineThatIsCutAtAnyByteSendsNoPasswordInPlainText) {
  deliver("id-1", message(1));
  ASSERT_TRUE(mail->popConnect());
  const std::size_t bytes = mailbox->bytesSent;
  for (std::size_t cut = 0; cut < bytes; ++cut) {
    mailbox = addPop3Server();
    mailbox->tls.emplace();
    mailbox->cutAfter = cut;
    mail = std::make_unique<MailComponent>();
    mail->setPopServer("starttls://mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
    EXPECT_FALSE(mail->popConnect()) << cut;
    for (const std::string& command : mailbox->plainCommands) EXPECT_EQ(command, "STLS") << cut;
  }
}

TEST_F(Pop3TlsTest, HandshakeAndConnectionShareTheTimeOut) {
  mailbox->tls->takes = 29'999;
  EXPECT_TRUE(mail->popConnect());
  EXPECT_EQ(sim::elapsedMilliseconds(), 29'999);
  mailbox->tls->takes = 30'001;
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::timedOut);
  EXPECT_EQ(sim::elapsedMilliseconds(), 29'999 + 30'000);
}

TEST_F(Pop3TlsTest, AServerThatKnowsOnlyTheNewestTlsGetsASecondConnectionWithinTheSameTime) {
  for (const bool atOnce : {false, true}) {
    if (atOnce) encryptAtOnce();
    mailbox->tls->problem = TlsProblem::version;
    mailbox->tls->newestMayDo = true;
    mailbox->tls->takes = 20'000;
    EXPECT_FALSE(mail->popConnect());
    ASSERT_EQ(mailbox->peers.size(), 2U);
    EXPECT_EQ(mailbox->connections, 2);
    EXPECT_EQ(mailbox->peers[0].versions, TlsVersions::usual);
    EXPECT_EQ(mailbox->peers[1].versions, TlsVersions::newest);
    EXPECT_EQ(mail->failure().reason, MailReason::timedOut);
    EXPECT_EQ(sim::elapsedMilliseconds(), atOnce ? 60'000 : 30'000);
  }
}

TEST_F(Pop3TlsTest, AServerThatHangsUpIsToldAsThatWhereTheSystemHasNoNewerTls) {
  for (const bool atOnce : {false, true}) {
    if (atOnce) encryptAtOnce();
    mailbox->tls->problem = TlsProblem::closed;
    mailbox->tls->newestMayDo = true;
    mailbox->onHandshake = [this] {
      if (mailbox->peers.back().versions == TlsVersions::newest) mailbox->tls->problem = TlsProblem::version;
    };
    EXPECT_FALSE(mail->popConnect());
    EXPECT_EQ(mail->failure().reason, MailReason::closed);
  }
}

TEST_F(Pop3TlsTest, TheSecondConnectionGoesTheWholeWayAgainAndThenLogsOn) {
  for (const bool atOnce : {false, true}) {
    if (atOnce) encryptAtOnce();
    mailbox->tls->problem = TlsProblem::version;
    mailbox->tls->newestMayDo = true;
    mailbox->onHandshake = [this] {
      if (mailbox->peers.back().versions == TlsVersions::newest) mailbox->tls->problem = TlsProblem::none;
    };
    EXPECT_TRUE(mail->popConnect());
    EXPECT_EQ(mailbox->connections, 2);
    EXPECT_EQ(mailbox->plainCommands, std::vector<std::string>(atOnce ? 0 : 2, "STLS"));
  }
}

TEST_F(Pop3TlsTest, CapabilitiesAreAskedBehindTheHandshakeAndPlainOnesCountForNothing) {
  deliverMany(40);
  expectWholeList(40);
  EXPECT_THAT(mailbox->plainCommands, ElementsAre("STLS"));
  EXPECT_EQ(mailbox->count("CAPA"), 1);
}

TEST_F(Pop3TlsTest, TheReconnectionGoesThroughStlsToo) {
  deliverMany(40);
  mailbox->closesAt = "CAPA";
  expectWholeList(40);
  EXPECT_EQ(mailbox->connections, 2);
  EXPECT_THAT(mailbox->plainCommands, ElementsAre("STLS", "STLS"));
}

TEST_F(Pop3TlsTest, WhereTheReconnectionCannotBeEncryptedTheListFails) {
  deliverMany(40);
  mailbox->closesAt = "CAPA";
  mailbox->onCommand = [this](const std::string& command) {
    if (command == "CAPA") mailbox->answers["STLS"] = "-ERR no\r\n";
  };
  EXPECT_FALSE(list());
  EXPECT_EQ(mail->failure().reason, MailReason::tlsNotOffered);
  EXPECT_THAT(mailbox->plainCommands, ElementsAre("STLS", "STLS"));
  EXPECT_TRUE(mailbox->deleted.empty());
}

TEST_F(Pop3TlsTest, HowThePlainServerEndsItsLinesIsForgotten) {
  // A server in between that ends its lines with LF alone must not change how texts are read.
  mailbox->answers["GREETING"] = "+OK ready\n";
  const std::string text = "From: a@b\r\n\r\nbare\n.\nfeed\r\n";
  deliver("id-1", text);
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(fetched->getRawText(), text);
}

TEST_F(Pop3TlsTest, AnAcceptedCertificateIsGoodForItsHostAndPortAlone) {
  mailbox->tls->problem = TlsProblem::selfSigned;
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::certificateSelfSigned);
  ASSERT_TRUE(acceptCertificate("mail.example", 995, kFingerprint));
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::certificateSelfSigned);
  ASSERT_TRUE(acceptCertificate("mail.example", 110, kFingerprint));
  EXPECT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->failure());
}

TEST_F(Pop3TlsTest, AnotherCertificateThanTheAcceptedOneIsRefusedWithBothFingerprints) {
  const std::string accepted(64, 'a');
  ASSERT_TRUE(acceptCertificate("mail.example", 110, accepted));
  mailbox->tls->problem = TlsProblem::selfSigned;
  EXPECT_EQ(reasonOfFailedLogOn(), MailReason::certificateChanged);
  EXPECT_EQ(mail->failure().acceptedFingerprint, accepted);
  EXPECT_EQ(mail->failure().fingerprint, kFingerprint);
  EXPECT_THAT(mailbox->commands, ElementsAre("STLS"));
}

TEST_F(Pop3TlsTest, AValidCertificateIsGoodWhateverHasBeenAccepted) {
  ASSERT_TRUE(acceptCertificate("mail.example", 110, std::string(64, 'a')));
  EXPECT_TRUE(mail->popConnect());
}

TEST_F(Pop3TlsTest, APlainLineIsAsItHasAlwaysBeen) {
  mail->setPopServer("mail.example");
  ASSERT_TRUE(mail->popConnect());
  EXPECT_THAT(mailbox->commands, ElementsAre("USER bob", "PASS secret"));
  EXPECT_THAT(mailbox->peers, IsEmpty());
}

TEST_F(Pop3TlsTest, ALineThatBreaksOffWithoutSayingSoIsCutAndNothingIsDeleted) {
  encryptAtOnce();
  deliver("id-1", message(1));
  ASSERT_TRUE(mail->popConnect());
  mailbox->closesAt = "RETR";
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  EXPECT_EQ(mail->failure().reason, MailReason::closed);
  EXPECT_EQ(mail->failure().step, MailStep::fetching);
  expectDeadSession();
}

}  // namespace
}  // namespace vornelle

// A refused certificate on the settings page, and the action that accepts it.
#include <memory>

#include "mail/mail_component.h"
#include "mail/tls_certificates.h"
#include "tests/unit/mail/scripted_pop3.h"
#include "tests/unit/mail/scripted_smtp.h"
#include "tests/unit/web/web_test_support.h"
#include "web/direct_request.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string kFingerprint = sim::TlsAnswer{}.fingerprint;
const std::string kSelfSignedLine =
    "**TLS to mail.example: certificate vouches for itself, SHA-256 " + shownFingerprint(kFingerprint);

class AcceptCertificateTest : public WebTest {
 protected:
  AcceptCertificateTest() {
    logIn();
    makeFile("\\data\\config.htm", "<html><!--SERVER_NOTES--></html>");
    mailbox->tls.emplace();
    mailbox->tls->problem = TlsProblem::selfSigned;
    mailbox->tlsAtOnce = true;
    mailbox->account = "joe";
    settings.POP_SERVER = "mail.example:995";
    settings.POP_ACCOUNT = "joe";
    settings.POP_PASSWORD = "secret";
  }

  static void refuse() {
    EXPECT_FALSE(newPopComponent().popConnect());
    currentMail.reset();
  }

  static std::string postText(std::string_view fields) {
    return "POST /acceptcertificate.cgi?s=" + kSessionId + " HTTP/1.1\r\nHost: localhost\r\n\r\n" +
           std::string(fields) + "&END=1";
  }
  static std::string fields(const std::string& server = "POP3",
                            const std::string& fingerprint = kFingerprint) {
    return "SERVER=" + server + "&FINGERPRINT=" + fingerprint;
  }
  static std::string throughGateway(const std::string& text) {
    return answerDirectly(text).value_or("(none)");
  }
  static std::string settingsPage() {
    return throughGateway("GET /config.htm?s=" + kSessionId + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
  }

  std::shared_ptr<Pop3Mailbox> mailbox = addPop3Server("mail.example", 995);
};

TEST_F(AcceptCertificateTest, TheSettingsPageShowsTheReasonAndOffersToAcceptExactlyThatCertificate) {
  EXPECT_EQ(settingsPage(), "<html></html>\r\n");
  refuse();
  const std::string page = settingsPage();
  EXPECT_THAT(page, HasSubstr("<b>POP3:</b> The certificate of mail.example (port 995) vouches for itself"));
  EXPECT_THAT(page, HasSubstr("SHA-256 1F:0E:2D"));
  EXPECT_THAT(page, HasSubstr("name=\"FINGERPRINT\" value=\"" + kFingerprint + "\""));
  EXPECT_THAT(page, HasSubstr("action=\"acceptcertificate.cgi?s=" + kSessionId + "\""));
  EXPECT_THAT(page, HasSubstr("If it is a provider's server, do not"));
}

TEST_F(AcceptCertificateTest, ThePlainWireShowsTheReasonWithoutTheOffer) {
  refuse();
  const std::string page = getWithSession("config.htm");
  EXPECT_THAT(page, HasSubstr("vouches for itself"));
  EXPECT_THAT(page, Not(HasSubstr("<form")));
}

TEST_F(AcceptCertificateTest, OtherFailuresAreShownWithoutTheOffer) {
  settings.POP_SERVER = "nowhere.example:995";
  refuse();
  EXPECT_THAT(settingsPage(), HasSubstr("There is no server named nowhere.example."));
  EXPECT_THAT(settingsPage(), Not(HasSubstr("<form")));
}

TEST_F(AcceptCertificateTest, WhatAServerSaysIsTextOnThePage) {
  mailbox->tls->problem = TlsProblem::none;
  mailbox->answers["PASS"] = "-ERR <script>\"&<!--POP_PASSWORD-->\r\n";
  refuse();
  EXPECT_THAT(settingsPage(), HasSubstr("-ERR &lt;script&gt;&quot;&amp;&lt;!--POP_PASSWORD--&gt;"));
}

TEST_F(AcceptCertificateTest, AcceptingItTriesTheServersAgainAndLeadsBack) {
  refuse();
  EXPECT_EQ(throughGateway(postText(fields())), redirectTo("config.htm"));
  EXPECT_EQ(acceptedCertificate("mail.example", 995), kFingerprint);
  EXPECT_EQ(logged("Certificate of mail.example:995 accepted, SHA-256 " + shownFingerprint(kFingerprint)), 1);
  EXPECT_EQ(settingsPage(), "<html></html>\r\n");
  EXPECT_EQ(mailbox->commands.back(), "QUIT") << "the test has logged on";
}

TEST_F(AcceptCertificateTest, OnlyTheCertificateThatWasRefusedCanBeAccepted) {
  const std::string other(64, 'a');
  EXPECT_EQ(throughGateway(postText(fields())), redirectTo("config.htm"));
  refuse();
  for (const std::string& wrong :
       {fields("POP3", other), fields("POP3", ""), fields("SMTP"), std::string("SERVER=POP3")}) {
    EXPECT_EQ(throughGateway(postText(wrong)), redirectTo("config.htm")) << wrong;
  }
  EXPECT_EQ(contentOf("\\tls-certificates.txt"), "(missing)");
}

TEST_F(AcceptCertificateTest, AFollowedLinkAcceptsNothing) {
  refuse();
  throughGateway("GET /acceptcertificate.cgi?s=" + kSessionId + "&" + fields() +
                 "&END=1 HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_EQ(contentOf("\\tls-certificates.txt"), "(missing)");
}

TEST_F(AcceptCertificateTest, WithoutTheSessionNothingIsAccepted) {
  refuse();
  form1.sessionId = std::string(64, 'X');
  EXPECT_THAT(throughGateway(postText(fields())), HasSubstr("<title>Login"));
  EXPECT_EQ(contentOf("\\tls-certificates.txt"), "(missing)");
}

TEST_F(AcceptCertificateTest, ThePlainWireDoesNotKnowTheAction) {
  refuse();
  const std::string path = "acceptcertificate.cgi?s=" + kSessionId;
  EXPECT_EQ(answerTo(postText(fields())),
            "<html><body><h3>Unrecognized page: " + path +
                "</h3><p>If problem persists, contact developer.</p></body></html>\r\n");
  EXPECT_EQ(contentOf("\\tls-certificates.txt"), "(missing)");
}

TEST_F(AcceptCertificateTest, AFileThatCannotBeWrittenIsToldInTheLog) {
  refuse();
  sim::failWritesTo("tls-certificates");
  EXPECT_EQ(throughGateway(postText(fields())), redirectTo("config.htm"));
  EXPECT_EQ(logged("**Problem writing tls-certificates.txt: certificate of mail.example:995 not accepted"),
            1);
}

TEST_F(AcceptCertificateTest, AnUpdateWhoseTestIsRefusedLogsTheFurtherLineAndKeepsItsAlert) {
  const std::string answer = postWithSession(
      "configupdate.cgi", "POP_SERVER=mail.example:995&POP_ACCOUNT=&POP_PASSWORD=&SMTP_SERVER=&END=1");
  EXPECT_THAT(answer, HasSubstr("alert('Cannot log onto POP3 Server!');window.location='config.htm"));
  EXPECT_EQ(logged(kSelfSignedLine), 1);
}

TEST_F(AcceptCertificateTest, APreviewThatIsRefusedLogsTheFurtherLine) {
  const std::string page = throughGateway("GET /preview.htm?b=inbox&k=id-1&s=" + kSessionId +
                                          " HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(page, HasSubstr("Cannot log onto POP3 server. Try again later."));
  EXPECT_EQ(logged("**Cannot log onto POP3 server."), 1);
  EXPECT_EQ(logged(kSelfSignedLine), 1);
}

TEST_F(AcceptCertificateTest, TheSmtpServersCertificateIsAnotherEntry) {
  const auto smtp = addSmtpServer("mail.example", 465);
  smtp->tls.emplace();
  smtp->tls->problem = TlsProblem::untrusted;
  smtp->tlsAtOnce = true;
  settings.SMTP_SERVER = "tls://mail.example";
  newMailComponent();
  EXPECT_FALSE(currentMail->smtpLogin());
  currentMail.reset();
  throughGateway(postText(fields("SMTP")));
  EXPECT_EQ(acceptedCertificate("mail.example", 465), kFingerprint);
  EXPECT_EQ(acceptedCertificate("mail.example", 995), "");
}

}  // namespace
}  // namespace vornelle

#include "mail/mail_failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "base/text.h"

namespace vornelle {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr MailReason kLastReason = MailReason::outOfMemory;
constexpr MailStep kLastStep = MailStep::sending;

MailFailure failure(MailReason reason, MailStep step = MailStep::connecting,
                    MailProtocol protocol = MailProtocol::pop3) {
  MailFailure result;
  result.reason = reason;
  result.step = step;
  result.protocol = protocol;
  result.host = "mail.example";
  result.port = protocol == MailProtocol::pop3 ? 110 : 25;
  return result;
}

template <typename Value>
std::set<std::string> namesUpTo(Value last, std::string_view (*name)(Value)) {
  std::set<std::string> names;
  for (int i = 0; i <= static_cast<int>(last); ++i) names.emplace(name(static_cast<Value>(i)));
  return names;
}

TEST(MailFailureTest, EveryReasonAndEveryStepHasANameOfItsOwn) {
  const auto reasons = namesUpTo(kLastReason, reasonName);
  EXPECT_EQ(reasons.size(), static_cast<std::size_t>(kLastReason) + 1);
  EXPECT_FALSE(reasons.contains(""));
  const auto steps = namesUpTo(kLastStep, stepName);
  EXPECT_EQ(steps.size(), static_cast<std::size_t>(kLastStep) + 1);
  EXPECT_FALSE(steps.contains(""));
}

TEST(MailFailureTest, EveryReasonHasATextOfItsOwnThatNamesTheServerOrTheComputer) {
  std::set<std::string> texts;
  for (int i = 1; i <= static_cast<int>(kLastReason); ++i) {
    const std::string text = failureText(failure(static_cast<MailReason>(i)));
    EXPECT_THAT(text, EndsWith(".")) << i;
    EXPECT_EQ(text.find_first_of("\r\n\t"), std::string::npos) << i;
    EXPECT_TRUE(texts.insert(text).second) << text;
  }
  EXPECT_EQ(failureText({}), "");
}

TEST(MailFailureTest, EveryReasonHasATextAtEveryStep) {
  for (int i = 1; i <= static_cast<int>(kLastReason); ++i) {
    for (int step = 0; step <= static_cast<int>(kLastStep); ++step) {
      EXPECT_NE(failureText(failure(static_cast<MailReason>(i), static_cast<MailStep>(step))), "");
    }
  }
}

TEST(MailFailureTest, ATimeOutIsToldByItsStep) {
  EXPECT_EQ(failureText(failure(MailReason::timedOut)),
            "mail.example (port 110) did not answer in time. Check the server's name and port, whether this "
            "computer is online, and whether a firewall is in the way.");
  EXPECT_EQ(failureText(failure(MailReason::timedOut, MailStep::fetching)),
            "While a message was being fetched, mail.example (port 110) stopped answering. Try again later.");
}

TEST(MailFailureTest, ASilentServerInPlainTextIsSaidToExpectEncryption) {
  MailFailure silent = failure(MailReason::timedOut, MailStep::greeting);
  EXPECT_THAT(failureText(silent), EndsWith("try tls://mail.example:110."));
  silent.encrypted = true;
  EXPECT_THAT(failureText(silent), Not(HasSubstr("tls://")));
}

TEST(MailFailureTest, ARefusedLogOnQuotesTheServerAndSpeaksOfAppPasswords) {
  MailFailure refused = failure(MailReason::saidNo, MailStep::loggingOn);
  refused.words = "-ERR [AUTH] no";
  EXPECT_EQ(
      failureText(refused),
      "While logging on, mail.example (port 110) said: \"-ERR [AUTH] no\" Check user name and password. "
      "Many providers want access by mail programs to be switched on in the account's settings, and a "
      "password made for that program (app password).");
}

TEST(MailFailureTest, APortThatRefusesIsToldTheUsualOnesOfItsProtocol) {
  EXPECT_THAT(failureText(failure(MailReason::refused)), HasSubstr("encrypted POP3 is usually at 995"));
  EXPECT_THAT(failureText(failure(MailReason::refused, MailStep::connecting, MailProtocol::smtp)),
              HasSubstr("encrypted SMTP is usually at 465 or 587"));
}

TEST(MailFailureTest, AChangedCertificateIsToldWithBothFingerprints) {
  MailFailure changed = failure(MailReason::certificateChanged, MailStep::securing);
  changed.fingerprint = "0aff";
  changed.acceptedFingerprint = "01b2";
  EXPECT_THAT(failureText(changed), HasSubstr("Accepted: SHA-256 01:B2. Shown now: SHA-256 0A:FF."));
}

TEST(MailFailureTest, ARefusedCertificateIsToldWithItsNameAndFingerprint) {
  MailFailure other = failure(MailReason::certificateWrongName, MailStep::securing);
  other.certificateName = "other.example";
  other.fingerprint = "0aff";
  EXPECT_THAT(failureText(other),
              StartsWith("The certificate of mail.example (port 110) is for other.example."));
  EXPECT_THAT(failureText(other), HasSubstr("SHA-256 0A:FF."));
  EXPECT_TRUE(other.isCertificate());
  EXPECT_FALSE(failure(MailReason::tlsFailed).isCertificate());
  EXPECT_FALSE(failure(MailReason::outOfMemory).isCertificate());
}

TEST(MailFailureTest, WordsOfAServerAreOneLineWithoutControlCharacters) {
  EXPECT_EQ(cleanedWords(" -ERR\tno\x1B[2J \x7Fway\x01 "), "-ERR no [2J  way");
  EXPECT_EQ(cleanedWords("-ERR \xC3\xBC"), "-ERR \xFC");  // UTF-8
  EXPECT_EQ(cleanedWords("-ERR \xFC"), "-ERR \xFC");
  EXPECT_EQ(cleanedWords(std::string(70'000, 'x')), std::string(300, 'x') + "...");
}

TEST(MailFailureTest, WordsOfAServerAreCutBetweenCharacters) {
  EXPECT_EQ(cleanedWords("x" + replaceAll(std::string(5000, '.'), ".", "\xC3\xBC")),
            "x" + std::string(299, '\xFC') + "...")
      << "what is cut in the middle of a character is still UTF-8";
  EXPECT_EQ(cleanedWords(replaceAll(std::string(100, '.'), ".", "\xD0\xBF")),
            replaceAll(std::string(42, '.'), ".", "&#1087;") + "...");
}

TEST(MailFailureTest, AServerThatRepeatsThePasswordIsNotQuotedWithIt) {
  EXPECT_EQ(cleanedWords("-ERR what is PASS Secret1?", "secret1"), "-ERR what is PASS ****?");
  EXPECT_EQ(cleanedWords("-ERR no", ""), "-ERR no");
  EXPECT_EQ(cleanedWords("-ERR no", "no"), "-ERR no");  // would tell the password
}

TEST(MailFailureTest, AFingerprintIsShownInPairs) {
  EXPECT_EQ(shownFingerprint("0aff10"), "0A:FF:10");
  EXPECT_EQ(shownFingerprint(""), "");
}

}  // namespace
}  // namespace vornelle

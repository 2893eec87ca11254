#include "mail/tls_certificates.h"

#include "tests/unit/support.h"

namespace vornelle {
namespace {

const std::string kOne = std::string(62, '1') + "af";
const std::string kTwo(64, '2');
constexpr std::string_view kFile = "\\tls-certificates.txt";

class TlsCertificatesTest : public SimTest {};

TEST_F(TlsCertificatesTest, WithoutAFileNoCertificateIsAccepted) {
  EXPECT_EQ(acceptedCertificate("nas.example", 995), "");
}

TEST_F(TlsCertificatesTest, AnAcceptedCertificateIsFoundByHostAndPort) {
  ASSERT_TRUE(acceptCertificate("nas.example", 995, kOne));
  ASSERT_TRUE(acceptCertificate("nas.example", 465, kTwo));
  EXPECT_EQ(acceptedCertificate("nas.example", 995), kOne);
  EXPECT_EQ(acceptedCertificate("NAS.example.", 995), kOne);
  EXPECT_EQ(acceptedCertificate("nas.example", 465), kTwo);
  EXPECT_EQ(acceptedCertificate("nas.example", 587), "");
  EXPECT_EQ(acceptedCertificate("as.example", 995), "");
  EXPECT_EQ(contentOf(kFile), "nas.example:995 " + kOne + "\r\nnas.example:465 " + kTwo + "\r\n");
}

TEST_F(TlsCertificatesTest, AnAddressOfIpv6StandsInBrackets) {
  ASSERT_TRUE(acceptCertificate("::1", 995, kOne));
  EXPECT_EQ(contentOf(kFile), "[::1]:995 " + kOne + "\r\n");
  EXPECT_EQ(acceptedCertificate("::1", 995), kOne);
}

TEST_F(TlsCertificatesTest, ANewCertificateTakesThePlaceOfTheOldOneAndOtherLinesStay) {
  makeFile(kFile, "# mine\r\nNAS.example:995 " + kOne + "\r\n\r\nother.example:995 " + kOne);
  ASSERT_TRUE(acceptCertificate("nas.example", 995, kTwo));
  EXPECT_EQ(contentOf(kFile),
            "# mine\r\n\r\nother.example:995 " + kOne + "\r\nnas.example:995 " + kTwo + "\r\n");
}

TEST_F(TlsCertificatesTest, AnEntryByHandMayHaveCapitalsColonsTabsAndBlanks) {
  EXPECT_EQ(acceptedIn(" \tnas.example:995 \t" + std::string(60, '1') + "11:AF ", "nas.example", 995), kOne);
  EXPECT_EQ(acceptedIn("nas.example:995 " + kOne + "\nnas.example:995 " + kTwo + "\n", "nas.example", 995),
            kTwo);
}

TEST_F(TlsCertificatesTest, WhatIsNoFingerprintAcceptsNothing) {
  for (const std::string& wrong :
       {std::string(), std::string("x"), std::string(63, '1'), std::string(65, '1'),
        std::string(63, '1') + "g", std::string(32, '1') + " " + std::string(32, '1'), kOne + " x",
        "*" + std::string(64, '1')}) {
    EXPECT_EQ(acceptedIn("nas.example:995 " + wrong, "nas.example", 995), "") << wrong;
    EXPECT_FALSE(acceptCertificate("nas.example", 995, wrong)) << wrong;
  }
  EXPECT_EQ(contentOf(kFile), "(missing)");
}

TEST_F(TlsCertificatesTest, AHostThatIsNoneIsNotWritten) {
  EXPECT_FALSE(acceptCertificate("", 995, kOne));
  EXPECT_FALSE(acceptCertificate("nas.example x", 995, kOne));
  EXPECT_FALSE(acceptCertificate("nas\r\nevil.example", 995, kOne));
}

TEST_F(TlsCertificatesTest, AFileThatCannotBeReadAcceptsNothingAndIsNotOverwritten) {
  makeFile(kFile, "nas.example:995 " + kOne + "\r\n");
  sim::failReadsOf("tls-certificates");
  EXPECT_EQ(acceptedCertificate("nas.example", 995), "");
  EXPECT_FALSE(acceptCertificate("nas.example", 995, kTwo));
  sim::failReadsOf("");
  EXPECT_EQ(acceptedCertificate("nas.example", 995), kOne);
}

TEST_F(TlsCertificatesTest, AFileThatCannotBeWrittenLeavesTheOldOne) {
  ASSERT_TRUE(acceptCertificate("nas.example", 995, kOne));
  sim::failWritesTo("tls-certificates");
  EXPECT_FALSE(acceptCertificate("nas.example", 995, kTwo));
  EXPECT_EQ(acceptedCertificate("nas.example", 995), kOne);
}

TEST_F(TlsCertificatesTest, AFileOfMoreThanOneMegabyteIsNotTakenForOurs) {
  makeFile(kFile, "nas.example:995 " + kOne + "\r\n" + std::string(1 << 20, 'x'));
  EXPECT_EQ(acceptedCertificate("nas.example", 995), "");
  EXPECT_FALSE(acceptCertificate("nas.example", 995, kTwo));
}

}  // namespace
}  // namespace vornelle

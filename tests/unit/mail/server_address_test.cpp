#include "mail/server_address.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

void expectAddress(const char* text, const char* host, int port, Protection protection = Protection::none,
                   MailProtocol protocol = MailProtocol::pop3) {
  const ServerField field = parseServerField(text, protocol);
  ASSERT_EQ(field.problem, MailReason::none) << text;
  EXPECT_EQ(host, field.address.host) << text;
  EXPECT_EQ(port, field.address.port) << text;
  EXPECT_EQ(protection, field.address.protection) << text;
}
void expectSmtp(const char* text, const char* host, int port, Protection protection = Protection::none) {
  expectAddress(text, host, port, protection, MailProtocol::smtp);
}

TEST(ServerAddress, WithoutAPortTheUsualOneIsTaken) {
  expectAddress("mail.example", "mail.example", 110);
  expectAddress("  mail.example ", "mail.example", 110);
  expectAddress("192.0.2.1", "192.0.2.1", 110);
  expectSmtp("mail.example", "mail.example", 25);
}

TEST(ServerAddress, APortStandsBehindAColon) {
  expectAddress("mail.example:8110", "mail.example", 8110);
  expectAddress("192.0.2.1:1", "192.0.2.1", 1);
  expectAddress("mail.example:65535", "mail.example", 65535);
}

TEST(ServerAddress, AnIpv6AddressWithAPortStandsInBrackets) {
  expectAddress("[::1]:8110", "::1", 8110);
  expectAddress("[::1]", "::1", 110);
  expectAddress("::1", "::1", 110);
  expectAddress("2001:db8::25", "2001:db8::25", 110);
}

TEST(ServerAddress, WhatIsNoAddressIsReported) {
  for (const char* text : {"",
                           " ",
                           ":110",
                           "mail.example:",
                           "mail.example:0",
                           "mail.example:65536",
                           "mail.example:-1",
                           "mail.example:+5",
                           "mail.example:x",
                           "mail.example:110x",
                           "mail.example: 110",
                           "[::1",
                           "[]:110",
                           "[::1]110",
                           "[::1]:",
                           "tls://",
                           "tls://:995",
                           "plain://mail.example:0",
                           "starttls://mail.example/",
                           "mail.example/inbox",
                           "joe@mail.example",
                           "mail .example",
                           "tls://tls:",
                           "\\\\mail"}) {
    EXPECT_EQ(parseServerField(text, MailProtocol::pop3).problem, MailReason::fieldUnreadable) << text;
  }
}

TEST(ServerAddress, APortAloneTellsTheUsualProtection) {
  expectAddress("mail.example:995", "mail.example", 995, Protection::tls);
  expectSmtp("mail.example:465", "mail.example", 465, Protection::tls);
  expectSmtp("mail.example:587", "mail.example", 587, Protection::startTls);
  expectAddress("[::1]:995", "::1", 995, Protection::tls);
  expectAddress("mail.example:110", "mail.example", 110);
  expectSmtp("mail.example:25", "mail.example", 25);
  expectSmtp("mail.example:2525", "mail.example", 2525);
}

TEST(ServerAddress, ASchemeTellsProtectionAndUsualPort) {
  expectAddress("tls://mail.example", "mail.example", 995, Protection::tls);
  expectSmtp("tls://mail.example", "mail.example", 465, Protection::tls);
  expectAddress("starttls://mail.example", "mail.example", 110, Protection::startTls);
  expectSmtp("starttls://mail.example", "mail.example", 587, Protection::startTls);
  expectAddress("plain://mail.example", "mail.example", 110);
  expectSmtp("plain://mail.example", "mail.example", 25);
}

TEST(ServerAddress, ASchemeCountsMoreThanThePort) {
  expectAddress("plain://mail.example:995", "mail.example", 995);
  expectSmtp("tls://mail.example:587", "mail.example", 587, Protection::tls);
  expectAddress("starttls://mail.example:995", "mail.example", 995, Protection::startTls);
  expectAddress("tls://[::1]", "::1", 995, Protection::tls);
  expectAddress("tls://[::1]:8995", "::1", 8995, Protection::tls);
  expectAddress("tls://2001:db8::25", "2001:db8::25", 995, Protection::tls);
}

TEST(ServerAddress, TheSchemeIsReadInAnyLetterCaseAndBlanksAreTrimmed) {
  expectAddress(" TLS://mail.example ", "mail.example", 995, Protection::tls);
  expectAddress("StartTLS://mail.example", "mail.example", 110, Protection::startTls);
}

TEST(ServerAddress, ASchemeThatIsNotKnownIsToldAsSuch) {
  for (const char* text : {"ssl://mail.example", "pop3s://mail.example:995", "://mail.example",
                           "tls ://mail.example", "https://mail.example", "tlss://mail.example"}) {
    EXPECT_EQ(parseServerField(text, MailProtocol::pop3).problem, MailReason::schemeUnknown) << text;
  }
}

TEST(ServerAddress, AHostAndAPortAreWrittenAsTheyAreRead) {
  EXPECT_EQ(hostAndPort("mail.example", 995), "mail.example:995");
  EXPECT_EQ(hostAndPort("::1", 995), "[::1]:995");
}

TEST(ServerAddress, ThisComputerIsKnownByItsOwnAddressesAndLocalhost) {
  for (const char* host : {"localhost", "LOCALHOST", "localhost.", "127.0.0.1", "127.1.2.3", "::1"})
    EXPECT_TRUE(isThisComputer(host)) << host;
  for (const char* host : {"", "mail.example", "127.evil.example", "192.168.0.1", "localhost.example", "::2"})
    EXPECT_FALSE(isThisComputer(host)) << host;
}

}  // namespace
}  // namespace vornelle

#include "mail/server_address.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

void expectAddress(const char* text, const char* host, int port) {
  const auto address = parseServerAddress(text, 110);
  ASSERT_TRUE(address) << text;
  EXPECT_EQ(host, address->host);
  EXPECT_EQ(port, address->port);
}

TEST(ServerAddress, WithoutAPortTheUsualOneIsTaken) {
  expectAddress("mail.example", "mail.example", 110);
  expectAddress("  mail.example ", "mail.example", 110);
  expectAddress("192.0.2.1", "192.0.2.1", 110);
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
  for (const char* text : {"", " ", ":110", "mail.example:", "mail.example:0", "mail.example:65536",
                           "mail.example:-1", "mail.example:+5", "mail.example:x", "mail.example:110x",
                           "mail.example: 110", "[::1", "[]:110", "[::1]110", "[::1]:"}) {
    EXPECT_FALSE(parseServerAddress(text, 110)) << text;
  }
}

}  // namespace
}  // namespace vornelle

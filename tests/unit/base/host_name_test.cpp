#include "base/host_name.h"

#include <gtest/gtest.h>

#include <string>

namespace vornelle {
namespace {

std::string octets(std::initializer_list<int> values) {
  std::string result;
  for (const int value : values) result += static_cast<char>(value);
  return result;
}

TEST(HostName, ABareHostHasNoBracketsAndNoLastDot) {
  EXPECT_EQ(bareHost("mail.example"), "mail.example");
  EXPECT_EQ(bareHost("mail.example."), "mail.example");
  EXPECT_EQ(bareHost("mail.example.."), "mail.example.");
  EXPECT_EQ(bareHost("[::1]"), "::1");
  EXPECT_EQ(bareHost("["), "[");
  EXPECT_EQ(bareHost(""), "");
  EXPECT_EQ(bareHost("."), "");
}

TEST(HostName, FourDecimalNumbersAreAnAddress) {
  EXPECT_EQ(addressOctets("127.0.0.1"), octets({127, 0, 0, 1}));
  EXPECT_EQ(addressOctets("255.255.255.255"), octets({255, 255, 255, 255}));
  for (const char* name : {"", "1", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1.2.3.", ".1.2.3", "1.2.3.4.",
                           "01.2.3.4", "1.2.3.x", "1.2.3.-4", "1.2.3.0400", "mail.example", "0x7f.0.0.1"}) {
    EXPECT_FALSE(addressOctets(name)) << name;
  }
}

TEST(HostName, GroupsWithColonsAreAnAddress) {
  const std::string one = std::string(15, '\0') + '\1';
  EXPECT_EQ(addressOctets("::1"), one);
  EXPECT_EQ(addressOctets("0:0:0:0:0:0:0:1"), one);
  EXPECT_EQ(addressOctets("::"), std::string(16, '\0'));
  EXPECT_EQ(addressOctets("2001:DB8::aB"),
            octets({0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xab}));
  EXPECT_EQ(addressOctets("1:2:3:4:5:6:7:8"), octets({0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8}));
  EXPECT_EQ(addressOctets("1::"), octets({0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(addressOctets("::ffff:1.2.3.4"), octets({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 1, 2, 3, 4}));
  EXPECT_EQ(addressOctets("fe80::1%eth0"), addressOctets("fe80::1"));
}

TEST(HostName, OtherTextsWithColonsAreNoAddress) {
  for (const char* text : {":", ":::", "1:2", "1:2:3:4:5:6:7", "1:2:3:4:5:6:7:8:9", "1::2::3",
                           "1:2:3:4:5:6:7::8", "12345::", "g::", "::1:", ":1::", "1.2.3.4::", "::1.2.3.4:5",
                           "::1.2.3", "mail.example:995", "[::1]", "1:2:3:4:5:6:7:1.2.3.4"}) {
    EXPECT_FALSE(addressOctets(text)) << text;
  }
}

TEST(HostName, ANameCoversItselfWhateverTheLetterCase) {
  EXPECT_TRUE(nameCovers("mail.example", "MAIL.Example"));
  EXPECT_FALSE(nameCovers("mail.example", "mail.example.org"));
  EXPECT_FALSE(nameCovers("mail.example", "xmail.example"));
  EXPECT_FALSE(nameCovers("", ""));
  EXPECT_FALSE(nameCovers("mail.example", ""));
  EXPECT_FALSE(nameCovers("m\xC4il.example", "m\xE4il.example"));
}

TEST(HostName, AStarStandsForOneWholeLabelOnTheLeft) {
  EXPECT_TRUE(nameCovers("*.example.org", "mail.example.org"));
  EXPECT_TRUE(nameCovers("*.EXAMPLE.org", "MAIL.example.ORG"));
  EXPECT_TRUE(nameCovers("*.example.org", "xn--bcher-kva.example.org"));
  EXPECT_FALSE(nameCovers("*.example.org", "example.org"));
  EXPECT_FALSE(nameCovers("*.example.org", ".example.org"));
  EXPECT_FALSE(nameCovers("*.example.org", "a.b.example.org"));
  EXPECT_FALSE(nameCovers("m*.example.org", "mail.example.org"));
  EXPECT_FALSE(nameCovers("*l.example.org", "mail.example.org"));
  EXPECT_FALSE(nameCovers("mail.*.org", "mail.example.org"));
  EXPECT_FALSE(nameCovers("*.*.org", "mail.example.org"));
  EXPECT_FALSE(nameCovers("*", "localhost"));
  EXPECT_FALSE(nameCovers("*.org", "example.org"));
}

TEST(HostName, ATextFromACertificateIsShownInPrintableAscii) {
  EXPECT_EQ(printableName("mail.example"), "mail.example");
  EXPECT_EQ(printableName(std::string("a\0b\r\n\x7F\xFCz", 8)), "a?b????z");
  EXPECT_EQ(printableName(std::string(1000, 'x')), std::string(255, 'x'));
}

}  // namespace
}  // namespace vornelle

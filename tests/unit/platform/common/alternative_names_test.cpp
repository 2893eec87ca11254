#include "platform/common/alternative_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string element(int tag, const std::string& content) {
  return std::string{static_cast<char>(tag), static_cast<char>(content.size())} + content;
}
const std::string kLoopback("\x7F\0\0\1", 4);

TEST(AlternativeNames, NamesAndAddressesAreToldApart) {
  const AlternativeNames names =
      parseAlternativeNames(element(0x30, element(0x82, "mail.example") + element(0x81, "joe@mail.example") +
                                              element(0x87, kLoopback) + element(0x82, "*.example.org")));
  EXPECT_THAT(names.dns, ElementsAre("mail.example", "*.example.org"));
  EXPECT_THAT(names.addresses, ElementsAre(kLoopback));
}

TEST(AlternativeNames, LongLengthsAreRead) {
  const std::string name(200, 'a');
  const std::string one = "\x82\x81\xC8" + name;
  EXPECT_THAT(parseAlternativeNames("\x30\x81\xCB" + one).dns, ElementsAre(name));
  EXPECT_THAT(parseAlternativeNames(std::string("\x30\x82\0\xCB", 4) + one).dns, ElementsAre(name));
}

TEST(AlternativeNames, WhatIsCutOffAtAnyByteIsNoName) {
  const std::string whole = element(0x30, element(0x82, "mail.example"));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THAT(parseAlternativeNames(whole.substr(0, length)).dns, IsEmpty()) << length;
  }
  for (const char* der :
       {"\x30\x80\x82\x01z", "\x31\x03\x82\x01z", "\x30\x84\x01\x01\x01\x01z", "\x30\x03\x82\x02z"}) {
    EXPECT_THAT(parseAlternativeNames(der).dns, IsEmpty());
  }
}

TEST(AlternativeNames, ANameWithANulIsForNobodyElse) {
  AlternativeNames names =
      parseAlternativeNames(element(0x30, element(0x82, std::string("mail.example\0.evil.example", 26))));
  EXPECT_FALSE(isFor(names, "mail.example"));
}

TEST(AlternativeNames, AddressesFitAddressesAndNamesFitNames) {
  AlternativeNames names;
  names.dns = {"127.0.0.1", "mail.example"};
  EXPECT_TRUE(isFor(names, "MAIL.example"));
  EXPECT_FALSE(isFor(names, "127.0.0.1"));
  EXPECT_FALSE(isFor(names, ""));
  names.addresses = {kLoopback};
  EXPECT_TRUE(isFor(names, "127.0.0.1"));
  EXPECT_FALSE(isFor(names, "127.0.0.2"));
  EXPECT_FALSE(isFor(names, "::127.0.0.1"));
  EXPECT_FALSE(isFor(AlternativeNames{}, "mail.example"));
}

}  // namespace
}  // namespace vornelle

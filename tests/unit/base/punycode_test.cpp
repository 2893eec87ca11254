#include "base/punycode.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(Punycode, TheSamplesOfItsRfc) {
  // RFC 3492, 7.1.
  EXPECT_EQ(punycode(U"\u0644\u064A\u0647\u0645\u0627\u0628\u062A\u0643\u0644\u0645\u0648\u0634\u0639\u0631"
                     U"\u0628\u064A\u061F"),
            "egbpdaj6bu4bxfgehfvwxn");
  EXPECT_EQ(punycode(U"\u4ED6\u4EEC\u4E3A\u4EC0\u4E48\u4E0D\u8BF4\u4E2D\u6587"), "ihqwcrb4cv8a8dqg056pqjye");
  EXPECT_EQ(punycode(U"Pro\u010Dprost\u011Bnemluv\u00ED\u010Desky"), "Proprostnemluvesky-uyb24dma41a");
  EXPECT_EQ(punycode(U"3\u5E74B\u7D44\u91D1\u516B\u5148\u751F"), "3B-ww4c5e180e575a65lsy2b");
  EXPECT_EQ(punycode(U"-> $1.00 <-"), "-> $1.00 <--");
}

TEST(Punycode, NumbersThatOverflowAreRefused) {
  EXPECT_FALSE(punycode(std::u32string(100000, U'a') + U'\xFFFFFFFE'));
}

TEST(Punycode, AnAsciiNameStaysAsItIs) {
  for (const char* name : {"", ".", "localhost", "Mail.Example.", "xn--bcher-kva.example", "[::1]", "a..b"}) {
    EXPECT_EQ(hostToAscii(name), name);
  }
}

TEST(Punycode, LettersBeyondAsciiMakeAnXnLabelOfTheirOwn) {
  EXPECT_EQ(hostToAscii("b\xFC"
                        "cher.example"),
            "xn--bcher-kva.example");
  EXPECT_EQ(hostToAscii("mail.B\xDC"
                        "CHER.example."),
            "mail.xn--bcher-kva.example.");
  EXPECT_EQ(hostToAscii("\xFC"), "xn--tda");
  EXPECT_EQ(hostToAscii("stra\xDF"
                        "e.example"),
            "xn--strae-oqa.example");
  EXPECT_EQ(hostToAscii("\x8Akoda.example"), "xn--koda-f6a.example");
  EXPECT_EQ(hostToAscii("\x9Ckoda.example"), "xn--koda-f4a.example");
  EXPECT_EQ(hostToAscii("\x8Eluta.example"), "xn--luta-kbb.example");
  EXPECT_EQ(hostToAscii("\x9F"), hostToAscii("\xFF"));
}

TEST(Punycode, OtherSignsBeyondAsciiAreInNoHostName) {
  for (const char c : {'\x80', '\xA0', '\xD7', '\xF7', '\xBF'}) {
    EXPECT_FALSE(hostToAscii(std::string("mail") + c + ".example"));
  }
}

TEST(Punycode, ALabelOfMoreThan63CharactersIsRefused) {
  // 4 for the prefix, 1 for the hyphen, 3 for the letter.
  EXPECT_TRUE(hostToAscii(std::string(55, 'a') + "\xFC.example"));
  EXPECT_FALSE(hostToAscii(std::string(64, 'a') + "\xFC.example"));
}

}  // namespace
}  // namespace vornelle

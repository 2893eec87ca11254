#include "mail/charset.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(MailCharset, WhatTheCodePageHasIsOneByteAndTheRestAReference) {
  EXPECT_EQ("Gr\xFC\xDF \x80 &#1055;&#128512;",
            charsetToText("utf-8", "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xD0\x9F\xF0\x9F\x98\x80"));
  EXPECT_EQ("&#1055;a\xAB", charsetToText("windows-1251",
                                          "\xCF"
                                          "a\xAB"));
  EXPECT_EQ("\x8A\x80&#322;", charsetToText("windows-1250", "\x8A\x80\xB3"));
  EXPECT_EQ("&#26085;&#26412;", charsetToText("iso-2022-jp", "\x1B$BF|K\\\x1B(B"));
}

TEST(MailCharset, WhatIsNoCharacterIsOneQuestionMark) {
  EXPECT_EQ("a?b", charsetToText("utf-8",
                                 "a\xC3"
                                 "b"));
  EXPECT_EQ("?", charsetToText("utf-8", "\xE2\x82"));
  EXPECT_EQ("?<", charsetToText("shift_jis", "\x81<"));
}

TEST(MailCharset, Iso88591IsReadAsWindows1252) {
  EXPECT_EQ("\x80\xE4", charsetToText("iso-8859-1", "\x80\xE4"));
  EXPECT_EQ("\x80\xE4\x81", charsetToText("windows-1252", "\x80\xE4\x81"));
}

TEST(MailCharset, AnUnknownNameIsReported) {
  EXPECT_EQ(std::nullopt, charsetToText("klingon", "x"));
  EXPECT_EQ(std::nullopt, charsetToText("", "x"));
}

TEST(MailCharset, UnlabelledBytesAreUtf8WhereTheyCanBe) {
  EXPECT_EQ("\xFC&#1087;", unlabelledToText("\xC3\xBC\xD0\xBF"));
  EXPECT_EQ("\xFCx", unlabelledToText("\xFCx"));
  EXPECT_EQ("\xC3\xBC\xFC", unlabelledToText("\xC3\xBC\xFC"));
}

TEST(MailCharset, TheTextIsBoundedAtAWholeCharacter) {
  EXPECT_EQ("&#1055;", charsetToText("koi8-r", "\xF0\xF0\xF0", 13));
  EXPECT_EQ("&#1087;&#1087;", charsetToText("utf-8", "\xD0\xBF\xD0\xBF\xD0\xBF", 14));
  EXPECT_EQ("", unlabelledToText("\xD0\xBF", 6));
  EXPECT_EQ("\xFC", unlabelledToText("\xFCx", 1));
}

}  // namespace
}  // namespace vornelle

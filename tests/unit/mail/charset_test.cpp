#include "mail/charset.h"

#include <gtest/gtest.h>

#include "mail/charset_tables.h"

namespace vornelle {
namespace {

TEST(Charset, Utf8BecomesWindows1252) {
  EXPECT_EQ(
      "Gr\xFC\xDF"
      "e",
      charsetToText("utf-8",
                    "Gr\xC3\xBC\xC3\x9F"
                    "e"));
  EXPECT_EQ("\x80 \x93x\x94 \x99",
            charsetToText("UTF-8", "\xE2\x82\xAC \xE2\x80\x9Cx\xE2\x80\x9D \xE2\x84\xA2"));
}

TEST(Charset, WhatTheCodePageLacksBecomesOneQuestionMarkEach) {
  EXPECT_EQ("?? ?", charsetToText("utf-8", "\xD0\x9F\xD1\x80 \xF0\x9F\x98\x80"));
}

TEST(Charset, BrokenUtf8BecomesQuestionMarks) {
  EXPECT_EQ("a?b", charsetToText("utf-8",
                                 "a\xC3"
                                 "b"));
  EXPECT_EQ("?", charsetToText("utf-8", "\xE2\x82"));
  EXPECT_EQ("??", charsetToText("utf-8", "\xC0\x80")) << "overlong";
  EXPECT_EQ("???", charsetToText("utf-8", "\xE0\x80\xBC")) << "overlong";
  EXPECT_EQ("????", charsetToText("utf-8", "\xF0\x80\x80\xBC")) << "overlong";
  EXPECT_EQ("???", charsetToText("utf-8", "\xED\xA0\x80")) << "a surrogate";
  EXPECT_EQ("????", charsetToText("utf-8", "\xF4\x90\x80\x80")) << "past the last character";
}

TEST(Charset, AByteOrderMarkIsNoText) {
  EXPECT_EQ("a", charsetToText("utf-8",
                               "\xEF\xBB\xBF"
                               "a"));
  EXPECT_EQ("a", charsetToText("utf-16", std::string("\xFF\xFE"
                                                     "a\0",
                                                     4)));
  EXPECT_EQ("a", charsetToText("utf-16", std::string("\xFE\xFF\0a", 4)));
}

TEST(Charset, Utf16IsReadInEitherOrder) {
  EXPECT_EQ("\xE9?!", charsetToText("utf-16be", std::string("\0\xE9\xD8\x3D\xDE\0\0!", 8)));
  EXPECT_EQ("\xE9?!", charsetToText("utf-16le", std::string("\xE9\0\x3D\xD8\0\xDE!\0", 8)));
  EXPECT_EQ("a?", charsetToText("utf-16be", std::string("\0a\0", 3))) << "half a character";
  EXPECT_EQ("?", charsetToText("utf-16be", "\xDE\x3D")) << "half a pair";
}

TEST(Charset, Iso88591IsReadAsWindows1252) {
  EXPECT_EQ("\x80\xE4", charsetToText("iso-8859-1", "\x80\xE4"));
  EXPECT_EQ("\x80\xE4", charsetToText("Latin1", "\x80\xE4"));
  EXPECT_EQ("\x80\xE4", charsetToText("windows-1252", "\x80\xE4"));
}

TEST(Charset, SingleByteSetsAreReadAsFarAsTheCodePageGoes) {
  EXPECT_EQ("\x80\x8A\xE4", charsetToText("iso-8859-15", "\xA4\xA6\xE4"));
  EXPECT_EQ("\xE1?\x9A", charsetToText("iso-8859-2", "\xE1\xB3\xB9"));
  EXPECT_EQ("\x8A\x80?", charsetToText("windows-1250", "\x8A\x80\xB3"));
  EXPECT_EQ("?a\xAB", charsetToText("windows-1251",
                                    "\xCF"
                                    "a\xAB"));
  EXPECT_EQ("??a", charsetToText("KOI8-R",
                                 "\xF0\xD2"
                                 "a"));
  EXPECT_EQ("\xE9", charsetToText("cp850", "\x82"));
}

TEST(Charset, EveryTableHas128Entries) {
  for (const CharsetTable& table : charsetTables()) EXPECT_EQ(128U, table.upperHalf.size()) << table.name;
}

TEST(Charset, TextThatSaysAsciiAndIsNotIsReadAsUtf8OrWindows1252) {
  EXPECT_EQ("\xFC", charsetToText("us-ascii", "\xC3\xBC"));
  EXPECT_EQ("\xFC", charsetToText("us-ascii", "\xFC"));
}

TEST(Charset, ALanguageBehindTheNameIsIgnored) {
  EXPECT_EQ("\xFC", charsetToText("utf-8*de", "\xC3\xBC"));
}

TEST(Charset, AnUnknownNameIsReported) {
  EXPECT_EQ(std::nullopt, charsetToText("klingon", "x"));
  EXPECT_EQ(std::nullopt, charsetToText("", "x"));
  EXPECT_EQ(std::nullopt, charsetToText(std::string(100'000, 'x'), "x"));
}

TEST(Charset, UnlabelledBytesAreUtf8WhereTheyCanBe) {
  EXPECT_EQ("\xFC", unlabelledToText("\xC3\xBC"));
  EXPECT_EQ("\xFCx", unlabelledToText("\xFCx"));
  EXPECT_EQ("\xC3\xBC\xFC", unlabelledToText("\xC3\xBC\xFC"));
}

}  // namespace
}  // namespace vornelle

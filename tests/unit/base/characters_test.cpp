#include "base/characters.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(Characters, WhatTheCodePageHasIsOneByteAndTheRestAReference) {
  EXPECT_EQ("a\xFC\x80&#1087;&#128512;", toText(U"a\xFC\x20AC\x43F\x1F600"));
  EXPECT_EQ("&#256;\xFF\x9F", toText(U"\x100\xFF\x178"));
}

TEST(Characters, WhatIsNoCharacterIsAQuestionMark) {
  EXPECT_EQ("?a?", toText(U"\xFFFD"
                          U"a\xFFFF"));
  EXPECT_EQ("?", toText(U"\x84")) << "a control character";
  EXPECT_EQ("\x81", toText(U"\x81")) << "a byte that the code page leaves open";
}

TEST(Characters, EveryByteIsTheCharacterThatIsWrittenAsThatByte) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    std::string back;
    appendCharacter(back, textCharacter({&c, 1}).code);
    EXPECT_EQ(std::string(1, c), back) << byte;
  }
}

TEST(Characters, EveryOtherCharacterComesBackFromItsReference) {
  for (const char32_t code : {0xA0U, 0x100U, 0x43FU, 0x202EU, 0x3042U, 0xFFFCU, 0x1F600U, 0x10FFFDU}) {
    std::string text;
    appendCharacter(text, code);
    const TextCharacter read = textCharacter(text + "7;");
    EXPECT_EQ(code, read.code);
    EXPECT_EQ(text.size(), read.length);
  }
}

TEST(Characters, OnlyReferencesToCharactersOutsideTheCodePageAreCharacters) {
  for (const char* text : {"&lt;",     "&#60;",    "&#0060;",  "&#252;",     "&#8364;",
                           "&#128;",   "&#01087;", "&#x43F;",  "&#X43F;",    "&#1087",
                           "&#1087 ;", "&#;",      "&#",       "&",          "& #1087;",
                           "&#55296;", "&#65533;", "&#65535;", "&#1114112;", "&#99999999999999999999;"}) {
    EXPECT_EQ(1U, textCharacter(text).length) << text;
    EXPECT_EQ(U'&', textCharacter(text).code) << text;
  }
}

TEST(Characters, AReferenceCountsAsOneCharacterAndIsNotCut) {
  EXPECT_EQ("&#1087;&#1088;", firstCharacters("&#1087;&#1088;&#1080;", 2));
  EXPECT_EQ("a&#128512;", firstCharacters("a&#128512;b", 2));
  EXPECT_EQ("ab", firstCharacters("ab", 25));
  EXPECT_EQ("", firstCharacters("&#1087;", 0));
}

TEST(Characters, OtherReferencesCountAndAreCutLetterByLetter) {
  EXPECT_EQ("a&l", firstCharacters("a&lt;b", 3));
  EXPECT_EQ("&#60", firstCharacters("&#60;", 4));
  EXPECT_EQ("&#252", firstCharacters("&#252;x", 5));
}

TEST(Characters, ACutAtSomeBytesLeavesWholeReferences) {
  const std::string text = "ab&#1087;c";
  for (std::size_t most = 2; most < 9; ++most) EXPECT_EQ("ab", firstBytes(text, most)) << most;
  EXPECT_EQ("ab&#1087;", firstBytes(text, 9));
  EXPECT_EQ(text, firstBytes(text, 10));
  EXPECT_EQ("a", firstBytes(text, 1));
  EXPECT_EQ("a&#10", firstBytes("a&#10", 5));
  EXPECT_EQ("x&#60", firstBytes("x&#60;y", 5));
}

TEST(Characters, ABoundedTextStopsInFrontOfTheCharacterThatDoesNotFit) {
  EXPECT_EQ("a", toText(U"a\x43F"
                        U"b",
                        7));
  EXPECT_EQ("a&#1087;", toText(U"a\x43F"
                               U"b",
                               8));
}

TEST(Characters, TextGoesToUtf8AndBack) {
  const std::string text = "Gr\xFC\xDF Gott \x80 &#1087;&#128512; &lt; &#60;";
  EXPECT_EQ("Gr\xC3\xBC\xC3\x9F Gott \xE2\x82\xAC \xD0\xBF\xF0\x9F\x98\x80 &lt; &#60;", toUtf8(text));
  EXPECT_EQ(text, fromUtf8ToText(toUtf8(text)));
  EXPECT_EQ("a?b", fromUtf8ToText("a\xC3"
                                  "b"));
  EXPECT_EQ("a", fromUtf8ToText("\xEF\xBB\xBF"
                                "a"));
}

TEST(Characters, HostileTextTakesLinearTime) {
  for (const std::string piece : {"&", "&#", "&#1", "&#12345678", "&#1087"}) {
    std::string text;
    while (text.size() < (4U << 20)) text += piece;
    EXPECT_EQ(text, toUtf8(text));
  }
}

}  // namespace
}  // namespace vornelle

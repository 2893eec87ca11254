#include "core/letter_case.h"

#include <gtest/gtest.h>

#include "base/characters.h"

namespace vornelle {
namespace {

std::string small(std::string_view utf8) {
  return toUtf8(toSmallLetters(fromUtf8ToText(utf8)));
}

bool same(std::string_view a, std::string_view b) {
  return sameLetters(fromUtf8ToText(a), fromUtf8ToText(b));
}

bool occurs(std::string_view what, std::string_view in) {
  return searchForm(in).find(searchForm(what)) != std::string::npos;
}

TEST(LetterCase, EveryAlphabetThatHasCapitalsIsWrittenSmall) {
  EXPECT_EQ("привет, мир", small("ПРИВЕТ, Мир"));
  EXPECT_EQ("ёжик ґедзь ђак", small("ЁЖИК ҐЕДЗЬ ЂАК"));
  EXPECT_EQ("καλημέρα", small("ΚΑΛΗΜΈΡΑ"));
  EXPECT_EQ("ﬀ łódź žluťoučký őrült ışık", small("ﬀ ŁÓDŹ ŽLUŤOUČKÝ ŐRÜLT ıŞıK"));
  EXPECT_EQ("հայերեն", small("ՀԱՅԵՐԵՆ"));
  EXPECT_EQ("ắ ệ ừ", small("Ắ Ệ Ừ"));
  EXPECT_EQ("ａｂｃ", small("ＡＢＣ"));
  EXPECT_EQ("𞤢𐐨", small("𞤀𐐀"));
}

TEST(LetterCase, Windows1252IsAsItWas) {
  EXPECT_EQ("\xE4\x9A\xFF\xDF\xD7 a", toSmallLetters("\xC4\x8A\x9F\xDF\xD7 A"));
  EXPECT_EQ("\xE4&#1087;\x9A", toSmallLetters("\xC4&#1055;\x8A"));
}

TEST(LetterCase, AlphabetsWithoutCaseStayAsTheyAre) {
  for (const char* text : {"中文", "日本語かな", "한국어", "العربية", "עברית", "ไทย", "हिन्दी",
                           "😀👨‍👩‍👧", "e\u0301"})
    EXPECT_EQ(text, small(text));
}

TEST(LetterCase, LettersThatAreNotEachOthersPartnerStayAsTheyAre) {
  EXPECT_EQ("\u212A \u212B \u0130 \u1E9E \u03F4 \u2126", small("\u212A \u212B \u0130 \u1E9E \u03F4 \u2126"));
  EXPECT_FALSE(same("\u212A", "k"));
  EXPECT_FALSE(same("\u0130", "i"));
  EXPECT_FALSE(same("\u00B5", "\u039C")) << "the micro sign is no letter";
}

TEST(LetterCase, TheFlorinSignIsTheSmallFWithHook) {
  EXPECT_EQ("\x83", toSmallLetters("&#401;"));
  EXPECT_TRUE(same("\u0191", "\u0192"));
}

TEST(LetterCase, TextsAreComparedRegardlessOfCase) {
  EXPECT_TRUE(same("ПРИВЕТ", "привет"));
  EXPECT_TRUE(same("Ünal ŞAHİN", "ünal şahİn"));
  EXPECT_FALSE(same("ПРИВЕТ", "привет "));
}

TEST(LetterCase, TheFinalSigmaIsASigma) {
  EXPECT_TRUE(same("ΝΙΚΟΣ", "νικος"));
  EXPECT_EQ("νικος", small("Νικος")) << "what is written stays written so";
}

TEST(LetterCase, ATextOccursOnlyAtTheBordersOfCharacters) {
  const std::string text = "x&#1087;&#20263;y";
  EXPECT_TRUE(occurs("&#1087;", text));
  EXPECT_TRUE(occurs("&#1055;", text));
  for (const char* part : {"1087", "8", "2026", "&#", "&", "#", ";", "7;", "&#20263", ";&"})
    EXPECT_FALSE(occurs(part, text)) << part;
  EXPECT_TRUE(occurs("&#108", "a &#108"))
      << "an unfinished reference is as many characters as it has letters";
}

TEST(LetterCase, BytesBeyondAsciiAreNoPartsOfOtherCharacters) {
  for (int byte = 0x80; byte < 256; ++byte)
    EXPECT_FALSE(occurs(std::string(1, static_cast<char>(byte)), "&#1087;&#128512;&#12354;")) << byte;
}

}  // namespace
}  // namespace vornelle

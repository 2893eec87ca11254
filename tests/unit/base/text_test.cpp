#include "base/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t npos = std::string_view::npos;

char at(int code) {
  return static_cast<char>(code);
}

TEST(Text, LettersOfTheCodePageComeInPairs) {
  for (const auto& [capital, small] : {std::pair{0x8A, 0x9A},
                                       {0x8C, 0x9C},
                                       {0x8E, 0x9E},
                                       {0x9F, 0xFF},
                                       {0xC0, 0xE0},
                                       {0xC4, 0xE4},
                                       {0xDE, 0xFE},
                                       {0x41, 0x61},
                                       {0x5A, 0x7A}}) {
    EXPECT_EQ(toLowerChar(at(capital)), at(small)) << capital;
    EXPECT_EQ(toUpperChar(at(small)), at(capital)) << small;
    EXPECT_EQ(toLowerChar(at(small)), at(small)) << small;
    EXPECT_EQ(toUpperChar(at(capital)), at(capital)) << capital;
  }
}

TEST(Text, MultiplicationAndDivisionSignsAreNoLetters) {
  EXPECT_EQ(toLowerChar(at(0xD7)), at(0xD7));
  EXPECT_EQ(toUpperChar(at(0xF7)), at(0xF7));
}

TEST(Text, ExactlyThePairedCharactersChangeCase) {
  int lowered = 0;
  int raised = 0;
  for (int c = 0; c < 256; ++c) {
    if (toLowerChar(at(c)) != at(c)) {
      ++lowered;
      EXPECT_EQ(toUpperChar(toLowerChar(at(c))), at(c)) << c;
    }
    if (toUpperChar(at(c)) != at(c)) ++raised;
  }
  EXPECT_EQ(lowered, 26 + 30 + 4);
  EXPECT_EQ(raised, lowered);
}

TEST(Text, ToLowerChangesEveryLetterAndNothingElse) {
  EXPECT_EQ(toLower("Bob.SMITH@Example.COM \xC4\xD6\xDC\xDF\x8A"),
            "bob.smith@example.com \xE4\xF6\xFC\xDF\x9A");
  EXPECT_EQ(toLower(""), "");
}

TEST(Text, EqualityIgnoresLetterCaseButNotLength) {
  EXPECT_TRUE(
      equalsNoCase("GR\xDC\xDF"
                   "E",
                   "gr\xFC\xDF"
                   "e"));
  EXPECT_TRUE(equalsNoCase("", ""));
  EXPECT_FALSE(equalsNoCase("ab", "abc"));
  EXPECT_FALSE(equalsNoCase("abd", "abc"));
  EXPECT_FALSE(equalsNoCase("\xD7", "\xF7"));
}

TEST(Text, StartsWithIgnoresLetterCase) {
  EXPECT_TRUE(startsWithNoCase("smtp_serverX=a", "SMTP_SERVER"));
  EXPECT_TRUE(startsWithNoCase("abc", ""));
  EXPECT_FALSE(startsWithNoCase("SMTP", "SMTP_SERVER"));
  EXPECT_FALSE(startsWithNoCase(" SMTP_SERVER", "SMTP_SERVER"));
}

TEST(Text, FindReturnsTheFirstPlaceAtOrAfterTheStart) {
  EXPECT_EQ(findNoCase("xABcabC", "abc"), 1u);
  EXPECT_EQ(findNoCase("xABcabC", "abc", 2), 4u);
  EXPECT_EQ(findNoCase("xABcabC", "abc", 5), npos);
  EXPECT_EQ(findNoCase("abc", "abcd"), npos);
  EXPECT_EQ(findNoCase("\xE4x", "\xC4X"), 0u);
}

TEST(Text, AnEmptyTextIsFoundWhereTheSearchStarts) {
  EXPECT_EQ(findNoCase("abc", ""), 0u);
  EXPECT_EQ(findNoCase("abc", "", 3), 3u);
  EXPECT_EQ(findNoCase("abc", "", 4), npos);
  EXPECT_EQ(findNoCase("", ""), 0u);
  EXPECT_TRUE(containsNoCase("", ""));
}

TEST(Text, TrimRemovesBlanksOnly) {
  EXPECT_EQ(trim("  a b "), "a b");
  EXPECT_EQ(trim("\ta\r\n"), "\ta\r\n");
  EXPECT_EQ(trim("\xA0x"), "\xA0x");  // the no-break blank is a character like any other
  EXPECT_EQ(trim("   "), "");
  EXPECT_EQ(trim(""), "");
}

TEST(Text, ReplaceDoesNotLookAgainAtWhatItPutIn) {
  EXPECT_EQ(replaceAll("aaa", "a", "aa"), "aaaaaa");
  EXPECT_EQ(replaceAll("aaaa", "aa", "a"), "aa");
  EXPECT_EQ(replaceAllNoCase("x<!--ss-->y<!--SS-->", "<!--Ss-->", "<!--ss-->!"), "x<!--ss-->!y<!--ss-->!");
}

TEST(Text, ReplaceMindsLetterCaseUnlessToldOtherwise) {
  EXPECT_EQ(replaceAll("aAa", "A", "-"), "a-a");
  EXPECT_EQ(replaceAllNoCase("aAa", "A", "-"), "---");
  EXPECT_EQ(replaceAllNoCase("abc", "", "-"), "abc");
  EXPECT_EQ(replaceAll("abc", "", "-"), "abc");
  EXPECT_EQ(replaceAll("abc", "b", ""), "ac");
}

TEST(Text, LinesAreTakenOneByOneWithoutTheirEnds) {
  std::string_view rest = "a\r\n\nb\rc\r";
  EXPECT_EQ(takeLine(rest), "a");
  EXPECT_EQ(takeLine(rest), "");
  EXPECT_EQ(takeLine(rest), "b\rc") << "a lone CR ends no line, the one at the very end aside";
  EXPECT_EQ(rest, "");
}

TEST(Text, EveryKindOfLineEndEndsALine) {
  EXPECT_THAT(splitLines("a\r\nb\nc\rd"), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(splitLines("a\r\n\r\nb\n\nc\r\rd"), ElementsAre("a", "", "b", "", "c", "", "d"));
  EXPECT_THAT(splitLines("a\n\rb"), ElementsAre("a", "", "b"));
}

TEST(Text, AnEndAtTheVeryEndStartsNoFurtherLine) {
  EXPECT_THAT(splitLines("a\r\n"), ElementsAre("a"));
  EXPECT_THAT(splitLines("a\r"), ElementsAre("a"));
  EXPECT_THAT(splitLines("\r\n"), ElementsAre(""));
  EXPECT_THAT(splitLines(""), IsEmpty());
}

TEST(Text, BlanksAndTabsGoFromBothEnds) {
  EXPECT_EQ(trimBlanksAndTabs(" \t a \t b\t "), "a \t b");
  EXPECT_EQ(trimBlanksAndTabs(" \t "), "");
  EXPECT_EQ(trimBlanksAndTabs(""), "");
  EXPECT_EQ(trimBlanksAndTabs("\ra\n"), "\ra\n");
}

TEST(Text, HexadecimalDigitsHaveValuesInEitherCase) {
  EXPECT_EQ(hexDigitValue('0'), 0);
  EXPECT_EQ(hexDigitValue('9'), 9);
  EXPECT_EQ(hexDigitValue('a'), 10);
  EXPECT_EQ(hexDigitValue('F'), 15);
  for (const char c : {'/', ':', '@', 'G', '`', 'g', '\0', '\xE4'}) EXPECT_EQ(hexDigitValue(c), -1) << c;
}

TEST(Text, DigitsAreTheTenOfAsciiAndAtLeastOne) {
  EXPECT_TRUE(isDigits("0123456789"));
  EXPECT_FALSE(isDigits(""));
  EXPECT_FALSE(isDigits("1 "));
  EXPECT_FALSE(isDigits("-1"));
  EXPECT_FALSE(isDigit('\xB2')) << "a superscript two";
}

TEST(Text, AnEndIsFoundInAnyLetterCase) {
  EXPECT_TRUE(endsWithNoCase("mail.EXAMPLE", "example"));
  EXPECT_TRUE(endsWithNoCase("a", ""));
  EXPECT_FALSE(endsWithNoCase("ample", "example"));
}

}  // namespace
}  // namespace vornelle

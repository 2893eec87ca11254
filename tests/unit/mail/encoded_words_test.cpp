#include "mail/encoded_words.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(EncodedWords, BothEncodingsInEitherCaseAreDecoded) {
  EXPECT_EQ("Keld J\xF8rn", decodeEncodedWords("=?ISO-8859-1?Q?Keld_J=F8rn?="));
  EXPECT_EQ("Keld J\xF8rn", decodeEncodedWords("=?iso-8859-1?q?Keld_J=f8rn?="));
  EXPECT_EQ(
      "Gr\xFC\xDF"
      "e",
      decodeEncodedWords("=?utf-8?B?R3LDvMOfZQ==?="));
  EXPECT_EQ(
      "Gr\xFC\xDF"
      "e",
      decodeEncodedWords("=?utf-8?b?R3LDvMOfZQ==?="));
}

TEST(EncodedWords, BlanksBetweenWordsGoAndOthersStay) {
  EXPECT_EQ("ab", decodeEncodedWords("=?utf-8?q?a?= \t =?utf-8?q?b?="));
  EXPECT_EQ("ab", decodeEncodedWords("=?utf-8?q?a?= =?iso-8859-1?b?Yg==?="));
  EXPECT_EQ("a b", decodeEncodedWords("=?utf-8?q?a?= b"));
  EXPECT_EQ("a b", decodeEncodedWords("a =?utf-8?q?b?="));
  EXPECT_EQ("a b c", decodeEncodedWords("=?utf-8?q?a_?= =?utf-8?q?b_?= =?utf-8?q?c?="));
  EXPECT_EQ("x a y b z", decodeEncodedWords("x =?utf-8?q?a?= y =?utf-8?q?b?= z"));
}

TEST(EncodedWords, ACharacterMayBeSplitBetweenWords) {
  EXPECT_EQ("\xFC", decodeEncodedWords("=?utf-8?q?=C3?= =?UTF-8?q?=BC?="));
  EXPECT_EQ("\xFC", decodeEncodedWords("=?utf-8?q?=C3?= =?utf-8?b?vA==?="));
  EXPECT_EQ("?\xFC", decodeEncodedWords("=?utf-8?q?=C3?= =?iso-8859-1?q?=FC?="));
}

TEST(EncodedWords, AnUnknownCharacterSetLeavesTheWordAsItStands) {
  EXPECT_EQ("=?klingon?q?a?=", decodeEncodedWords("=?klingon?q?a?="));
  EXPECT_EQ("=?klingon?q?a?= b", decodeEncodedWords("=?klingon?q?a?= =?utf-8?q?b?="));
  EXPECT_EQ("b =?klingon?q?a?=", decodeEncodedWords("=?utf-8?q?b?= =?klingon?q?a?="));
}

TEST(EncodedWords, ABrokenWordStaysAsItStands) {
  for (const char* word :
       {"=?", "=?\?=", "=?utf-8", "=?utf-8?q", "=?utf-8?q?", "=?utf-8?q?a", "=?utf-8?q?a?",
        "=?utf-8?x?a?=", "=?utf-8?qq?a?=", "=?utf-8?q?=4?=", "=?utf-8?q?=zz?=", "=?utf-8?b?Z?=",
        "=?utf-8?b?Zm*v?=", "=?utf 8?q?a?=", "=??q?a?=", "=?utf-8?q?a? ="}) {
    EXPECT_EQ(word, decodeEncodedWords(word));
  }
}

TEST(EncodedWords, AWordBehindABrokenOneIsDecoded) {
  EXPECT_EQ("=?utf-8?q?a b", decodeEncodedWords("=?utf-8?q?a =?utf-8?q?b?="));
}

TEST(EncodedWords, WordsInQuotesAndGluedToOtherTextAreDecoded) {
  EXPECT_EQ(
      "\"B\xF6"
      "b\" <bob@x.example>",
      decodeEncodedWords("\"=?utf-8?q?B=C3=B6b?=\" <bob@x.example>"));
  EXPECT_EQ("xay", decodeEncodedWords("x=?utf-8?q?a?=y"));
}

TEST(EncodedWords, BlanksInsideAQWordAreForgiven) {
  EXPECT_EQ("free money now", decodeEncodedWords("=?utf-8?Q?free money now?="));
}

TEST(EncodedWords, ALanguageIsIgnored) {
  EXPECT_EQ("a", decodeEncodedWords("=?utf-8*en?q?a?="));
}

TEST(EncodedWords, AnEmptyWordIsNothing) {
  EXPECT_EQ("ab", decodeEncodedWords("a=?utf-8?q?\?=b"));
  EXPECT_EQ("", decodeEncodedWords("=?utf-8?b?\?="));
}

TEST(EncodedWords, RawBytesAreUtf8WhereTheWholeValueIsElseWindows1252) {
  EXPECT_EQ("\xFC\xFC", decodeEncodedWords("\xC3\xBC=?utf-8?q?=C3=BC?="));
  EXPECT_EQ("\xFC x", decodeEncodedWords("\xFC x"));
  EXPECT_EQ("\xC3\xBC \xFC", decodeEncodedWords("\xC3\xBC \xFC"));
}

TEST(EncodedWords, PlainTextIsLeftAlone) {
  EXPECT_EQ("", decodeEncodedWords(""));
  EXPECT_EQ("  a = ? b  ", decodeEncodedWords("  a = ? b  "));
}

// Quadratic work would take minutes here.
TEST(EncodedWords, HostileTextTakesLinearTime) {
  for (const std::string piece : {"=?", "=?a?q?", "=?utf-8?q?a", "=?utf-8?q?a?= ", "=?utf-8?q?a?= x "}) {
    std::string text;
    while (text.size() < (1U << 20)) text += piece;
    EXPECT_LE(decodeEncodedWords(text).size(), text.size());
  }
}

}  // namespace
}  // namespace vornelle

#include "base/url_decode.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace vornelle {
namespace {

TEST(UrlDecode, EveryRowOfTheTableIsDecoded) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"+", " "},   {"%0D%0A", "\r\n"}, {"%21", "!"},    {"%22", "\""}, {"%A7", "\xA7"}, {"%24", "$"},
      {"%25", "%"}, {"%26", "&"},       {"%2F", "/"},    {"%28", "("},  {"%29", ")"},    {"%3D", "="},
      {"%3F", "?"}, {"%B2", "\xB2"},    {"%B3", "\xB3"}, {"%7B", "{"},  {"%5B", "["},    {"%5D", "]"},
      {"%7D", "}"}, {"%5C", "\\"},      {"%DF", "\xDF"}, {"%23", "#"},  {"%27", "'"},    {"%3A", ":"},
      {"%2C", ","}, {"%3B", ";"},       {"%60", "`"},    {"%7E", "~"},  {"%2B", "+"},    {"%B4", "\xB4"},
  };
  ASSERT_EQ(rows.size(), 30u);
  for (const auto& [find, with] : rows) {
    EXPECT_EQ(urlDecode("x" + find + "y" + find), "x" + with + "y" + with) << find;
  }
}

TEST(UrlDecode, EscapesOutsideTheTableStay) {
  for (const char* text : {"%40", "%3C", "%3E", "%0A", "%0D", "%20", "%E4", "%", "%%", "%2", "plain text"}) {
    EXPECT_EQ(urlDecode(text), text);
  }
}

TEST(UrlDecode, LowerCaseHexDigitsAreNotDecoded) {
  EXPECT_EQ(urlDecode("a+b%2Bc%2fd"), "a b+c%2fd");
  EXPECT_EQ(urlDecode("%0d%0a%a7%3d"), "%0d%0a%a7%3d");
}

TEST(UrlDecode, APlusBecomesABlankBeforeAnEscapedPlusBecomesAPlus) {
  EXPECT_EQ(urlDecode("+%2B+"), " + ");
}

TEST(UrlDecode, AnEscapedPercentSignIsDecodedTwiceWhereALaterRowFindsIt) {
  EXPECT_EQ(urlDecode("%2526"), "&");
  EXPECT_EQ(urlDecode("%252B"), "+");
  EXPECT_EQ(urlDecode("%25B4"), "\xB4");
}

TEST(UrlDecode, AnEscapedPercentSignIsDecodedOnceWhereTheRowHasPassed) {
  EXPECT_EQ(urlDecode("%2521"), "%21");
  EXPECT_EQ(urlDecode("%2525"), "%25");
  EXPECT_EQ(urlDecode("%250D%250A"), "%0D%0A");
}

TEST(UrlDecode, AnEmptyTextStaysEmpty) {
  EXPECT_EQ(urlDecode(""), "");
}

TEST(UrlDecode, ReferencesToCharactersOutsideTheCodePageArePutBack) {
  EXPECT_EQ("&#1087;&#1088;", decodePostedReferences("%26%231087%3B%26%231088%3b"));
  EXPECT_EQ("a&#128512; b", decodePostedReferences("a%26#128512; b"));
  EXPECT_EQ("%26&#1087;%26", decodePostedReferences("%26%26#1087;%26"));
}

TEST(UrlDecode, AllOtherReferencesStayEncoded) {
  for (const std::string text :
       {"%26", "%26#", "%26#;", "%26%2360%3B", "%26#60;", "%26#252;", "%26lt;", "%26#1087", "%26#x43F;",
        "&#1087;", "%26#55296;", "%26#01087;", "%26#111111111111111111;", "%40%253B"})
    EXPECT_EQ(text, decodePostedReferences(text));
}

TEST(PercentDecode, TakesTwoDigitsInEitherCaseAndLeavesEverythingElse) {
  EXPECT_EQ(percentDecode("a%26c%2f%2F+%4%zz%%41%"), "a&c//+%4%zz%A%");
  EXPECT_EQ(percentDecode("%2526"), "%26") << "once";
}

TEST(FormEncoding, GivesBackWhatWentIn) {
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  EXPECT_EQ(formDecode(formEncode(all)), all);
  EXPECT_EQ(formEncode("a b&c-.%"), "a%20b%26c-.%25");
  EXPECT_EQ(formDecode("a+b%26c%2f%2F%4%zz%"), "a b&c//%4%zz%");
}

}  // namespace
}  // namespace vornelle

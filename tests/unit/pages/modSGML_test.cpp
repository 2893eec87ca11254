#include "pages/modSGML.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

std::string converted(std::string text) {
  return textToHtml(text);
}

TEST(ModSGML, QuotesAndAnglesAreEscapedLineEndsGetATagAndTheAmpersandStays) {
  EXPECT_EQ(converted("a<b> & \"c\"\r\nd"), "a&lt;b&gt; & &quot;c&quot;\r\n<br>d");
}

TEST(ModSGML, TheAmpersandOfAnEscapeIsNotEscapedAgain) {
  EXPECT_EQ(converted("&lt;&amp;&quot;"), "&lt;&amp;&quot;");
}

TEST(ModSGML, EveryOccurrenceIsReplaced) {
  EXPECT_EQ(converted("<<>>\"\"\r\n\r\n"), "&lt;&lt;&gt;&gt;&quot;&quot;\r\n<br>\r\n<br>");
}

TEST(ModSGML, LoneLineFeedsCarriageReturnsAndApostrophesStay) {
  EXPECT_EQ(converted("a\nb\rc'd\xE4"), "a\nb\rc'd\xE4");
}

TEST(ModSGML, TheArgumentIsRewrittenInPlace) {
  std::string text = "<";
  EXPECT_EQ(&textToHtml(text), &text);
  EXPECT_EQ(text, "&lt;");
}

}  // namespace
}  // namespace vornelle

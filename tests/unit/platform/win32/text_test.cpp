#include "platform/win32/text.h"

#include <gtest/gtest.h>

namespace vornelle::win32 {
namespace {

TEST(WindowsTextTest, EveryByteGoesThereAndBack) {
  std::string all;
  for (int code = 1; code < 256; ++code) all += static_cast<char>(code);
  EXPECT_EQ(widen(all).size(), all.size());
  EXPECT_EQ(narrow(widen(all)), all);
  EXPECT_TRUE(fitsCodePage(widen(all)));
}

TEST(WindowsTextTest, TheCodePageIsWindows1252WhateverTheSystemsIs) {
  EXPECT_EQ(widen("\x80 \x8A \xE4 \x9F"), L"\u20AC \u0160 \u00E4 \u0178");
}

TEST(WindowsTextTest, WhatTheCodePageLacksBecomesAQuestionMark) {
  EXPECT_EQ(narrow(L"a\u65E5b"), "a?b");
  EXPECT_FALSE(fitsCodePage(L"a\u65E5b"));
  EXPECT_EQ(narrow(L"\u0101"), "?") << "no letter that only looks like it";
}

TEST(WindowsTextTest, EmptyTextStaysEmpty) {
  EXPECT_EQ(widen(""), L"");
  EXPECT_EQ(narrow(L""), "");
  EXPECT_TRUE(fitsCodePage(L""));
}

TEST(WindowsTextTest, PeopleReadAndTypeTheLettersThemselves) {
  EXPECT_EQ(shownText("\x80 &#1087;&#128512; &#60;"), L"\u20AC \u043F\U0001F600 &#60;");
  EXPECT_EQ(typedText(L"\u20AC \u043F\U0001F600 &#60;"), "\x80 &#1087;&#128512; &#60;");
  EXPECT_EQ(typedText(L"a\xD83D"
                      L"b"),
            "a?b")
      << "half a pair";
  EXPECT_EQ(shownText("a&#8238;b"), L"a?b") << "nothing turns the text around";
}

}  // namespace
}  // namespace vornelle::win32

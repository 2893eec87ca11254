#include "desktop/terminal_text.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(TerminalText, LineEndsBecomeLineFeeds) {
  EXPECT_EQ(toTerminalText("a\r\nb\r\n\r\n"), "a\nb\n\n");
  EXPECT_EQ(toTerminalText("a\nb"), "a\nb");
}

TEST(TerminalText, LettersOfTheCodePageBecomeUtf8) {
  EXPECT_EQ(toTerminalText("Gr\xFC\xDF"
                           "e \xA9"),
            "Gr\xC3\xBC\xC3\x9F"
            "e \xC2\xA9");
  EXPECT_EQ(toTerminalText("\x80 5 \x96 \x8A\x9F"), "\xE2\x82\xAC 5 \xE2\x80\x93 \xC5\xA0\xC5\xB8");
}

TEST(TerminalText, LettersOutsideTheCodePageAreShownToo) {
  EXPECT_EQ(toTerminalText("&#1087;&#1088; &amp; &#60;"), "\xD0\xBF\xD1\x80 &amp; &#60;");
}

TEST(TerminalText, NothingTurnsTheDirectionOfTheText) {
  EXPECT_EQ(toTerminalText("a&#8238;b&#8297;c"), "a?b?c");
}

TEST(TerminalText, ControlCharactersNeverReachTheTerminal) {
  EXPECT_EQ(toTerminalText("\x1B[2J"), "?[2J");
  EXPECT_EQ(toTerminalText("a\rb\b\x7F\tc"), "a?b??\tc");
  EXPECT_EQ(toTerminalText(std::string_view("\0\x07", 2)), "??");
  for (const char undefined : {'\x81', '\x8D', '\x8F', '\x90', '\x9D'}) {
    EXPECT_EQ(toTerminalText(std::string_view(&undefined, 1)), "?");
  }
}

TEST(TerminalText, LettersOutsideTheCodePageAreShownThemselves) {
  EXPECT_EQ(toTerminalText("&#1055;&#1088;, &#20320;! &#128512; e&#769;"), "Пр, 你! 😀 e\u0301");
  EXPECT_EQ(toTerminalText("&lt;&#60;&#252;"), "&lt;&#60;&#252;") << "as it stands";
}

TEST(TerminalText, NoStrangerTurnsALineAround) {
  EXPECT_EQ(toTerminalText("a&#8238;b&#8294;c&#8233;d"), "a?b?c?d");
}

}  // namespace
}  // namespace vornelle

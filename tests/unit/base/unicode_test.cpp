#include "base/unicode.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(Unicode, Utf8IsReadAndWritten) {
  for (const char32_t code :
       {0x24U, 0xA2U, 0x7FFU, 0x800U, 0x20ACU, 0xFFFFU, 0x10000U, 0x1F600U, 0x10FFFFU}) {
    std::string bytes;
    appendUtf8(bytes, code);
    const Utf8Character read = utf8Character(bytes + "x");
    EXPECT_EQ(code, read.code);
    EXPECT_EQ(bytes.size(), read.length);
    EXPECT_TRUE(read.valid);
  }
}

TEST(Unicode, ABrokenSequenceEndsInFrontOfWhatBreaksIt) {
  EXPECT_EQ(
      U"a\xFFFD"
      U"b",
      fromUtf8("a\xC3"
               "b"));
  EXPECT_EQ(U"\xFFFD<", fromUtf8("\xE2\x82<"));
  EXPECT_EQ(U"\xFFFD<", fromUtf8("\xF0\x9F\x98<"));
  EXPECT_EQ(U"\xFFFD\xFFFD", fromUtf8("\xC0\x80")) << "overlong";
  EXPECT_EQ(U"\xFFFD\xFFFD\xFFFD", fromUtf8("\xED\xA0\x80")) << "a surrogate";
  EXPECT_EQ(U"\xFFFD\xFFFD\xFFFD\xFFFD", fromUtf8("\xF4\x90\x80\x80")) << "past the last character";
}

TEST(Unicode, IsUtf8TellsWhetherAllOfItIs) {
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8("a\xC3\xBC"));
  EXPECT_FALSE(isUtf8("a\xC3"));
  EXPECT_FALSE(isUtf8("\xFC"));
}

TEST(Unicode, AByteOrderMarkIsNoText) {
  EXPECT_EQ(U"a", fromUtf8("\xEF\xBB\xBF"
                           "a"));
  EXPECT_EQ(U"a", fromUtf16(std::string("\xFF\xFE"
                                        "a\0",
                                        4),
                            false));
  EXPECT_EQ(U"a", fromUtf16(std::string("\xFE\xFF\0a", 4), true));
  EXPECT_EQ(U"a", fromUtf32(std::string("\xFF\xFE\0\0a\0\0\0", 8), false));
  EXPECT_EQ(U"a\xFEFF", fromUtf8("a\xEF\xBB\xBF")) << "elsewhere it is one";
}

TEST(Unicode, Utf16JoinsItsPairs) {
  EXPECT_EQ(U"\xE9\x1F600!", fromUtf16(std::string("\0\xE9\xD8\x3D\xDE\0\0!", 8), false));
  EXPECT_EQ(U"\xE9\x1F600!", fromUtf16(std::string("\xE9\0\x3D\xD8\0\xDE!\0", 8), true));
  EXPECT_EQ(
      U"\xFFFD"
      U"a",
      fromUtf16(std::string("\xD8\x3D\0a", 4), false))
      << "half a pair";
  EXPECT_EQ(U"\xFFFD", fromUtf16("\xDE\x3D", false)) << "the other half";
  EXPECT_EQ(U"a\xFFFD", fromUtf16(std::string("\0a\0", 3), false)) << "half a character";
}

TEST(Unicode, Utf32BeyondTheLastCharacterIsNone) {
  EXPECT_EQ(U"\x1F600\xFFFD", fromUtf32(std::string("\0\1\xF6\0\0\x11\0\0", 8), false));
  EXPECT_EQ(U"\xFFFD\xFFFD", fromUtf32(std::string("\0\0\xD8\0\0", 5), false));
}

TEST(Unicode, NoncharactersAreNoCharacters) {
  for (const char32_t code : {0xD800U, 0xDFFFU, 0xFDD0U, 0xFDEFU, 0xFFFDU, 0xFFFEU, 0x1FFFFU, 0x110000U})
    EXPECT_FALSE(isCharacter(code)) << static_cast<unsigned>(code);
  for (const char32_t code : {0x41U, 0xFDF0U, 0xFFFCU, 0x10000U, 0x10FFFDU}) EXPECT_TRUE(isCharacter(code));
}

}  // namespace
}  // namespace vornelle

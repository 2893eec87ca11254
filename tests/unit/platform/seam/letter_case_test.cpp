#include "platform/letter_case.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "base/characters.h"
#include "core/letter_case.h"

namespace vornelle {
namespace {

TEST(SystemLetterCase, LettersHaveOneOtherLetterAtMost) {
  EXPECT_EQ(0x43FU, systemSmallLetter(0x41F));
  EXPECT_EQ(0x41FU, systemCapitalLetter(0x43F));
  EXPECT_EQ(0x3C9U, systemSmallLetter(0x3A9));
  EXPECT_EQ(0x10428U, systemSmallLetter(0x10400)) << "beyond the first plane";
  EXPECT_EQ(0x1E900U, systemCapitalLetter(0x1E922));
  for (const char32_t code : {0x43FU, 0x3042U, 0x5D0U, 0xFB01U, 0x1F600U})
    EXPECT_EQ(code, systemSmallLetter(code)) << "has no small letter";
  EXPECT_EQ(0xDFU, systemCapitalLetter(0xDF)) << "two capital letters are no mapping";
}

// Whatever edition of Unicode the system follows.
TEST(LetterCase, TheLettersThatCountAreTheSameOnEverySystem) {
  unsigned pairs = 0;
  std::uint32_t sum = 2166136261U;
  for (char32_t code = 0x100; code < 0x20000; ++code) {
    if (code >= 0xD800 && code < 0xE000) continue;
    std::string text;
    appendCharacter(text, code);
    if (text == "?" || text.size() == 1) continue;
    const char32_t lower = textCharacter(toSmallLetters(text)).code;
    if (lower == code) continue;
    ++pairs;
    for (const char32_t one : {code, lower}) sum = (sum ^ one) * 16777619U;
  }
  EXPECT_EQ(1171U, pairs);
  EXPECT_EQ(1931032059U, sum);
}

}  // namespace
}  // namespace vornelle

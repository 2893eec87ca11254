#include "base/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace vornelle {
namespace {

TEST(Numbers, ValReadsTheLongestLeadingNumber) {
  EXPECT_EQ(val("45 minutes"), 45);
  EXPECT_EQ(val("9.6"), 9.6);
  EXPECT_EQ(val("-4"), -4);
  EXPECT_EQ(val("+7x"), 7);
  EXPECT_EQ(val(".5"), 0.5);
  EXPECT_EQ(val("5."), 5);
  EXPECT_EQ(val("1.2.3"), 1.2);
  EXPECT_EQ(val("--4"), 0);
  EXPECT_EQ(val("1,5"), 1);
}

TEST(Numbers, ValOfATextWithoutANumberIsZero) {
  for (const char* text : {"", "abc", "-", "+", ".", "-.", "e5", "&", "&H", "&Hg", "&O8", "&x1", "TRUE"}) {
    EXPECT_EQ(val(text), 0) << text;
  }
}

TEST(Numbers, ValReadsExponentsThatAreComplete) {
  EXPECT_EQ(val("1e2"), 100);
  EXPECT_EQ(val("1.5E+1"), 15);
  EXPECT_EQ(val("250e-1x"), 25);
  EXPECT_EQ(val("12e"), 12);
  EXPECT_EQ(val("12e+"), 12);
  EXPECT_EQ(val("12e-x"), 12);
}

TEST(Numbers, ValReadsHexadecimalAndOctalPrefixes) {
  EXPECT_EQ(val("&H1F"), 31);
  EXPECT_EQ(val("&hff!"), 255);
  EXPECT_EQ(val("&O17"), 15);
  EXPECT_EQ(val("&o18"), 1);
  EXPECT_EQ(val("  &H10"), 16);
}

TEST(Numbers, ValSkipsBlanksTabsAndLineFeedsBeforeTheNumber) {
  EXPECT_EQ(val("  \t\n 45"), 45);
  EXPECT_EQ(val("\r45"), 0);
}

TEST(Numbers, ABlankEndsTheNumberThatValReads) {
  EXPECT_EQ(val("4 5"), 4);
  EXPECT_EQ(val("30 45"), 30);
  EXPECT_EQ(val("1 e2"), 1);
  EXPECT_EQ(val("1e 2"), 1);
  EXPECT_EQ(val("1\t5"), 1);
  EXPECT_EQ(val("- 3"), 0);
  EXPECT_EQ(val("& H10"), 0);
  EXPECT_EQ(val("&H1 0"), 1);
}

TEST(Numbers, ValOfHugeNumbersStaysComparable) {
  EXPECT_GT(val("1e999"), 60);
  EXPECT_LT(val("-1e999"), 10);
  EXPECT_GT(val(std::string(400, '9')), 1e300);
  EXPECT_EQ(val("0." + std::string(400, '0') + "1"), 0);
  EXPECT_EQ(val("1e-999"), 0);
}

TEST(Numbers, HalvesRoundToTheEvenNeighbour) {
  EXPECT_EQ(roundHalfEven(10.5), 10);
  EXPECT_EQ(roundHalfEven(11.5), 12);
  EXPECT_EQ(roundHalfEven(0.5), 0);
  EXPECT_EQ(roundHalfEven(1.5), 2);
  EXPECT_EQ(roundHalfEven(-0.5), 0);
  EXPECT_EQ(roundHalfEven(-1.5), -2);
  EXPECT_EQ(roundHalfEven(-2.5), -2);
  EXPECT_EQ(roundHalfEven(10.49), 10);
  EXPECT_EQ(roundHalfEven(10.51), 11);
  EXPECT_EQ(roundHalfEven(-10.51), -11);
}

// For random numbers: val reads back what was printed and ignores what follows; rounding gives the nearest
// whole number, the even one of two.
TEST(Numbers, ValAndRoundingHoldForRandomNumbers) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> numbers(-1e6, 1e6);
  for (int i = 0; i < 20000; ++i) {
    const double number = i % 2 ? numbers(random) : std::floor(numbers(random)) / 2;
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", number);
    ASSERT_EQ(val(text), number) << text;
    ASSERT_EQ(val("  " + std::string(text) + "K"), number) << text;
    ASSERT_EQ(toNumber(text).value(), number) << text;

    const double rounded = roundHalfEven(number);
    ASSERT_EQ(rounded, std::floor(rounded)) << text;
    ASSERT_LE(std::fabs(rounded - number), 0.5) << text;
    if (std::fabs(rounded - number) == 0.5) {
      ASSERT_EQ(std::fmod(rounded, 2), 0) << text;
    }
    ASSERT_EQ(roundHalfEven(rounded), rounded) << text;
    ASSERT_EQ(roundHalfEven(-number), -rounded) << text;
  }
}

TEST(Numbers, RandomBytesNeverDisturbVal) {
  std::mt19937 random(2);
  constexpr std::string_view kPieces = "0123456789+-.eE&HhOo \t\nxF";
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (auto length = random() % 12; length > 0; --length) text += kPieces[random() % kPieces.size()];
    ASSERT_FALSE(std::isnan(val(text))) << text;
    // A whole text that is a number is the same number to both readers.
    if (const std::optional<double> number = toNumber(text)) {
      ASSERT_EQ(val(text), *number) << text;
    }
  }
}

TEST(Numbers, ToNumberTakesWholeTextsOnly) {
  EXPECT_EQ(toNumber(" 7.9 "), 7.9);
  EXPECT_EQ(toNumber("-1e3"), -1000);
  EXPECT_EQ(toNumber("&H10"), 16);
  for (const char* text : {"", " ", "x", "7x", "7 9", "\t7", "1e", "1e999", "-1e999"}) {
    EXPECT_FALSE(toNumber(text)) << text;
  }
}

TEST(Numbers, ToInt32RoundsAndRefusesWhatDoesNotFit) {
  EXPECT_EQ(toInt32("7000"), 7000);
  EXPECT_EQ(toInt32("7000.5"), 7000);
  EXPECT_EQ(toInt32("7001.5"), 7002);
  EXPECT_EQ(toInt32("2147483647"), 2147483647);
  EXPECT_EQ(toInt32("-2147483648"), std::numeric_limits<std::int32_t>::min());
  EXPECT_FALSE(toInt32("2147483648"));
  EXPECT_FALSE(toInt32("-2147483649"));
  EXPECT_FALSE(toInt32("port"));
}

TEST(Numbers, ToInt16RoundsAndRefusesWhatDoesNotFit) {
  EXPECT_EQ(toInt16("15"), 15);
  EXPECT_EQ(toInt16("32767.4"), 32767);
  EXPECT_FALSE(toInt16("32767.5"));
  EXPECT_FALSE(toInt16("32768"));
  EXPECT_EQ(toInt16("-32768"), -32768);
  EXPECT_FALSE(toInt16("-32769"));
  EXPECT_FALSE(toInt16(""));
  EXPECT_FALSE(toInt16(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(toInt16(std::numeric_limits<double>::infinity()));
}

TEST(Numbers, SixteenBitArithmeticReportsOverflow) {
  EXPECT_EQ(multiply16(32, 1000), 32000);
  EXPECT_FALSE(multiply16(33, 1000));
  EXPECT_EQ(multiply16(-32, 1024), -32768);
  EXPECT_FALSE(multiply16(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()));
  EXPECT_EQ(add16(32766, 1), 32767);
  EXPECT_FALSE(add16(32767, 1));
  EXPECT_FALSE(add16(std::numeric_limits<int>::max(), 1));
  EXPECT_EQ(subtract16(10, 2), 8);
  EXPECT_FALSE(subtract16(-32768, 1));
}

TEST(Numbers, ASignedNumberHasAPlaceForItsSign) {
  EXPECT_EQ(formatSigned(12), " 12");
  EXPECT_EQ(formatSigned(0), " 0");
  EXPECT_EQ(formatSigned(-3), "-3");
}

TEST(Numbers, APortIsDigitsFrom1To65535) {
  EXPECT_EQ(toPort("1"), 1);
  EXPECT_EQ(toPort("00110"), 110);
  EXPECT_EQ(toPort("65535"), 65535);
  for (const char* none : {"", "0", "65536", "99999999999", "-1", "+1", " 1", "1 ", "1x", "0x1"}) {
    EXPECT_EQ(toPort(none), std::nullopt) << none;
  }
}

}  // namespace
}  // namespace vornelle

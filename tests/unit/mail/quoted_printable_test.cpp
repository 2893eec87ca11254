#include "mail/quoted_printable.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(QuotedPrintable, EscapesAreDecodedInEitherCase) {
  EXPECT_EQ("=\xE4\xFC", quotedPrintableDecode("=3D=e4=Fc"));
}

TEST(QuotedPrintable, SoftLineBreaksGo) {
  EXPECT_EQ("one two", quotedPrintableDecode("one =\r\ntwo"));
  EXPECT_EQ("one two", quotedPrintableDecode("one =\ntwo"));
  EXPECT_EQ("onetwo", quotedPrintableDecode("one= \t\r\ntwo"));
  EXPECT_EQ("one", quotedPrintableDecode("one="));
}

TEST(QuotedPrintable, BlanksAtLineEndsWereAddedOnTheWayAndGo) {
  EXPECT_EQ("one\r\ntwo\n", quotedPrintableDecode("one \t\r\ntwo \n"));
  EXPECT_EQ("one \r\n", quotedPrintableDecode("one=20\r\n"));
}

TEST(QuotedPrintable, AnEqualsSignThatStartsNoEscapeStays) {
  EXPECT_EQ("a=b =zz =4", quotedPrintableDecode("a=b =zz =4"));
}

TEST(QEncoding, AnUnderscoreIsABlank) {
  EXPECT_EQ("a b_c", qEncodingDecode("a_b=5Fc"));
}

TEST(QEncoding, ABrokenEscapeIsReported) {
  EXPECT_EQ(std::nullopt, qEncodingDecode("a=4"));
  EXPECT_EQ(std::nullopt, qEncodingDecode("a=zz"));
}

}  // namespace
}  // namespace vornelle

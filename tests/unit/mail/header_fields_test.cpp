#include "mail/header_fields.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(HeaderFields, AFieldIsFoundInAnyLetterCase) {
  const HeaderFields header("from: a@b\r\nSUBJECT:Hi\r\n\r\nbody");
  EXPECT_EQ("a@b", header.field("From"));
  EXPECT_EQ("Hi", header.field("subject"));
  EXPECT_EQ(std::nullopt, header.field("Date"));
  EXPECT_EQ(std::nullopt, header.field("Sub"));
}

TEST(HeaderFields, OfSeveralFieldsTheFirstCounts) {
  EXPECT_EQ("a", HeaderFields("From: a\r\nFrom: b\r\n\r\n").field("From"));
}

TEST(HeaderFields, UnfoldingTakesTheLineEndAndLeavesTheBlanks) {
  EXPECT_EQ("one two\tthree  four",
            HeaderFields("Subject: one\r\n two\r\n\tthree\n  four\r\n\r\n").field("Subject"));
  EXPECT_EQ("one", HeaderFields("Subject:\r\n one\r\n").field("Subject"));
}

TEST(HeaderFields, BlanksAroundTheValueAndBeforeTheColonGo) {
  EXPECT_EQ("x", HeaderFields("Subject \t:  \tx \t\r\n\r\n").field("Subject"));
}

TEST(HeaderFields, TheBodyStartsBehindTheEmptyLine) {
  const HeaderFields header("A: b\r\n\r\nbody\r\n");
  EXPECT_EQ(8U, header.bodyStart());
  EXPECT_TRUE(header.endsWithEmptyLine());
}

TEST(HeaderFields, LoneLineFeedsEndLinesToo) {
  const HeaderFields header("A: b\nC: d\n\nbody\n");
  EXPECT_EQ("d", header.field("C"));
  EXPECT_EQ(11U, header.bodyStart());
}

TEST(HeaderFields, NothingBehindTheEmptyLineIsAField) {
  EXPECT_EQ(std::nullopt, HeaderFields("A: b\r\n\r\nFrom: c\r\n").field("From"));
}

TEST(HeaderFields, AHeaderMayBeAllThereIs) {
  for (const char* text : {"", "A: b", "A: b\r\n", "A: b\r\n more"}) {
    const HeaderFields header(text);
    EXPECT_EQ(std::string_view(text).size(), header.bodyStart()) << text;
    EXPECT_FALSE(header.endsWithEmptyLine()) << text;
  }
  EXPECT_EQ("b", HeaderFields("A: b").field("A"));
  EXPECT_EQ("b more", HeaderFields("A: b\r\n more").field("A"));
}

TEST(HeaderFields, ABrokenLineHidesNoField) {
  const HeaderFields header("Received: x\r\nthis is no field\r\nFrom: a@b\r\n\r\nbody");
  EXPECT_EQ("a@b", header.field("From"));
  EXPECT_EQ(
      "body",
      std::string("Received: x\r\nthis is no field\r\nFrom: a@b\r\n\r\nbody").substr(header.bodyStart()));
}

TEST(HeaderFields, WithoutAnEmptyLineTheBodyStartsAtTheFirstLineThatIsNoField) {
  const std::string text = "From: a@b\r\nSubject: x\r\nHello there\r\nbye\r\n";
  EXPECT_EQ("Hello there\r\nbye\r\n", text.substr(HeaderFields(text).bodyStart()));
}

TEST(HeaderFields, TheTopLineOfAMailFileBelongsToTheHeader) {
  for (const std::string top : {"From bob Sun Nov 15 2026\r\n", ">From bob Sun Nov 15 2026\r\n"}) {
    const std::string text = top + "From: a@b\r\n";
    const HeaderFields header(text);
    EXPECT_EQ("a@b", header.field("From"));
    EXPECT_EQ(top.size() + 11, header.bodyStart());
  }
}

TEST(HeaderFields, TextIsDecoded) {
  EXPECT_EQ(
      "\"B\xF6"
      "b\" <b@x>",
      HeaderFields("From: =?utf-8?q?=22B=C3=B6b=22?=\r\n <b@x>\r\n\r\n").fieldText("From"));
  EXPECT_EQ("", HeaderFields("A: b\r\n\r\n").fieldText("From"));
}

TEST(HeaderFields, HiddenLineEndsAndOtherControlsBecomeBlanks) {
  EXPECT_EQ("a  b c", HeaderFields("Subject: =?utf-8?q?a=0D=0Ab=00c=0A?=\r\n\r\n").fieldText("Subject"));
  EXPECT_EQ("a b", HeaderFields("Subject: a\rb\r\n\r\n").fieldText("Subject"));
  EXPECT_EQ("a b", HeaderFields(std::string_view("Subject: a\0b\r\n\r\n", 16)).fieldText("Subject"));
  EXPECT_EQ("a\tb", HeaderFields("Subject: a\tb\r\n\r\n").fieldText("Subject"));
}

}  // namespace
}  // namespace vornelle

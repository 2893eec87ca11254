#include "pages/row_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(RowText, OnlyACutTextCarriesTheWholeOfIt) {
  EXPECT_EQ(wholeTextAttribute("short", "short"), "");
  EXPECT_EQ(wholeTextAttribute("it's <b> &#1087; & more", "it's"),
            " title='it&#39;s &lt;b&gt; &#1087; &amp; more'");
}

TEST(RowText, AVeryLongTextEndsAt500Characters) {
  EXPECT_EQ(wholeTextAttribute(std::string(2000, 'x'), "x").size(), std::string(" title=''").size() + 500);
}

TEST(RowText, AnAddressBehindANameThatShowsAnotherOneIsTold) {
  for (const char* from :
       {"\"help@bank.example\" <eve@evil.example>", "help@bank.example <eve@evil.example>",
        "\"Bank (help@bank.example)\" <eve@evil.example>", "help&#65312;bank.example <eve@evil.example>",
        "\"<help@bank.example>\" <eve@evil.example>"}) {
    EXPECT_EQ(addressBehindName(from), "eve@evil.example") << from;
  }
}

TEST(RowText, ANameThatShowsNoOtherAddressHidesNothing) {
  for (const char* from :
       {"Eve <eve@evil.example>", "eve@evil.example", "\"eve@evil.example\" <EVE@evil.example>",
        "\"me @ home\" <eve@evil.example>", "Twitter @eve <eve@evil.example>", "", "help@bank.example"}) {
    EXPECT_EQ(addressBehindName(from), "") << from;
  }
}

}  // namespace
}  // namespace vornelle

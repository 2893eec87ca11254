#include "mail/mail_address.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

TEST(EnvelopeAddress, TheAddressIsCutOutOfTheField) {
  EXPECT_EQ("bob@x.example", envelopeAddress("bob@x.example"));
  EXPECT_EQ("bob@x.example", envelopeAddress("  bob@x.example  "));
  EXPECT_EQ("bob@x.example", envelopeAddress("Bob <bob@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("\"Bob\" <bob@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("\"Bob <no@x.example>\" <bob@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("\"Bob \\\" <no@x.example>\" <bob@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("bob@x.example (Bob <no@x.example> (nested) )"));
  EXPECT_EQ("bob@x.example", envelopeAddress("\xDC"
                                             "ber <bob@x.example>"));
}

// Encoded words bring such names: they are written without quotes.
TEST(EnvelopeAddress, AnOpenQuoteOrCommentInTheNameHidesNoAddress) {
  EXPECT_EQ("bob@x.example", envelopeAddress("Bob \"the builder <bob@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("Bob (home <bob@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("Bob < Ann <bob@x.example>"));
  EXPECT_EQ("", envelopeAddress("Bob \"the builder <bob@x.example"));
  EXPECT_EQ("", envelopeAddress("Bob \"the builder bob@x.example>"));
}

TEST(EnvelopeAddress, OfSeveralTheFirstCounts) {
  EXPECT_EQ("bob@x.example", envelopeAddress("bob@x.example, ann@x.example"));
  EXPECT_EQ("bob@x.example", envelopeAddress("Bob <bob@x.example>, Ann <ann@x.example>"));
  EXPECT_EQ("bob@x.example", envelopeAddress("Builder, Bob <bob@x.example>"));
}

TEST(EnvelopeAddress, ARouteIsDropped) {
  EXPECT_EQ("bob@x.example", envelopeAddress("<@relay.example,@other.example:bob@x.example>"));
}

TEST(EnvelopeAddress, AQuotedLocalPartStays) {
  EXPECT_EQ("\"bob b\"@x.example", envelopeAddress("<\"bob b\"@x.example>"));
  EXPECT_EQ("\"bob>b\"@x.example", envelopeAddress("<\"bob>b\"@x.example>"));
}

TEST(EnvelopeAddress, WhatCannotBeSentIsNobody) {
  for (const char* field :
       {"", "<>", "Bob", "<bob>", "Bob Builder", "<bob @x.example>", "<b\366b@x.example>", "@x.example",
        "bob@", "<bob@x.example\r\nRCPT TO:<eve@x.example>>", "<\"bob@x.example>", "\"", "(", "<", "\\"}) {
    EXPECT_EQ("", envelopeAddress(field)) << field;
  }
}

}  // namespace
}  // namespace vornelle

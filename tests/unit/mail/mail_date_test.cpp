#include "mail/mail_date.h"

#include <gtest/gtest.h>

#include <string>

namespace vornelle {
namespace {

constexpr std::int64_t kTime = 1794704100;  // 2026-11-15 00:55:00 UTC

TEST(MailDate, TheUsualFormIsRead) {
  EXPECT_EQ(kTime, parseMailDate("Sun, 15 Nov 2026 01:55:00 +0100"));
  EXPECT_EQ(kTime, parseMailDate("Sat, 14 Nov 2026 19:55:00 -0500"));
  EXPECT_EQ(kTime + 7, parseMailDate("Sun, 15 Nov 2026 06:25:07 +0530"));
}

TEST(MailDate, DayNameAndSecondsAreOptional) {
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 01:55:00 +0100"));
  EXPECT_EQ(kTime, parseMailDate("Sun, 15 Nov 2026 01:55 +0100"));
  EXPECT_EQ(kTime, parseMailDate("Sonntag, 15 Nov 2026 01:55 +0100"));
}

TEST(MailDate, CommentsAndFoldingAreBlanks) {
  EXPECT_EQ(kTime, parseMailDate("Sun, 15 Nov 2026\r\n 01:55:00 +0100 (CET)"));
  EXPECT_EQ(kTime, parseMailDate("Sun(day (nested)),15(x)Nov(y)2026 01:55:00(z)+0100"));
}

TEST(MailDate, ZonesMayHaveNames) {
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00 GMT"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00 UT"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00 Z"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 19:55:00 EST"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 20:55:00 EDT"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 18:55:00 CST"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 19:55:00 cdt"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 17:55:00 MST"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 18:55:00 MDT"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 16:55:00 PST"));
  EXPECT_EQ(kTime, parseMailDate("14 Nov 2026 17:55:00 PDT"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 01:55:00 CET"));
}

TEST(MailDate, AMissingOrUnknownZoneIsUtc) {
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00 -0000"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00 A"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 00:55:00 XYZT"));
}

TEST(MailDate, ZonesMayBeWrittenOddly) {
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 01:55:00 GMT+0100"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 01:55:00 +01:00"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 01:55:00 +1"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 2026 01:55:00 +100"));
}

TEST(MailDate, ShortYearsHaveTheCenturyOfTheStandard) {
  EXPECT_EQ(kTime, parseMailDate("15 Nov 26 00:55:00 +0000"));
  EXPECT_EQ(kTime, parseMailDate("15 Nov 126 00:55:00 +0000"));
  EXPECT_EQ(0, parseMailDate("1 Jan 70 00:00:00 +0000"));
  EXPECT_EQ(parseMailDate("1 Jan 2049 00:00:00 +0000"), parseMailDate("1 Jan 49 00:00:00 +0000"));
  EXPECT_EQ(parseMailDate("1 Jan 1950 00:00:00 +0000"), parseMailDate("1 Jan 50 00:00:00 +0000"));
}

TEST(MailDate, TheFormsOfOldProgramsAreRead) {
  EXPECT_EQ(kTime, parseMailDate("Sun Nov 15 00:55:00 2026"));
  EXPECT_EQ(kTime + 18000, parseMailDate("Sun Nov 15 00:55:00 EST 2026"));
  EXPECT_EQ(kTime, parseMailDate("Sunday, 15-Nov-26 00:55:00 GMT"));
}

TEST(MailDate, LeapDaysExistWhereTheyDo) {
  EXPECT_EQ(951782400, parseMailDate("29 Feb 2000 00:00:00 +0000"));
  EXPECT_EQ(1709164800, parseMailDate("29 Feb 2024 00:00:00 +0000"));
  EXPECT_EQ(std::nullopt, parseMailDate("29 Feb 2026 00:00:00 +0000"));
  EXPECT_EQ(std::nullopt, parseMailDate("29 Feb 2100 00:00:00 +0000"));
}

TEST(MailDate, TheFarPastAndFutureAreRead) {
  EXPECT_EQ(-2208988800, parseMailDate("1 Jan 1900 00:00:00 +0000"));
  EXPECT_EQ(253402300799, parseMailDate("31 Dec 9999 23:59:59 +0000"));
}

TEST(MailDate, ALeapSecondIsRead) {
  EXPECT_EQ(1483228800, parseMailDate("31 Dec 2016 23:59:60 +0000"));
}

TEST(MailDate, WhatIsNoTimeIsReported) {
  for (const char* text : {"",
                           " ",
                           "yesterday",
                           "Sun, 15 Nov 2026",
                           "01:55:00 +0100",
                           "15 Nov 2026 25:00:00 +0000",
                           "15 Nov 2026 01:60:00 +0000",
                           "15 Nov 2026 01:55:61 +0000",
                           "0 Nov 2026 01:55:00",
                           "31 Nov 2026 01:55:00",
                           "15 Nox 2026 01:55:00",
                           "15 Nov 2026 1:2:3:4",
                           "15 Nov 2026 01:55:00 +9999",
                           "15 Nov 2026 01:55:00 +123456",
                           "15 Nov 20261 01:55:00",
                           "2026-11-15T01:55:00Z",
                           "15 Nov 1 01:55:00",
                           "15 Nov 2026 01:55:00 16 +0000",
                           "31 Dec 1899 23:59:59 +0000",
                           "99999999999999999999"}) {
    EXPECT_EQ(std::nullopt, parseMailDate(text)) << text;
  }
}

TEST(MailDate, AnEndlessTextIsReported) {
  EXPECT_EQ(std::nullopt, parseMailDate(std::string(10U << 20, '(')));
  EXPECT_EQ(std::nullopt, parseMailDate(std::string(10U << 20, '1')));
}

}  // namespace
}  // namespace vornelle

#include "mail/pop3_series.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vornelle {
namespace {

class Pop3SeriesTest : public testing::Test {
 protected:
  // Messages 1 to `count` of that size.
  void expect(int count, std::int32_t size) {
    std::vector<Pop3Series::Expected> messages;
    for (int n = 1; n <= count; ++n) messages.push_back({n, size});
    series.expect(messages);
  }
  // How many messages the commands ask for.
  static int asked(const Pop3Series::Commands& commands) {
    int found = 0;
    for (std::size_t at = 0; (at = commands.text.find("RETR", at)) != std::string::npos; ++at) ++found;
    return found;
  }

  Pop3Series series;
};

TEST_F(Pop3SeriesTest, AMessageIsAskedForTogetherWithItsConfirmation) {
  expect(2, 100);
  const auto commands = series.nextCommands();
  EXPECT_EQ("RETR 1\r\nUIDL 1\r\nRETR 2\r\nUIDL 2\r\n", commands.text);
  EXPECT_EQ(4, commands.count);
}

TEST_F(Pop3SeriesTest, TheBytesUnderWayAreBounded) {
  expect(1000, 8192);
  EXPECT_EQ(Pop3Series::kWindow / 8192, asked(series.nextCommands()));
  EXPECT_EQ("", series.nextCommands().text);
}

TEST_F(Pop3SeriesTest, TheMessagesUnderWayAreBounded) {
  expect(1000, 0);
  EXPECT_EQ(static_cast<int>(Pop3Series::kMostMessages), asked(series.nextCommands()));
}

TEST_F(Pop3SeriesTest, TwoMessagesAreUnderWayHoweverLargeTheyAre) {
  expect(5, 100 << 20);
  EXPECT_EQ(2, asked(series.nextCommands()));
  series.answered();
  EXPECT_EQ(1, asked(series.nextCommands()));
}

TEST_F(Pop3SeriesTest, CommandsGoOutAgainWhenAQuarterIsAnswered) {
  expect(1000, 8192);
  const int first = asked(series.nextCommands());
  for (int n = 1; n < first / 4; ++n) {
    series.answered();
    ASSERT_EQ("", series.nextCommands().text) << n;
  }
  series.answered();
  EXPECT_EQ(first / 4, asked(series.nextCommands()));
}

TEST_F(Pop3SeriesTest, ADeletionGoesOutWithTheNextCommands) {
  expect(1000, 8192);
  const int first = asked(series.nextCommands());
  series.addDeletion(1);
  EXPECT_EQ("", series.nextCommands().text);
  for (int n = 0; n < first / 2; ++n) series.answered();
  EXPECT_TRUE(series.nextCommands().text.starts_with("DELE 1\r\nRETR "));
}

TEST_F(Pop3SeriesTest, ManyDeletionsGoOutByThemselves) {
  for (int n = 1; n < 64; ++n) series.addDeletion(n);
  EXPECT_EQ(0, series.nextCommands().count);
  series.addDeletion(64);
  EXPECT_EQ(64, series.nextCommands().count);
  EXPECT_FALSE(series.settled()) << "the answers are still to come";
}

TEST_F(Pop3SeriesTest, AnswersComeInTheOrderOfTheCommands) {
  expect(2, 100);
  static_cast<void>(series.nextCommands());
  series.addDeletion(7);
  static_cast<void>(series.lastCommands());
  EXPECT_EQ(1, series.awaited()->number);
  series.answered();
  EXPECT_EQ(2, series.awaited()->number);
  EXPECT_FALSE(series.awaited()->deletion);
  series.answered();
  EXPECT_EQ(7, series.awaited()->number);
  EXPECT_TRUE(series.awaited()->deletion);
  series.answered();
  EXPECT_FALSE(series.awaited());
  EXPECT_TRUE(series.settled());
}

TEST_F(Pop3SeriesTest, WhatStandsBeforeTheMessageAskedForIsPassedOver) {
  expect(1000, Pop3Series::kWindow / 2);
  static_cast<void>(series.nextCommands());
  EXPECT_TRUE(series.brings(2));
  EXPECT_TRUE(series.brings(900));
  EXPECT_FALSE(series.brings(1001));
  series.skipTo(900);
  EXPECT_FALSE(series.brings(899));
  EXPECT_TRUE(series.brings(2)) << "it is under way";
  series.skipTo(1);
  EXPECT_TRUE(series.brings(900));
}

}  // namespace
}  // namespace vornelle

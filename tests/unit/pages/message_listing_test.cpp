#include "pages/message_listing.h"

#include "tests/unit/support.h"

namespace vornelle {
namespace {

using MessageListingTest = SimTest;

constexpr std::int64_t kMorning = 1794741900;  // 2026-11-15 11:25:00

TEST_F(MessageListingTest, ADateIsMonthDayYearAndTheTwelveHourClock) {
  EXPECT_EQ(formatListedDate(kMorning), "11-15-2026 11:25AM");
  EXPECT_EQ(formatListedDate(kMorning + 2 * 3600), "11-15-2026 01:25PM");
}

TEST_F(MessageListingTest, NoonAndMidnightAreTwelve) {
  EXPECT_EQ(formatListedDate(kMorning + 3600), "11-15-2026 12:25PM");
  EXPECT_EQ(formatListedDate(kMorning - 11 * 3600), "11-15-2026 12:25AM");
}

TEST_F(MessageListingTest, TheDesignatorIsTheSystemsOwn) {
  sim::shell().amDesignator = "vorm.";
  sim::shell().pmDesignator = "nachm.";
  EXPECT_EQ(formatListedDate(kMorning), "11-15-2026 11:25vorm.");
  EXPECT_EQ(formatListedDate(kMorning + 3600), "11-15-2026 12:25nachm.");
}

TEST_F(MessageListingTest, AMessageWithoutDateHasNone) {
  EXPECT_EQ(formatListedDate(std::nullopt), "");
}

TEST_F(MessageListingTest, AListedMessageHoldsWhatThePageShows) {
  MailMessage message;
  message.from = "\"Bob\" <bob@example.com>";
  message.subject = "Hello";
  message.date = kMorning;
  message.size = 4711;
  MessageListing listing;
  listing.rows[3] = listedMessage("key", message);
  EXPECT_EQ(listing.field(3, &ListedMessage::key), "key");
  EXPECT_EQ(listing.field(3, &ListedMessage::from), "\"Bob\" <bob@example.com>");
  EXPECT_EQ(listing.dateText(3), "11-15-2026 11:25AM");
  EXPECT_EQ(listing.field(3, &ListedMessage::subject), "Hello");
  EXPECT_EQ(listing.sizeText(3), "4711");
}

TEST_F(MessageListingTest, ARowThatHasNeverBeenFilledHasEmptyTexts) {
  const MessageListing listing;
  EXPECT_EQ(listing.dateText(3), "");
  EXPECT_EQ(listing.sizeText(3), "");
}

TEST_F(MessageListingTest, AnIndexOutsideTheRoomIsNoRow) {
  MessageListing listing;
  listing.rows[0].key = "first";
  listing.rows[10000].key = "last";
  EXPECT_EQ(listing.field(0, &ListedMessage::key), "first");
  EXPECT_EQ(listing.field(10000, &ListedMessage::key), "last");
  EXPECT_EQ(listing.field(-1, &ListedMessage::key), std::nullopt);
  EXPECT_EQ(listing.field(10001, &ListedMessage::key), std::nullopt);
  EXPECT_EQ(listing.dateText(10001), std::nullopt);
  EXPECT_EQ(listing.sizeText(-1), std::nullopt);
}

}  // namespace
}  // namespace vornelle

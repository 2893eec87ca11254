#include "mail/dot_stuffed_text.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

constexpr std::size_t kNoLimit = 1U << 30;

struct TextOutcome {
  std::string text;
  std::size_t read = 0;  // bytes of the wire
  bool ended = false;
  bool tooLong = false;
  bool mayHaveEnded = false;
};

TextOutcome readInPieces(std::string_view wire, std::size_t piece, bool bareLineFeeds = false,
                         std::size_t limit = kNoLimit) {
  TextOutcome outcome;
  DotStuffedText text(bareLineFeeds, limit, [&](std::string_view taken) { outcome.text += taken; });
  while (outcome.read < wire.size() && !text.ended() && !text.tooLong()) {
    outcome.read += text.read(wire.substr(outcome.read, piece));
  }
  outcome.ended = text.ended();
  outcome.tooLong = text.tooLong();
  outcome.mayHaveEnded = text.mayHaveEnded();
  return outcome;
}

// However the bytes arrive.
void expectText(std::string_view expected, const std::string& wire, bool bareLineFeeds = false) {
  constexpr std::string_view kNext = "+OK next";
  const std::string all = wire + std::string(kNext);
  for (std::size_t piece = 1; piece <= all.size(); ++piece) {
    const TextOutcome outcome = readInPieces(all, piece, bareLineFeeds);
    EXPECT_EQ(outcome.text, expected) << piece;
    EXPECT_TRUE(outcome.ended) << piece;
    EXPECT_FALSE(outcome.mayHaveEnded) << piece;
    EXPECT_EQ(all.substr(outcome.read), kNext) << piece;
  }
}

TEST(DotStuffedText, EndsAtTheLineWithALoneDotAndReadsNothingBehindIt) {
  expectText("", ".\r\n");
  expectText("a\r\n", "a\r\n.\r\n");
  expectText("\r\n\r\n", "\r\n\r\n.\r\n");
}

TEST(DotStuffedText, OfTwoDotsAtALinesStartOneGoes) {
  expectText(".\r\n..\r\n.a\r\n", "..\r\n...\r\n..a\r\n.\r\n");
}

TEST(DotStuffedText, ADotThatIsNotStuffedStays) {
  expectText(".a\r\na.\r\n. \r\n", ".a\r\na.\r\n. \r\n.\r\n");
  expectText(".\ra\r\n", ".\ra\r\n.\r\n");
  expectText(".\r\r\n", ".\r\r\n.\r\n");
}

TEST(DotStuffedText, ALoneLineFeedOrCarriageReturnEndsNoLine) {
  expectText("a\n.\nb\r.\rc\n.\r\nd\r\n", "a\n.\nb\r.\rc\n.\r\nd\r\n.\r\n");
  expectText(".\n\r\n", ".\n\r\n.\r\n");
  expectText("a\r\r\n", "a\r\r\n.\r\n");
}

TEST(DotStuffedText, LineFeedsEndLinesWhereTheServersOwnLinesEndSo) {
  expectText("a\n.b\r\n", "a\n..b\r\n.\n", true);
  expectText("a\n", "a\n.\r\n", true);
  expectText(".\ra\n", ".\ra\n.\n", true);
}

TEST(DotStuffedText, ATextOfExactlyTheLimitIsTaken) {
  const TextOutcome outcome = readInPieces("abc\r\n.\r\n", 3, false, 5);
  EXPECT_EQ(outcome.text, "abc\r\n");
  EXPECT_TRUE(outcome.ended);
  EXPECT_FALSE(outcome.tooLong);
}

TEST(DotStuffedText, NoMoreThanTheLimitIsEverTaken) {
  const std::string wire = "abcd\r\nefgh\r\n.\r\n";
  for (std::size_t piece = 1; piece <= wire.size(); ++piece) {
    for (std::size_t limit = 0; limit < 12; ++limit) {
      const TextOutcome outcome = readInPieces(wire, piece, false, limit);
      EXPECT_TRUE(outcome.tooLong) << piece << " " << limit;
      EXPECT_LE(outcome.text.size(), limit);
      EXPECT_EQ(outcome.text, wire.substr(0, outcome.text.size()));
    }
  }
}

TEST(DotStuffedText, ADotAtALinesEndMayBeTheEndAndIsHeldBackUntilMoreComes) {
  for (std::size_t piece = 1; piece < 10; ++piece) {
    const TextOutcome outcome = readInPieces("see you.\r\n", piece);
    EXPECT_TRUE(outcome.mayHaveEnded);
    EXPECT_EQ(outcome.text, "see you");
    EXPECT_EQ(readInPieces("see you.\r\n!", piece).text, "see you.");
    EXPECT_FALSE(readInPieces("see you.\r\n!", piece).mayHaveEnded);
  }
  EXPECT_FALSE(readInPieces("see you.\r", 100).mayHaveEnded);
  EXPECT_FALSE(readInPieces("see you\r\n", 100).mayHaveEnded);
  EXPECT_FALSE(readInPieces("", 100).mayHaveEnded);
}

TEST(DotStuffedText, BehindItsEndNothingIsRead) {
  DotStuffedText text(false, kNoLimit, [](std::string_view) { FAIL() << "there is nothing to take"; });
  EXPECT_EQ(text.read(".\r\n.\r\n"), 3U);
  EXPECT_EQ(text.read("more"), 0U);
  EXPECT_TRUE(text.ended());
}

}  // namespace
}  // namespace vornelle

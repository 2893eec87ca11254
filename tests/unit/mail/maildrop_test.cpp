#include "mail/maildrop.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

Maildrop maildrop(const std::vector<std::string>& uidlLines) {
  Maildrop result;
  for (const char* line : {"1 10", "2 20", "3 30"}) EXPECT_TRUE(result.addListLine(line));
  for (const std::string& line : uidlLines) EXPECT_TRUE(result.addUidlLine(line));
  result.uidlComplete();
  return result;
}

TEST(Maildrop, AnIdThatOneMessageHasTellsIt) {
  const Maildrop drop = maildrop({"1 a", "2 b", "3 c"});
  EXPECT_EQ(2, drop.findToDelete("b")->number);
  ASSERT_NE(nullptr, drop.findToRead("b"));
  EXPECT_EQ(20, drop.findToRead("b")->size);
  EXPECT_EQ(nullptr, drop.findToDelete("x"));
  EXPECT_EQ(nullptr, drop.findToRead("x"));
}

TEST(Maildrop, UntilTheAnswerIsWholeNoMessageIsFound) {
  Maildrop drop;
  ASSERT_TRUE(drop.addListLine("1 10"));
  ASSERT_TRUE(drop.addUidlLine("1 a"));
  EXPECT_FALSE(drop.knowsUidls());
  EXPECT_EQ(nullptr, drop.findToRead("a"));
  EXPECT_EQ(nullptr, drop.findToDelete("a"));
}

TEST(Maildrop, ARepeatedIdReadsTheLastAndDeletesNone) {
  const Maildrop drop = maildrop({"1 a", "2 a", "3 c"});
  ASSERT_NE(nullptr, drop.findToRead("a"));
  EXPECT_EQ(2, drop.findToRead("a")->number);
  EXPECT_EQ(nullptr, drop.findToDelete("a"));
  EXPECT_EQ(3, drop.findToDelete("c")->number);
}

TEST(Maildrop, AMessageThatIsToBeKeptIsNotDeleted) {
  Maildrop drop = maildrop({"1 a"});
  drop.keep(1, true);
  EXPECT_EQ(nullptr, drop.findToDelete("a"));
  EXPECT_NE(nullptr, drop.findToRead("a"));
  drop.keep(1, false);
  EXPECT_EQ(1, drop.findToDelete("a")->number);
}

TEST(Maildrop, ADeletedMessageIsNotFoundAgain) {
  Maildrop drop = maildrop({"1 a"});
  drop.deleted(1);
  EXPECT_EQ(nullptr, drop.findToDelete("a"));
  EXPECT_EQ(nullptr, drop.findToRead("a"));
}

TEST(Maildrop, TheEmptyIdTellsNothing) {
  const Maildrop drop = maildrop({"1 ", "2"});
  EXPECT_EQ(nullptr, drop.findToRead(""));
  EXPECT_EQ(nullptr, drop.findToDelete(""));
}

TEST(Maildrop, AMillionMessagesAreTheMost) {
  Maildrop drop;
  for (std::size_t i = 1; i <= kMostMessages; ++i) ASSERT_TRUE(drop.addListLine(std::to_string(i) + " 1"));
  EXPECT_FALSE(drop.addListLine("1000001 1"));
}

TEST(Maildrop, IdsThatFillTheMemoryAreRefused) {
  Maildrop drop;
  const std::string id(65'000, 'u');
  bool taken = true;
  std::size_t bytes = 0;
  for (int i = 1; taken && i < 10'000; ++i, bytes += id.size()) taken = drop.addUidlLine("1 " + id);
  EXPECT_FALSE(taken);
  EXPECT_LT(bytes, std::size_t{140} << 20);
}

}  // namespace
}  // namespace vornelle

#include "platform/common/connecting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/common/done_in_time.h"
#include "platform/common/left_behind.h"
#include "platform/meanwhile.h"

namespace vornelle {
namespace {

using testing::ElementsAre;

struct Address {
  int name;
  const Address* ai_next;
};

const Address kThird{3, nullptr};
const Address kSecond{2, &kThird};
const Address kFirst{1, &kSecond};

TEST(ConnectingTest, AddressesAreTriedInTurnUntilOneAnswers) {
  std::vector<int> tried;
  const auto connected =
      connectInTurn(&kFirst, monotonicMilliseconds() + 1000, [&](const Address& address, std::int64_t) {
        tried.push_back(address.name);
        return address.name == 2 ? std::make_unique<int>(2) : nullptr;
      });
  ASSERT_TRUE(connected);
  EXPECT_EQ(*connected, 2);
  EXPECT_THAT(tried, ElementsAre(1, 2));
}

TEST(ConnectingTest, AnAddressThatDoesNotAnswerLeavesTheOthersTheirShareOfTheTime) {
  std::vector<int> tried;
  const std::int64_t start = monotonicMilliseconds();
  const auto connected = connectInTurn(&kFirst, start + 300, [&](const Address& address, std::int64_t until) {
    tried.push_back(address.name);
    while (monotonicMilliseconds() < until) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return std::unique_ptr<int>();
  });
  EXPECT_FALSE(connected);
  EXPECT_THAT(tried, ElementsAre(1, 2, 3));
  EXPECT_GE(monotonicMilliseconds() - start, 290);
  EXPECT_LT(monotonicMilliseconds() - start, 2000);
}

TEST(ConnectingTest, WhatARefusalLeavesOverGoesToTheOthers) {
  std::vector<std::int64_t> shares;
  const std::int64_t end = monotonicMilliseconds() + 60000;
  (void)connectInTurn(&kFirst, end, [&](const Address&, std::int64_t until) {
    shares.push_back(until - monotonicMilliseconds());
    return std::unique_ptr<int>();
  });
  ASSERT_EQ(shares.size(), 3u);
  EXPECT_NEAR(static_cast<double>(shares[0]), 20000, 1000);
  EXPECT_NEAR(static_cast<double>(shares[1]), 30000, 1000);
  EXPECT_NEAR(static_cast<double>(shares[2]), 60000, 1000);
}

TEST(ConnectingTest, WithoutAnAddressOrTimeThereIsNothing) {
  int tries = 0;
  const auto refuse = [&](const Address&, std::int64_t) {
    ++tries;
    return std::unique_ptr<int>();
  };
  EXPECT_FALSE(connectInTurn(static_cast<const Address*>(nullptr), 0, refuse));
  EXPECT_EQ(tries, 0);
  EXPECT_FALSE(connectInTurn(&kFirst, monotonicMilliseconds() - 1, refuse));
  EXPECT_EQ(tries, 1) << "one look without waiting, as for a server on this machine";
}

TEST(DoneInTimeTest, WorkThatTakesItsTimeIsLeftBehind) {
  const auto over = std::make_shared<std::atomic<bool>>(false);
  const std::int64_t start = monotonicMilliseconds();
  EXPECT_FALSE(doneInTime(
      [over] {
        while (!*over) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      },
      start + 100));
  EXPECT_GE(monotonicMilliseconds() - start, 95);
  EXPECT_LT(monotonicMilliseconds() - start, 3000);
  *over = true;
}

TEST(DoneInTimeTest, ItsWaitIsOneForAServer) {
  int told = 0, looks = 0;
  setBeforeBlocking([&told] { ++told; });
  setMeanwhile([&looks] { ++looks; });
  EXPECT_TRUE(doneInTime([] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); },
                         monotonicMilliseconds() + 60000));
  setBeforeBlocking(nullptr);
  setMeanwhile(nullptr);
  EXPECT_EQ(told, 1);
  EXPECT_GT(looks, 0);
}

TEST(DoneInTimeTest, WorkThatIsDoneIsNotWaitedFor) {
  const auto result = std::make_shared<int>(0);
  const std::int64_t start = monotonicMilliseconds();
  EXPECT_TRUE(doneInTime([result] { *result = 7; }, start + 60000));
  EXPECT_EQ(*result, 7);
  EXPECT_LT(monotonicMilliseconds() - start, 5000);
}

struct Request {
  bool done = false;
  [[nodiscard]] bool finished() const { return done; }
};

TEST(LeftBehindTest, ARequestIsKeptUntilTheSystemIsThroughWithIt) {
  LeftBehind<Request> leftBehind;
  const auto first = std::make_shared<Request>();
  leftBehind.keep(first);
  EXPECT_EQ(first.use_count(), 2);
  leftBehind.keep(std::make_shared<Request>());
  EXPECT_EQ(first.use_count(), 2);
  first->done = true;
  leftBehind.keep(std::make_shared<Request>());
  EXPECT_EQ(first.use_count(), 1);
}

}  // namespace
}  // namespace vornelle

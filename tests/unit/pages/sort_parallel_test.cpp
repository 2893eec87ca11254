#include "pages/sort_parallel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace vornelle {
namespace {

using testing::ElementsAre;

TEST(SortParallel, SortsTheKeysAndMovesTheSecondArrayAlong) {
  std::vector<int> keys = {5, 1, 4, 2, 3};
  std::vector<std::string> along = {"five", "one", "four", "two", "three"};
  sortParallel(keys, along);
  EXPECT_THAT(keys, ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(along, ElementsAre("one", "two", "three", "four", "five"));
}

TEST(SortParallel, AGivenLowBoundLeavesWhatIsBeforeIt) {
  std::vector<int> keys = {9, 3, 2, 1};
  std::vector<char> along = {'9', '3', '2', '1'};
  sortParallel(keys, along, 1);
  EXPECT_THAT(keys, ElementsAre(9, 1, 2, 3));
  EXPECT_THAT(along, ElementsAre('9', '1', '2', '3'));
}

TEST(SortParallel, AGivenHighBoundLeavesWhatIsBehindIt) {
  std::vector<int> keys = {3, 2, 1, 0};
  std::vector<char> along = {'3', '2', '1', '0'};
  sortParallel(keys, along, std::nullopt, 2);
  EXPECT_THAT(keys, ElementsAre(1, 2, 3, 0));
  EXPECT_THAT(along, ElementsAre('1', '2', '3', '0'));
}

TEST(SortParallel, NothingToSortChangesNothing) {
  std::vector<int> empty, none;
  sortParallel(empty, none);
  EXPECT_TRUE(empty.empty());
  std::vector<int> keys = {2, 1}, along = {20, 10};
  sortParallel(keys, along, 1, 1);
  sortParallel(keys, along, 1, 0);
  EXPECT_THAT(keys, ElementsAre(2, 1));
  EXPECT_THAT(along, ElementsAre(20, 10));
}

TEST(SortParallel, EqualKeysKeepTheirOwnPartners) {
  std::vector<int> keys = {2, 1, 2, 1, 2};
  std::vector<int> along = {20, 10, 21, 11, 22};
  sortParallel(keys, along);
  EXPECT_THAT(keys, ElementsAre(1, 1, 2, 2, 2));
  EXPECT_THAT((std::vector<int>{along[0], along[1]}), testing::UnorderedElementsAre(10, 11));
  EXPECT_THAT((std::vector<int>{along[2], along[3], along[4]}), testing::UnorderedElementsAre(20, 21, 22));
}

TEST(SortParallel, SortsAFullListingInEveryStartingOrder) {
  for (const int step : {1, 10000, 7919, 0}) {  // ascending, descending, mixed, all equal
    std::vector<long> keys, along;
    for (long i = 0; i <= 10000; i++) {
      keys.push_back(i * step % 10001);
      along.push_back(keys.back() * 3);
    }
    sortParallel(keys, along);
    for (std::size_t i = 0; i < keys.size(); i++) {
      ASSERT_EQ(along[i], keys[i] * 3);
      if (i > 0) {
        ASSERT_LE(keys[i - 1], keys[i]);
      }
    }
  }
}

}  // namespace
}  // namespace vornelle

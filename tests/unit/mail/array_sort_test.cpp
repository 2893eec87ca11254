#include "mail/array_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace vornelle {
namespace {

using Values = std::vector<std::string>;

Values numbered(int count) {
  Values values;
  for (int n = 0; n < count; ++n) {
    const std::string digits = std::to_string(n);
    values.push_back("user" + std::string(6 - digits.size(), '0') + digits + "@example.org");
  }
  return values;
}

TEST(ArraySort, SortsAscendingByCharacterCode) {
  Values values = {"b", "B", "a", "@x", " z", "", "ab", "a"};
  ArraySort::quicksort(values);
  EXPECT_EQ(values, (Values{"", " z", "@x", "B", "a", "a", "ab", "b"}));
}

TEST(ArraySort, LettersAboveAsciiSortAfterAsciiLetters) {
  Values values = {"\xE4", "z", "\xFC", "a"};
  ArraySort::quicksort(values);
  EXPECT_EQ(values, (Values{"a", "z", "\xE4", "\xFC"}));
}

TEST(ArraySort, MinusTwoMeansTheArraysOwnBound) {
  const Values unsorted = {"d", "c", "b", "a"};
  Values values = unsorted;
  ArraySort::quicksort(values, -2, 1);
  EXPECT_EQ(values, (Values{"c", "d", "b", "a"}));
  values = unsorted;
  ArraySort::quicksort(values, 2, -2);
  EXPECT_EQ(values, (Values{"d", "c", "a", "b"}));
  values = unsorted;
  ArraySort::quicksort(values, -2, -2);
  EXPECT_EQ(values, (Values{"a", "b", "c", "d"}));
}

TEST(ArraySort, OnlyTheElementsBetweenTheBoundsMove) {
  Values values = {"z", "d", "c", "b", "a"};
  ArraySort::quicksort(values, 1, 3);
  EXPECT_EQ(values, (Values{"z", "b", "c", "d", "a"}));
}

TEST(ArraySort, BoundsOutsideTheArrayAreItsOwn) {
  Values values = {"b", "a"};
  ArraySort::quicksort(values, -7, 99);
  EXPECT_EQ(values, (Values{"a", "b"}));
}

TEST(ArraySort, AnEmptyArrayAndASingleElementStay) {
  Values values;
  ArraySort::quicksort(values);
  EXPECT_TRUE(values.empty());
  values = {"a"};
  ArraySort::quicksort(values);
  EXPECT_EQ(values, Values{"a"});
}

TEST(ArraySort, RandomListsComeOutAsTheStandardSortLeavesThem) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    Values values(random() % 60);
    for (std::string& value : values) {
      for (auto length = random() % 4; length > 0; --length) value += static_cast<char>(random() % 256);
    }
    Values expected = values;
    std::sort(expected.begin(), expected.end());
    ArraySort::quicksort(values);
    ASSERT_EQ(values, expected);
  }
}

// With a pivot at the edge, or with equal elements passed over, each of these would take 200 million
// comparisons.
TEST(ArraySort, LongSortedReversedAndEqualListsAreSorted) {
  const Values sorted = numbered(20001);
  Values values = sorted;
  ArraySort::quicksort(values);
  EXPECT_EQ(values, sorted);

  std::reverse(values.begin(), values.end());
  ArraySort::quicksort(values);
  EXPECT_EQ(values, sorted);

  Values equal(20001, "same@example.org");
  ArraySort::quicksort(equal);
  EXPECT_EQ(equal, Values(20001, "same@example.org"));
}

// Elements arranged so that every pivot is the smallest of its part: the parts are as uneven as they can be.
TEST(ArraySort, AListOfTheWorstOrderIsSortedWithoutDeepCalls) {
  constexpr int kCount = 6000;
  std::vector<int> order(kCount);
  for (int n = 0; n < kCount; ++n) order[n] = n;
  std::vector<int> rank(kCount);
  for (int low = 0; low < kCount; ++low) {
    const int middle = (low + kCount - 1) / 2;
    rank[order[middle]] = low;
    std::swap(order[low], order[middle]);
  }
  const Values sorted = numbered(kCount);
  Values values(kCount);
  for (int n = 0; n < kCount; ++n) values[n] = sorted[rank[n]];
  ArraySort::quicksort(values);
  EXPECT_EQ(values, sorted);
}

}  // namespace
}  // namespace vornelle

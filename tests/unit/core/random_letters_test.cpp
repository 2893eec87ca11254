#include "core/random_letters.h"

#include <array>

#include "tests/unit/support.h"

namespace vornelle {
namespace {

using RandomLetters = SimTest;

TEST_F(RandomLetters, AreAsManyCapitalsAsAskedFor) {
  for (const int count : {0, 1, 64, 65, 1000}) {
    const std::string letters = randomLetters(count);
    EXPECT_EQ(letters.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(letters.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), std::string::npos);
  }
}

TEST_F(RandomLetters, EveryLetterComesEquallyOften) {
  constexpr int kDraws = 260000;
  std::array<int, 26> counts{};
  for (const char letter : randomLetters(kDraws)) ++counts[static_cast<std::size_t>(letter - 'A')];
  // 10000 each; the standard deviation is 98. A plain remainder of a byte would give A to V 10156 and W to Z
  // 9140.
  for (const int count : counts) EXPECT_NEAR(count, 10000, 500);
}

TEST_F(RandomLetters, TheSameSeedGivesOtherLettersWhenTheSystemGivesOtherNumbers) {
  seedRandomLetters(1);
  sim::setRandomSeed(1);
  const std::string first = randomLetters(64);
  seedRandomLetters(1);
  sim::setRandomSeed(2);
  EXPECT_NE(randomLetters(64), first);
}

TEST_F(RandomLetters, TheSeedIsMixedIn) {
  seedRandomLetters(1);
  sim::setRandomSeed(1);
  const std::string first = randomLetters(64);
  seedRandomLetters(2);
  sim::setRandomSeed(1);
  EXPECT_NE(randomLetters(64), first);
  seedRandomLetters(1);
  sim::setRandomSeed(1);
  EXPECT_EQ(randomLetters(64), first);
}

}  // namespace
}  // namespace vornelle

#include "core/random_letters.h"

#include <random>

#include "base/module_state.h"
#include "platform/random.h"

namespace vornelle {
namespace {

constexpr int kLetters = 26;
// Bytes from here on are thrown away: 26 does not divide 256, and the first letters would come too often.
constexpr int kUsableBytes = 256 / kLetters * kLetters;

std::mt19937_64 generator;
const ModuleState generatorState([] { generator = {}; });

}  // namespace

void seedRandomLetters(std::uint64_t seed) {
  generator.seed(seed);
}

std::string randomLetters(int count) {
  std::string letters;
  while (static_cast<int>(letters.size()) < count) {
    unsigned char bytes[64];
    if (!fillRandom(bytes, sizeof bytes)) return "";
    for (const unsigned char byte : bytes) {
      // The system's numbers are uniform and secret, so what is mixed in can neither bend nor weaken them.
      const int mixed = byte ^ static_cast<int>(generator() & 0xFF);
      if (mixed < kUsableBytes && static_cast<int>(letters.size()) < count) {
        letters += static_cast<char>('A' + mixed % kLetters);
      }
    }
  }
  return letters;
}

}  // namespace vornelle

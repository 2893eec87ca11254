// A fixed sequence of numbers in place of random ones.
#include "platform/random.h"

#include "platform/sim/world.h"

namespace vornelle {

void sim::setRandomSeed(std::uint64_t seed) {
  world().random = seed;
}

bool fillRandom(void* buffer, std::size_t size) {
  auto* const bytes = static_cast<unsigned char*>(buffer);
  for (std::size_t i = 0; i < size; ++i) {
    // splitmix64
    std::uint64_t z = sim::world().random += 0x9e3779b97f4a7c15;
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
    z = (z ^ z >> 27) * 0x94d049bb133111eb;
    bytes[i] = static_cast<unsigned char>((z ^ z >> 31) & 0xFF);
  }
  return true;
}

}  // namespace vornelle

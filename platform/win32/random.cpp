#include "platform/random.h"

#include <windows.h>
// After windows.h.
#include <bcrypt.h>

namespace vornelle {

bool fillRandom(void* buffer, std::size_t size) {
  return BCryptGenRandom(nullptr, static_cast<PUCHAR>(buffer), static_cast<ULONG>(size),
                         BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
}

}  // namespace vornelle

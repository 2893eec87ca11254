#include "platform/charset.h"

#include "platform/sim/sim.h"

namespace vornelle {

std::string localCharset() {
  return sim::shell().localCharset;
}

}  // namespace vornelle

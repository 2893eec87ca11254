#include "platform/modPopup.h"

#include "platform/sim/sim.h"

namespace vornelle {

bool notifyIconAdd(const std::string& tip) {
  ++sim::shell().iconAdds;
  sim::shell().iconShown = true;
  sim::shell().iconTips.push_back(tip);
  return true;
}

bool notifyIconModifyTip(const std::string& tip) {
  sim::shell().iconTips.push_back(tip);
  return sim::shell().iconShown;
}

bool notifyIconDelete() {
  ++sim::shell().iconDeletes;
  const bool wasShown = sim::shell().iconShown;
  sim::shell().iconShown = false;
  return wasShown;
}

}  // namespace vornelle

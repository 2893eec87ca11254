#include "platform/modPopup.h"

namespace vornelle {

bool notifyIconAdd(const std::string& /*tip*/) {
  return false;
}
bool notifyIconModifyTip(const std::string& /*tip*/) {
  return false;
}
bool notifyIconDelete() {
  return false;
}

}  // namespace vornelle

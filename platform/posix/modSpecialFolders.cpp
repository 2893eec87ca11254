#include "platform/modSpecialFolders.h"

namespace vornelle {

std::string getSpecialFolder(int /*folderId*/) {
  return "";
}
bool createStartupLink(const std::string& /*linkName*/, const std::string& /*targetPath*/) {
  return false;
}

}  // namespace vornelle

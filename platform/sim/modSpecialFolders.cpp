#include "platform/modSpecialFolders.h"

#include "platform/files.h"
#include "platform/sim/sim.h"

namespace vornelle {

std::string getSpecialFolder(int folderId) {
  std::string folder = folderId == kStartupFolder ? sim::shell().startupFolder : "";
  if (!folder.empty() && folder.back() != '\\') folder += '\\';
  return folder;
}

bool createStartupLink(const std::string& linkName, const std::string& targetPath) {
  const std::string folder = getSpecialFolder(kStartupFolder);
  if (folder.empty()) return false;
  sim::shell().links.emplace_back(linkName, targetPath);
  return createFolder(folder) && writeFile(folder + linkName + ".lnk", targetPath);
}

}  // namespace vornelle

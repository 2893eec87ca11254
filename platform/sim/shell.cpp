// The in-memory shell.
#include "platform/shell.h"

#include "platform/files.h"
#include "platform/sim/world.h"

namespace vornelle {

sim::Shell& sim::shell() {
  return world().shell;
}

void beep() {
  ++sim::shell().beeps;
}

void messageBox(const std::string& text, MessageIcon icon) {
  sim::shell().messageBoxes.push_back(text);
  sim::shell().messageIcons.push_back(icon);
  const std::function<void(const std::string&)> whileOpen = sim::shell().onMessageBox;
  if (whileOpen) whileOpen(text);
}

bool previousInstanceRunning() {
  return sim::shell().previousInstance;
}

void endProcess() {
  throw sim::ProcessEnded();
}

std::string getSpecialFolderPath(int folderId) {
  constexpr int kStartupFolder = 7;
  std::string folder = folderId == kStartupFolder ? sim::shell().startupFolder : "";
  if (!folder.empty() && folder.back() != '\\') folder += '\\';
  return folder;
}

bool createStartupLink(const std::string& linkName, const std::string& targetPath) {
  const std::string folder = getSpecialFolderPath(7);
  if (folder.empty()) return false;
  sim::shell().links.emplace_back(linkName, targetPath);
  return createFolder(folder) && writeFile(folder + linkName + ".lnk", targetPath);
}

bool openInBrowser(const std::string& address) {
  sim::shell().openedAddresses.push_back(address);
  return sim::shell().launchesBrowser;
}

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

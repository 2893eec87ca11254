// The in-memory shell.
#include "platform/shell.h"

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

bool openInBrowser(const std::string& address) {
  sim::shell().openedAddresses.push_back(address);
  return sim::shell().launchesBrowser;
}

}  // namespace vornelle

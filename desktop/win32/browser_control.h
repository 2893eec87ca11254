// The system's web browser control in a window of the program, showing one text of the program's own.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

namespace vornelle::win32 {

class BrowserControl {
 public:
  // Makes the control in that place of the parent and sends it to a blank document; when that has loaded, the
  // HTML text is written into it. A link that is chosen goes to `openLink`; nothing else is ever loaded. Null
  // where the system has no such control.
  [[nodiscard]] static std::unique_ptr<BrowserControl> create(
      HWND parent, const RECT& place, const std::string& html,
      std::function<void(const std::string&)> openLink);
  ~BrowserControl();
  BrowserControl(const BrowserControl&) = delete;
  BrowserControl& operator=(const BrowserControl&) = delete;

  [[nodiscard]] bool showsText() const;  // the text has been written into the document

 private:
  class Host;
  explicit BrowserControl(Host* host) : host_(host) {}
  Host* host_;
};

}  // namespace vornelle::win32

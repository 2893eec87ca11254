// The controls of the main window: made, laid out and drawn in the system's font at any resolution.
#pragma once

#include <windows.h>

namespace vornelle::win32 {

class MainControls {
 public:
  // Makes them, in the order of the Tab key.
  void create(HWND window);
  // A new resolution of the screen, or a new font of the system's.
  void updateFont();
  // The log box takes all the room that the others leave.
  void layOut() const;
  // The smallest size of the whole window in which everything can be seen.
  [[nodiscard]] SIZE minimumSize() const;

  [[nodiscard]] HWND logBox() const;

 private:
  struct Measures {
    int margin, gap, rowHeight, buttonWidth, firstCheckWidth, secondCheckWidth, labelHeight;
  };
  [[nodiscard]] Measures measure() const;
  [[nodiscard]] HWND control(int id) const { return GetDlgItem(window_, id); }

  HWND window_ = nullptr;
  HFONT font_ = nullptr;
};

}  // namespace vornelle::win32

// Keyboard navigation of the program's windows: Tab and the arrow keys, Enter and Escape in dialogs, and
// access keys. Access keys are accelerators and no "&" in a caption, so that captions read everywhere as they
// are shown.
#pragma once

#include <windows.h>

namespace vornelle::win32 {

// The window's access keys, from the accelerator table with that resource number. A key arrives as WM_COMMAND
// of the control or menu entry with this notification code.
inline constexpr int kFromAccelerator = 1;
void setAccessKeys(HWND window, int acceleratorTable);
void setAccessKeys(HWND window, HACCEL table);
void forgetAccessKeys(HWND window);

// Takes the message when it is a key that navigates. Every message passes here before it is dispatched.
[[nodiscard]] bool keyboardMessage(MSG& message);

// What an access key does to a control: a button is clicked, anything else gets the focus.
void useAccessKey(HWND window, int control);

}  // namespace vornelle::win32

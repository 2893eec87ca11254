// The event loop of the Windows platform. Everything arrives as a message: socket events and posted work at a
// hidden window, ticks as its timer messages. Message boxes, menus and modal dialogs run message loops of
// their own and so go on serving all of it.
#pragma once

#include <winsock2.h>
// After winsock2.h.
#include <windows.h>

namespace vornelle::win32 {

// The hidden window; made by the first call.
[[nodiscard]] HWND eventWindow();

// Messages that the hidden window gets. Socket messages take a range, so that a late message of a socket that
// is closed is not taken for one of a new socket with the same handle.
inline constexpr UINT kServeSockets = WM_APP;
inline constexpr UINT kFirstSocketMessage = WM_APP + 0x100;
inline constexpr UINT kLastSocketMessage = 0xBFFF;

// Has the sockets' events served, as a message, after those that are already waiting.
void wakeSockets();

// Shown every message before it is dispatched, in doEvents() and waitEvents(); true takes it away. A window
// with keyboard navigation handles its keys here.
using MessageFilter = bool (*)(MSG& message);
void setMessageFilter(MessageFilter filter);

// Implemented beside the sockets.
void socketMessage(UINT message, int event, int error);

}  // namespace vornelle::win32

#include "platform/events.h"

#include <cstdint>
#include <map>

#include "platform/common/blocking.h"
#include "platform/common/socket_events.h"
#include "platform/meanwhile.h"
#include "platform/win32/event_loop.h"

namespace vornelle {
namespace {

struct State {
  HWND window = nullptr;
  win32::MessageFilter filter = nullptr;
  bool wakePosted = false;
  int socketEventsInARow = 0;
  std::uint64_t served = 0;  // events and messages of windows; not the messages that only say "look again"
  std::map<UINT_PTR, Timer*> timers;
  UINT_PTR lastTimerId = 0;
};

// Never destroyed: static timers outlive this file's statics.
State& state() {
  static State* const instance = new State;
  return *instance;
}

void serveTick(UINT_PTR id) {
  const auto found = state().timers.find(id);
  if (found == state().timers.end()) return;  // stopped while the message was on its way
  ++state().served;
  // A copy: the handler may replace itself or destroy its timer.
  const std::function<void()> handler = found->second->onTick;
  win32::wakeSockets();  // for what the handler does to sockets while a message box runs the loop
  if (handler) handler();
}

// Timer messages come only when nothing else is waiting. A stream of socket events must not hold them up for
// long.
void serveDueTick() {
  MSG message;
  if (PeekMessageW(&message, state().window, WM_TIMER, WM_TIMER, PM_REMOVE)) DispatchMessageW(&message);
}

void serveSockets() {
  State& loop = state();
  loop.wakePosted = false;
  if (loop.socketEventsInARow >= loop::kSocketEventsBeforeTick) {
    loop.socketEventsInARow = 0;
    serveDueTick();
  }
  ++loop.socketEventsInARow;
  if (loop::serveSocketEvent()) {
    ++loop.served;
    win32::wakeSockets();
  } else {
    loop.socketEventsInARow = 0;
  }
}

LRESULT CALLBACK eventWindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER) {
    serveTick(wParam);
    return 0;
  }
  if (message == win32::kServeSockets) {
    serveSockets();
    return 0;
  }
  if (message >= win32::kFirstSocketMessage && message <= win32::kLastSocketMessage) {
    win32::socketMessage(message, WSAGETSELECTEVENT(lParam), WSAGETSELECTERROR(lParam));
    win32::wakeSockets();
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

HWND makeEventWindow() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = eventWindowProcedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.lpszClassName = L"VornelleEvents";
  RegisterClassExW(&windowClass);
  return CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                         windowClass.hInstance, nullptr);
}

void dispatch(MSG& message) {
  if (message.hwnd != state().window) ++state().served;
  if (state().filter && state().filter(message)) return;
  TranslateMessage(&message);
  DispatchMessageW(&message);
}

}  // namespace

namespace win32 {

HWND eventWindow() {
  if (!state().window) state().window = makeEventWindow();
  return state().window;
}

void wakeSockets() {
  if (state().wakePosted) return;
  state().wakePosted = PostMessageW(eventWindow(), kServeSockets, 0, 0) != FALSE;
}

void setMessageFilter(MessageFilter filter) {
  state().filter = filter;
}

}  // namespace win32

namespace loop {

// Nothing but the sockets' own messages is taken from the queue.
void collectSocketEvents() {
  MSG message;
  while (PeekMessageW(&message, win32::eventWindow(), win32::kFirstSocketMessage, win32::kLastSocketMessage,
                      PM_REMOVE | PM_QS_POSTMESSAGE)) {
    DispatchMessageW(&message);
  }
}

}  // namespace loop

void doEvents() {
  if (waitingForServer()) return serveMeanwhile();
  win32::wakeSockets();
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) dispatch(message);
}

void waitEvents() {
  const std::uint64_t before = state().served;
  while (state().served == before) {
    // What a handler did to a socket may have made an event that no message tells of.
    if (loop::serveSocketEvent()) break;
    MSG message;
    if (GetMessageW(&message, nullptr, 0, 0) <= 0) break;
    dispatch(message);
  }
  doEvents();
}

// Windows tells the main window itself.
void setTerminationHandler(std::function<void()>) {}  // NOLINT(performance-unnecessary-value-param)

Timer::Timer(int intervalMilliseconds, bool enabled) : interval_(intervalMilliseconds), enabled_(enabled) {
  restart();
}

Timer::~Timer() {
  enabled_ = false;
  restart();
}

// Every period gets an id of its own: a tick that is on its way when the timer is stopped or started again is
// not taken for one of the new period.
void Timer::restart() {
  State& loop = state();
  for (auto entry = loop.timers.begin(); entry != loop.timers.end(); ++entry) {
    if (entry->second != this) continue;
    KillTimer(loop.window, entry->first);
    loop.timers.erase(entry);
    break;
  }
  if (!enabled_ || interval_ <= 0) return;
  const UINT_PTR id = ++loop.lastTimerId;
  SetTimer(win32::eventWindow(), id, static_cast<UINT>(interval_), nullptr);
  loop.timers.emplace(id, this);
}

}  // namespace vornelle

// The least Windows program with a window: what the program's start is measured against.
#include <windows.h>

int WINAPI WinMain(HINSTANCE program, HINSTANCE, LPSTR, int) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = DefWindowProcW;
  windowClass.hInstance = program;
  windowClass.lpszClassName = L"VornelleBare";
  RegisterClassW(&windowClass);
  CreateWindowW(L"VornelleBare", L"Bare", WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT, CW_USEDEFAULT, 300,
                200, nullptr, nullptr, program, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  return 0;
}

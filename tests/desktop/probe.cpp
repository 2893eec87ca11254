// Looks at the windows of other programs for the desktop tests. Reads one command a line from standard input
// and answers each with one line of JSON:
//
//   windows          every visible top-level window with its controls
//   look             as little of each main window and message box as tells whether there is something new
//   text HANDLE      the whole text of a window
//   topline HANDLE   the number of the first line in sight in an edit box
//   tips PID         the tool tips of a process: [{"window": HANDLE, "text": "..."}]
//   icontips         the tool tips of the notification area's icons
//   menu HANDLE FILE the entries of a window's menu bar, whose resource is in that program, with their places
//   close HANDLE     asks the window to close, as its close button does
//   end PID          ends a process at once, with nothing saved
//   maximize HANDLE  asks the window to maximise, as its menu does
//   press HANDLE     presses a button
//   taskbar          what a task bar tells all windows when it has been started
//   link PATH        the target of a shell link
//   version PATH     version information of a program file
//
// Started with two arguments it is the test's web browser: it writes its working folder and the second
// argument, the address, into the file that the first one names.
#include <windows.h>
// After windows.h.
#include <commctrl.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::string utf8(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  std::string result(static_cast<std::size_t>(
                         WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr)),
                     '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, result.data(), static_cast<int>(result.size()),
                      nullptr, nullptr);
  return result;
}

std::wstring wide(const std::string& text) {
  const int length = static_cast<int>(text.size());
  std::wstring result(
      static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), length, result.data(), static_cast<int>(result.size()));
  return result;
}

std::string quoted(const std::wstring& text) {
  std::string result = "\"";
  for (const char c : utf8(text)) {
    if (c == '"' || c == '\\') {
      (result += '\\') += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", c);
      result += escape;
    } else {
      result += c;
    }
  }
  return result + "\"";
}

std::string number(long long value) {
  return std::to_string(value);
}
std::string handleNumber(HWND window) {
  return number(static_cast<long long>(reinterpret_cast<std::intptr_t>(window)));
}
HWND handleOf(const std::string& text) {
  return reinterpret_cast<HWND>(static_cast<std::intptr_t>(std::stoll(text)));
}
std::string boolean(bool value) {
  return value ? "true" : "false";
}

std::string rectangle(const RECT& place) {
  return "[" + number(place.left) + "," + number(place.top) + "," + number(place.right) + "," +
         number(place.bottom) + "]";
}

constexpr DWORD_PTR kLongestText = 1 << 25;  // the answer of a window that is being destroyed can be anything
constexpr UINT kLongestWait = 5000;          // milliseconds
constexpr UINT kLongestLook = 1000;          // milliseconds, for one of many windows
constexpr wchar_t kNoAnswer[] = L"<no answer>";

// The window's answer; nothing when it does not come in time.
std::optional<DWORD_PTR> answerOf(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0,
                                  UINT milliseconds = kLongestWait) {
  DWORD_PTR answer = 0;
  if (!SendMessageTimeoutW(window, message, wParam, lParam, SMTO_ABORTIFHUNG, milliseconds, &answer))
    return {};
  return answer;
}

// Asked of the window itself: what another process holds as a caption is not the text of an edit box.
std::wstring textOf(HWND window, DWORD_PTR most = kLongestText) {
  const std::optional<DWORD_PTR> length = answerOf(window, WM_GETTEXTLENGTH);
  if (!length || *length > kLongestText) return kNoAnswer;
  std::wstring text(std::min(*length, most) + 1, L'\0');
  const std::optional<DWORD_PTR> got =
      answerOf(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  if (!got) return kNoAnswer;
  text.resize(std::min<std::size_t>(*got, text.size() - 1));
  return text;
}

std::wstring classOf(HWND window) {
  wchar_t name[256] = {};
  GetClassNameW(window, name, 256);
  return name;
}

DWORD processOf(HWND window);

std::wstring programOf(HWND window) {
  wchar_t path[1024] = {};
  DWORD size = 1024;
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processOf(window));
  if (!process || !QueryFullProcessImageNameW(process, 0, path, &size)) size = 0;
  if (process) CloseHandle(process);
  return {path, size};
}

DWORD processOf(HWND window) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  return process;
}

HWND focusOf(HWND window) {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  return GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info) ? info.hwndFocus : nullptr;
}

// One that waits for its mail server answers nothing, and must not hold up the look at all others.
bool answers(HWND window) {
  return answerOf(window, WM_NULL, 0, 0, kLongestLook).has_value();
}

// silent: it is asked nothing.
std::string describe(HWND window, bool withChildren, bool silent) {
  RECT place;
  GetWindowRect(window, &place);
  const std::wstring className = classOf(window);
  const auto style = GetWindowLongPtrW(window, GWL_STYLE);
  const std::wstring text = silent ? kNoAnswer : textOf(window, 400);  // a log box can hold megabytes
  std::string result = "{\"handle\":" + handleNumber(window) + ",\"class\":" + quoted(className) +
                       ",\"text\":" + quoted(text) + ",\"id\":" + number(GetDlgCtrlID(window)) +
                       ",\"style\":" + number(style) + ",\"visible\":" + boolean(IsWindowVisible(window)) +
                       ",\"enabled\":" + boolean(IsWindowEnabled(window)) +
                       ",\"iconic\":" + boolean(IsIconic(window)) +
                       ",\"focused\":" + boolean(focusOf(window) == window) + ",\"rect\":" + rectangle(place);
  if (className == L"Edit" && !silent) {
    result += ",\"length\":" + number(static_cast<long long>(answerOf(window, WM_GETTEXTLENGTH).value_or(0)));
  }
  if (className == L"Button" && !silent) {
    result += ",\"checked\":" + boolean(answerOf(window, BM_GETCHECK) == BST_CHECKED);
  }
  if (withChildren) {
    result += ",\"program\":" + quoted(programOf(window)) + ",\"pid\":" + number(processOf(window)) +
              ",\"foreground\":" + boolean(GetForegroundWindow() == window) +
              ",\"owner\":" + handleNumber(GetWindow(window, GW_OWNER)) +
              ",\"dpi\":" + number(GetDpiForWindow(window)) + ",\"children\":[";
    bool first = true;
    for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      if (!first) result += ",";
      first = false;
      result += describe(child, false, silent);
    }
    result += "]";
  }
  return result + "}";
}

// The handle of the log box and how much it holds (-1: no answer), or what a message box says and its button.
std::string look() {
  std::vector<HWND> found;
  EnumWindows(
      [](HWND window, LPARAM list) -> BOOL {
        const std::wstring name = classOf(window);
        if (name == L"VornelleForm1" || (name == L"#32770" && IsWindowVisible(window)))
          reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  std::string result = "[";
  for (const HWND window : found) {
    constexpr int kLogBox = 107;
    const std::wstring className = classOf(window);
    result += (result.size() > 1 ? ",{" : "{");
    result += "\"handle\":" + handleNumber(window) + ",\"class\":" + quoted(className) +
              ",\"program\":" + quoted(programOf(window)) + ",\"pid\":" + number(processOf(window));
    if (className == L"VornelleForm1") {
      const HWND box = GetDlgItem(window, kLogBox);
      const std::optional<DWORD_PTR> length = answerOf(box, WM_GETTEXTLENGTH, 0, 0, kLongestLook);
      result += ",\"box\":" + handleNumber(box) +
                ",\"length\":" + number(length ? static_cast<long long>(*length) : -1);
    } else if (answers(window)) {
      std::wstring said;
      HWND button = nullptr;
      for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        const std::wstring kind = classOf(child);
        if (kind == L"Static") said += textOf(child, 400);
        if (kind == L"Button" && !button) button = child;
      }
      result += ",\"said\":" + quoted(said) + ",\"button\":" + handleNumber(button);
    }
    result += "}";
  }
  return result + "]";
}

std::string windows() {
  std::vector<HWND> found;
  EnumWindows(
      [](HWND window, LPARAM list) -> BOOL {
        const std::wstring name = classOf(window);
        const bool ours =
            name == L"VornelleForm1" || name == L"VornelleBare";  // looked at even while it is hidden
        if ((IsWindowVisible(window) && GetWindow(window, GW_CHILD)) || ours || name == L"tooltips_class32") {
          if (ours || IsWindowVisible(window)) reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  std::string result = "[";
  for (const HWND window : found)
    result += (result.size() > 1 ? "," : "") + describe(window, true, !answers(window));
  return result + "]";
}

// The tool tip control works with pointers of its own process.
class RemoteMemory {
 public:
  RemoteMemory(DWORD process, std::size_t size)
      : process_(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process)),
        memory_(process_ ? VirtualAllocEx(process_, nullptr, size, MEM_COMMIT, PAGE_READWRITE) : nullptr) {}
  ~RemoteMemory() {
    if (memory_) VirtualFreeEx(process_, memory_, 0, MEM_RELEASE);
    if (process_) CloseHandle(process_);
  }
  RemoteMemory(const RemoteMemory&) = delete;
  RemoteMemory& operator=(const RemoteMemory&) = delete;

  [[nodiscard]] char* at(std::size_t offset) const { return static_cast<char*>(memory_) + offset; }
  void write(std::size_t offset, const void* data, std::size_t size) const {
    WriteProcessMemory(process_, at(offset), data, size, nullptr);
  }
  void read(std::size_t offset, void* data, std::size_t size) const {
    ReadProcessMemory(process_, at(offset), data, size, nullptr);
  }

 private:
  HANDLE process_;
  void* memory_;
};

std::string tipsOf(HWND control, DWORD process) {
  constexpr std::size_t kTextAt = 256;
  constexpr std::size_t kMostCharacters = 200;
  const RemoteMemory memory(process, kTextAt + kMostCharacters * sizeof(wchar_t));
  std::string result;
  const auto count = SendMessageW(control, TTM_GETTOOLCOUNT, 0, 0);
  for (LRESULT index = 0; index < count; ++index) {
    TTTOOLINFOW tool{};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.lpszText = reinterpret_cast<wchar_t*>(memory.at(kTextAt));
    memory.write(0, &tool, sizeof tool);
    if (!SendMessageW(control, TTM_ENUMTOOLSW, static_cast<WPARAM>(index),
                      reinterpret_cast<LPARAM>(memory.at(0))))
      continue;
    memory.read(0, &tool, sizeof tool);
    tool.lpszText = reinterpret_cast<wchar_t*>(memory.at(kTextAt));
    memory.write(0, &tool, sizeof tool);
    SendMessageW(control, TTM_GETTEXTW, kMostCharacters, reinterpret_cast<LPARAM>(memory.at(0)));
    wchar_t text[kMostCharacters] = {};
    memory.read(kTextAt, text, sizeof text - sizeof(wchar_t));
    if (!result.empty()) result += ",";
    result += "{\"window\":" + number(static_cast<long long>(tool.uId)) + ",\"text\":" + quoted(text) + "}";
  }
  return result;
}

std::string tips(DWORD process) {
  struct Search {
    DWORD process;
    std::vector<HWND> found;
  } search{process, {}};
  EnumWindows(
      [](HWND window, LPARAM parameter) -> BOOL {
        auto* const wanted = reinterpret_cast<Search*>(parameter);
        if (processOf(window) == wanted->process && classOf(window) == L"tooltips_class32")
          wanted->found.push_back(window);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&search));
  std::string result;
  for (const HWND control : search.found) {
    const std::string list = tipsOf(control, process);
    if (!list.empty()) result += (result.empty() ? "" : ",") + list;
  }
  return "[" + result + "]";
}

// The icons' tool tips belong to the desktop's own program.
std::string iconTips() {
  std::vector<DWORD> found;
  EnumWindows(
      [](HWND window, LPARAM parameter) -> BOOL {
        auto* const processes = reinterpret_cast<std::vector<DWORD>*>(parameter);
        const std::wstring program = programOf(window);
        const DWORD process = processOf(window);
        const std::wstring_view name = L"\\explorer.exe";
        if (classOf(window) == L"tooltips_class32" && program.size() > name.size() &&
            _wcsicmp(program.c_str() + program.size() - name.size(), name.data()) == 0 &&
            std::find(processes->begin(), processes->end(), process) == processes->end()) {
          processes->push_back(process);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  std::string result = "[";
  for (const DWORD process : found) {
    std::string list = tips(process);
    list = list.substr(1, list.size() - 2);
    if (!list.empty()) result += (result.size() > 1 ? "," : "") + list;
  }
  return result + "]";
}

// The entries of the menu with resource number 10 in the program file, and where the window's menu bar shows
// them. Another process's menu cannot be asked, so the places follow from the widths of the texts.
std::string menu(HWND window, const std::wstring& program) {
  const HMODULE module =
      LoadLibraryExW(program.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  const HMENU bar = LoadMenuW(module, MAKEINTRESOURCEW(10));
  const UINT dpi = GetDpiForWindow(window);
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi);
  const HDC device = GetDC(nullptr);
  const HFONT font = CreateFontIndirectW(&metrics.lfMenuFont);
  const HGDIOBJ before = SelectObject(device, font);
  const int padding = 2 * MulDiv(8, static_cast<int>(dpi), 96);
  const int height = GetSystemMetricsForDpi(SM_CYMENU, dpi);
  POINT corner{};
  ClientToScreen(window, &corner);
  RECT place{corner.x, corner.y - height, corner.x, corner.y};

  std::string result = "[";
  for (int index = 0; index < GetMenuItemCount(bar); ++index) {
    wchar_t text[200] = {};
    const int length = GetMenuStringW(bar, static_cast<UINT>(index), text, 200, MF_BYPOSITION);
    SIZE size{};
    GetTextExtentPoint32W(device, text, length, &size);
    place.left = place.right;
    place.right += size.cx + padding;
    result +=
        std::string(index ? "," : "") + "{\"text\":" + quoted(text) + ",\"rect\":" + rectangle(place) + "}";
  }
  SelectObject(device, before);
  DeleteObject(font);
  ReleaseDC(nullptr, device);
  DestroyMenu(bar);
  FreeLibrary(module);
  return result + "]";
}

std::string link(const std::wstring& path) {
  IShellLinkW* shellLink = nullptr;
  IPersistFile* file = nullptr;
  wchar_t target[1024] = {};
  wchar_t arguments[1024] = {};
  if (SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                 reinterpret_cast<void**>(&shellLink)))) {
    shellLink->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file));
    if (file && SUCCEEDED(file->Load(path.c_str(), STGM_READ))) {
      shellLink->GetPath(target, 1024, nullptr, SLGP_RAWPATH);
      shellLink->GetArguments(arguments, 1024);
    }
    if (file) file->Release();
    shellLink->Release();
  }
  return "{\"target\":" + quoted(target) + ",\"arguments\":" + quoted(arguments) + "}";
}

std::string version(const std::wstring& path) {
  std::vector<char> data(GetFileVersionInfoSizeW(path.c_str(), nullptr));
  VS_FIXEDFILEINFO* fixed = nullptr;
  wchar_t* product = nullptr;
  UINT size = 0;
  if (data.empty() || !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) ||
      !VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&fixed), &size)) {
    return "null";
  }
  VerQueryValueW(data.data(), L"\\StringFileInfo\\040904B0\\ProductVersion",
                 reinterpret_cast<void**>(&product), &size);
  return "{\"file\":[" + number(HIWORD(fixed->dwFileVersionMS)) + "," +
         number(LOWORD(fixed->dwFileVersionMS)) + "," + number(HIWORD(fixed->dwFileVersionLS)) + "," +
         number(LOWORD(fixed->dwFileVersionLS)) + "],\"product\":" + quoted(product ? product : L"") + "}";
}

bool endProcess(DWORD id) {
  const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, id);
  if (!process) return false;
  const bool ended = TerminateProcess(process, 9) != FALSE;
  CloseHandle(process);
  return ended;
}

std::string answer(const std::string& line) {
  const std::size_t blank = line.find(' ');
  const std::string command = line.substr(0, blank);
  const std::string argument = blank == std::string::npos ? "" : line.substr(blank + 1);
  if (command == "windows") return windows();
  if (command == "look") return look();
  if (command == "text") return quoted(textOf(handleOf(argument)));
  if (command == "topline") return number(SendMessageW(handleOf(argument), EM_GETFIRSTVISIBLELINE, 0, 0));
  if (command == "close") return boolean(PostMessageW(handleOf(argument), WM_CLOSE, 0, 0));
  if (command == "maximize") return boolean(PostMessageW(handleOf(argument), WM_SYSCOMMAND, SC_MAXIMIZE, 0));
  if (command == "end") return boolean(endProcess(static_cast<DWORD>(std::stoul(argument))));
  if (command == "press") return boolean(PostMessageW(handleOf(argument), BM_CLICK, 0, 0));
  if (command == "tips") return tips(static_cast<DWORD>(std::stoul(argument)));
  if (command == "icontips") return iconTips();
  if (command == "menu") return menu(handleOf(argument), wide(argument.substr(argument.find(' ') + 1)));
  if (command == "link") return link(wide(argument));
  if (command == "version") return version(wide(argument));
  if (command == "taskbar") {
    return boolean(PostMessageW(HWND_BROADCAST, RegisterWindowMessageW(L"TaskbarCreated"), 0, 0));
  }
  return "null";
}

int recordAddress(const char* file, const char* address) {
  wchar_t folder[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, folder);
  std::FILE* const record = std::fopen(file, "ab");
  if (!record) return 1;
  std::fprintf(record, "%s %s\n", utf8(folder).c_str(), address);
  return std::fclose(record);
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3) return recordAddress(arguments[1], arguments[2]);
  CoInitialize(nullptr);
  std::string line;
  while (std::getline(std::cin, line)) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    std::cout << answer(line) << std::endl;
  }
  return 0;
}

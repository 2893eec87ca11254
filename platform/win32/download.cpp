// One file over HTTP with the system's internet functions. They have no bound on the whole of a transfer, so
// they work on a thread of their own; the program waits for at most two seconds and takes what has arrived by
// then. A transfer that is left behind ends by itself, and what it works with lives until then.
#include <windows.h>
// After windows.h.
#include <wininet.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

#include "platform/download.h"

namespace vornelle {
namespace {

constexpr DWORD kMilliseconds = 2000;
constexpr std::size_t kMostBytes = 64 * 1024;
constexpr DWORD kChunk = 2048;
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_AUTO_REDIRECT |
                         INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_AUTH |
                         INTERNET_FLAG_NO_UI;

struct InternetHandle {
  HINTERNET handle;
  ~InternetHandle() {
    if (handle) InternetCloseHandle(handle);
  }
};

class Transfer {
 public:
  explicit Transfer(std::string url)
      : url_(std::move(url)), done_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Transfer() {
    if (done_) CloseHandle(done_);
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  void run() {
    fetch();
    SetEvent(done_);
  }

  [[nodiscard]] std::string wait() {
    WaitForSingleObject(done_, kMilliseconds);
    const std::lock_guard lock(mutex_);
    abandoned_ = true;
    return received_;
  }

 private:
  void fetch() {
    const InternetHandle session{
        InternetOpenA("VB OpenUrl", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0)};
    if (!session.handle) return;
    DWORD limit = kMilliseconds;
    for (const DWORD option :
         {INTERNET_OPTION_CONNECT_TIMEOUT, INTERNET_OPTION_SEND_TIMEOUT, INTERNET_OPTION_RECEIVE_TIMEOUT}) {
      InternetSetOptionA(session.handle, option, &limit, sizeof limit);
    }
    const InternetHandle url{InternetOpenUrlA(session.handle, url_.c_str(), nullptr, 0, kFlags, 0)};
    if (!url.handle) return;
    char buffer[kChunk];
    // Only what is there: a read of a whole chunk would hold back what has arrived until the chunk is full.
    DWORD there = 0;
    DWORD got = 0;
    while (InternetQueryDataAvailable(url.handle, &there, 0, 0) && there > 0 &&
           InternetReadFile(url.handle, buffer, std::min(there, kChunk), &got) && got > 0) {
      if (!keep({buffer, got})) return;
    }
  }

  // False when no more is wanted.
  bool keep(std::string_view bytes) {
    const std::lock_guard lock(mutex_);
    if (abandoned_) return false;
    received_.append(bytes.substr(0, kMostBytes - received_.size()));
    return received_.size() < kMostBytes;
  }

  std::string url_;
  HANDLE done_;
  std::mutex mutex_;
  std::string received_;
  bool abandoned_ = false;
};

DWORD WINAPI runTransfer(void* parameter) {
  const std::unique_ptr<std::shared_ptr<Transfer>> transfer(
      static_cast<std::shared_ptr<Transfer>*>(parameter));
  (*transfer)->run();
  return 0;
}

}  // namespace

std::string downloadUrl(const std::string& url) {
  const auto transfer = std::make_shared<Transfer>(url);
  auto parameter = std::make_unique<std::shared_ptr<Transfer>>(transfer);
  const HANDLE thread = CreateThread(nullptr, 0, runTransfer, parameter.get(), 0, nullptr);
  if (!thread) return {};
  static_cast<void>(parameter.release());  // the thread's own now
  CloseHandle(thread);
  return transfer->wait();
}

}  // namespace vornelle

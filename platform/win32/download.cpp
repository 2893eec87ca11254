// One file over HTTP with the system's internet functions. Each step is begun and waited for until the two
// seconds are over; then the request is closed, and what has arrived by then is taken. The system does the
// steps on threads of its own, which call back here: that touches nothing but the transfer that the step
// belongs to.
#include "platform/download.h"

#include <windows.h>
// After windows.h.
#include <wininet.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "platform/clock.h"
#include "platform/common/blocking.h"
#include "platform/common/left_behind.h"
#include "platform/win32/handle.h"

namespace vornelle {
namespace {

constexpr std::int64_t kMilliseconds = 2000;
constexpr std::size_t kMostBytes = 64U << 10;
constexpr DWORD kChunk = 2048;
constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_AUTO_REDIRECT |
                         INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_AUTH |
                         INTERNET_FLAG_NO_UI;

class Transfer {
 public:
  // The system has ended every step, and closed all that it opened for it.
  [[nodiscard]] bool finished() const { return !stepUnderWay_ && openHandles_ == 0; }

  // To be called once.
  std::string run(const std::string& url) {
    const std::int64_t end = monotonicMilliseconds() + kMilliseconds;
    session_ =
        InternetOpenA("VB OpenUrl", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, INTERNET_FLAG_ASYNC);
    if (!session_) return {};
    InternetSetStatusCallbackA(session_, told);
    std::string received;
    if (open(url, end)) receive(received, end);
    // Closing the session ends whatever of it is still under way.
    if (request_) InternetCloseHandle(request_);
    InternetCloseHandle(session_);
    return received;
  }

 private:
  bool open(const std::string& url, std::int64_t end) {
    const Step step = doStep(end, [&] {
      request_ =
          InternetOpenUrlA(session_, url.c_str(), nullptr, 0, kFlags, reinterpret_cast<DWORD_PTR>(this));
      return request_ != nullptr;
    });
    if (step == Step::doneLater) request_ = reinterpret_cast<HINTERNET>(result_.load());
    return step != Step::failed && request_;
  }

  void receive(std::string& received, std::int64_t end) {
    while (received.size() < kMostBytes) {
      // Only what is there: a read of a whole chunk would hold back what has arrived until the chunk is full.
      // After a wait the question is put again, which then has its answer at once.
      const Step asked =
          doStep(end, [this] { return InternetQueryDataAvailable(request_, &there_, 0, 0) != FALSE; });
      if (asked == Step::doneLater) continue;
      if (asked == Step::failed || there_ == 0 || monotonicMilliseconds() >= end) return;
      const Step read = doStep(end, [this] {
        return InternetReadFile(request_, buffer_, std::min(there_, kChunk), &got_) != FALSE;
      });
      if (read == Step::failed || got_ == 0) return;
      received.append(buffer_, std::min<std::size_t>(got_, kMostBytes - received.size()));
    }
  }

  enum class Step { doneAtOnce, doneLater, failed };

  // Begins a step and waits for its end. One that does not end before that time has failed, and may be under
  // way still.
  template <typename Begin>
  Step doStep(std::int64_t end, const Begin& begin) {
    stepUnderWay_ = true;
    const bool done = begin();
    if (done || GetLastError() != ERROR_IO_PENDING) {
      stepUnderWay_ = false;
      return done ? Step::doneAtOnce : Step::failed;
    }
    const Waited ended = waitTold(millisecondsUntil(end), [this](std::int64_t milliseconds) {
      return win32::waitForEvent(stepDone_.get(), milliseconds);
    });
    return ended == Waited::come && result_ != 0 ? Step::doneLater : Step::failed;
  }

  // On a thread of the system's.
  static void CALLBACK told(HINTERNET, DWORD_PTR context, DWORD status, LPVOID information, DWORD) {
    auto* const transfer = reinterpret_cast<Transfer*>(context);
    if (!transfer) return;
    if (status == INTERNET_STATUS_HANDLE_CREATED) {
      ++transfer->openHandles_;
    } else if (status == INTERNET_STATUS_HANDLE_CLOSING) {
      --transfer->openHandles_;
    } else if (status == INTERNET_STATUS_REQUEST_COMPLETE) {
      transfer->result_ = static_cast<const INTERNET_ASYNC_RESULT*>(information)->dwResult;
      transfer->stepUnderWay_ = false;
      SetEvent(transfer->stepDone_.get());
    }
  }

  win32::Handle stepDone_{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  HINTERNET session_ = nullptr;
  HINTERNET request_ = nullptr;
  std::atomic<int> openHandles_ = 0;
  std::atomic<bool> stepUnderWay_ = false;
  std::atomic<DWORD_PTR> result_ = 0;  // of the last step; 0: it failed
  // What the system may still write to behind the end of the time.
  DWORD there_ = 0;
  DWORD got_ = 0;
  char buffer_[kChunk];
};

}  // namespace

std::string downloadUrl(const std::string& url) {
  const auto transfer = std::make_shared<Transfer>();
  std::string received = transfer->run(url);
  LeftBehind<Transfer>::instance().keep(transfer);
  return received;
}

}  // namespace vornelle

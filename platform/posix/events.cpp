// The posix half of the event loop: sleeping, signals, the clock.
#include "platform/events.h"

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <memory>
#include <string_view>

#include "platform/clock.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/network.h"
#include "platform/posix/poller.h"
#include "platform/random.h"
#include "platform/shared/event_loop.h"

namespace vornelle {
namespace {

int signalPipeWriteEnd = -1;

extern "C" void noteSignal(int) {
  const int keep = errno;
  const char byte = 0;
  // A full pipe holds enough requests already.
  if (write(signalPipeWriteEnd, &byte, 1) < 0) errno = 0;
  errno = keep;
}

// Turns SIGTERM and SIGINT into events.
class SignalPipe final : public Polled {
 public:
  SignalPipe() {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) return;
    readEnd_ = Descriptor(ends[0]);
    writeEnd_ = Descriptor(ends[1]);
    signalPipeWriteEnd = ends[1];
    works_ = watch(ends[0]);
  }

  [[nodiscard]] bool works() const { return works_; }

  void happened() override {
    char byte;
    while (read(readEnd_.get(), &byte, 1) == 1) {
      loop::post([this] {
        const std::function<void()> handler = onSignal;
        if (handler) handler();
      });
    }
  }

  std::function<void()> onSignal;

 private:
  Descriptor readEnd_, writeEnd_;
  bool works_ = false;
};

SignalPipe& signalPipe() {
  static SignalPipe* const instance = new SignalPipe;
  return *instance;
}

timespec inMilliseconds(std::int64_t milliseconds) {
  timespec result{};
  result.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
  result.tv_nsec = static_cast<long>(milliseconds % 1000 * 1000000);
  return result;
}

}  // namespace

void setTerminationHandler(std::function<void()> handler) {
  SignalPipe& pipe = signalPipe();
  const bool wanted = handler && pipe.works();
  pipe.onSignal = std::move(handler);
  struct sigaction action {};
  action.sa_handler = wanted ? noteSignal : SIG_DFL;
  action.sa_flags = SA_RESTART;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
}

void pause(int milliseconds) {
  if (milliseconds <= 0) return;
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  const timespec length = inMilliseconds(milliseconds);
  end.tv_sec += length.tv_sec;
  end.tv_nsec += length.tv_nsec;
  if (end.tv_nsec >= 1000000000) {
    end.tv_nsec -= 1000000000;
    ++end.tv_sec;
  }
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

namespace loop {

void collectReady() {
  // A peer that is gone is an answer of send(), and a reader of standard output that is gone one of write().
  [[maybe_unused]] static const auto ignored = std::signal(SIGPIPE, SIG_IGN);
  pollDescriptors(0);
  network::tend();
}

void waitReady(std::optional<std::int64_t> nextTick) {
  const std::optional<std::int64_t> deadline = network::nextDeadline();
  if (!nextTick || (deadline && *deadline < *nextTick)) nextTick = deadline;
  pollDescriptors(nextTick);
}

}  // namespace loop

std::int64_t utcNow() {
  return std::time(nullptr);
}

std::int64_t monotonicMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000} + now.tv_nsec / 1000000;
}

LocalTime toLocalTime(std::int64_t utcSeconds) {
  const auto time = static_cast<std::time_t>(utcSeconds);
  std::tm parts{};
  tzset();  // localtime_r() alone need not do it
  if (!localtime_r(&time, &parts)) return {};
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

std::string amPmDesignator(bool afternoon) {
  std::string none = afternoon ? "PM" : "AM";
  const locale_t user = newlocale(LC_TIME_MASK, "", nullptr);
  if (!user) return none;
  std::string designator = nl_langinfo_l(afternoon ? PM_STR : AM_STR, user);
  freelocale(user);
  // The character set of the locale is not the program's.
  const bool plain =
      std::all_of(designator.begin(), designator.end(), [](char c) { return c > ' ' && c < 0x7F; });
  return designator.empty() || !plain ? none : designator;
}

bool fillRandom(void* buffer, std::size_t size) {
  auto* at = static_cast<unsigned char*>(buffer);
  while (size > 0) {
    const ssize_t got = getrandom(at, size, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    at += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace vornelle

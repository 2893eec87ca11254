// The posix half of the event loop: waiting and signals.
#include "platform/events.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/posix/channel.h"
#include "platform/posix/poller.h"
#include "platform/unix/descriptor.h"
#include "platform/unix/event_loop.h"

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

}  // namespace vornelle

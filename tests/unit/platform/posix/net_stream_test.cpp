#include "platform/net_stream.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <thread>

#include "platform/clock.h"
#include "tests/unit/platform/seam/script_server.h"

namespace {

// Until this time of monotonicMilliseconds() no look-up of a name ends.
std::int64_t lookUpsEnd = 0;

bool lookUpsTakeTime() {
  return vornelle::monotonicMilliseconds() < lookUpsEnd;
}

}  // namespace

// In the place of the system's own, for this program. A wait whose time is over is told as glibc tells it.
extern "C" int gai_error(gaicb* request) noexcept {
  static const auto system = reinterpret_cast<int (*)(gaicb*)>(dlsym(RTLD_NEXT, "gai_error"));
  return lookUpsTakeTime() ? EAI_INPROGRESS : system(request);
}

extern "C" int gai_suspend(const gaicb* const requests[], int count, const timespec* time) {
  using Suspend = int (*)(const gaicb* const[], int, const timespec*);
  static const auto system = reinterpret_cast<Suspend>(dlsym(RTLD_NEXT, "gai_suspend"));
  if (!lookUpsTakeTime()) return system(requests, count, time);
  nanosleep(time, nullptr);
  return EAI_SYSTEM;
}

namespace vornelle {
namespace {

TEST(PosixNetStreamTest, ALookUpThatTakesLongerThanASliceOfTheWaitIsWaitedFor) {
  ScriptServer server([](native::Socket connection) { sendAll(connection, "hello"); });
  lookUpsEnd = monotonicMilliseconds() + 100;
  NetProblem problem = NetProblem::none;
  EXPECT_TRUE(openNetStream("localhost", server.port, 20'000, &problem)) << static_cast<int>(problem);
  EXPECT_GE(monotonicMilliseconds(), lookUpsEnd);
}

TEST(PosixNetStreamTest, ALookUpThatTakesLongerThanTheWaitIsATimeOut) {
  lookUpsEnd = monotonicMilliseconds() + 200;
  NetProblem problem = NetProblem::none;
  EXPECT_FALSE(openNetStream("localhost", 110, 50, &problem));
  EXPECT_EQ(problem, NetProblem::timedOut);
  lookUpsEnd = 0;
}

// poll() refuses to look at more descriptors than the process may have.
class NoDescriptorsAllowed {
 public:
  NoDescriptorsAllowed() {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit none{0, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  ~NoDescriptorsAllowed() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before_), 0); }
  NoDescriptorsAllowed(const NoDescriptorsAllowed&) = delete;
  NoDescriptorsAllowed& operator=(const NoDescriptorsAllowed&) = delete;

 private:
  rlimit before_{};
};

TEST(PosixNetStreamTest, WhereTheSystemRefusesToWaitAReadAndAWriteFailAtOnce) {
  std::atomic<bool> over = false;
  ScriptServer server([&over](native::Socket connection) {
    sendAll(connection, "!");
    while (!over) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  char byte;
  EXPECT_EQ(stream->read(&byte, 1, 5000), 1U);  // it has been accepted
  const std::int64_t start = monotonicMilliseconds();
  {
    const NoDescriptorsAllowed none;
    EXPECT_EQ(stream->read(&byte, 1, 20'000), std::nullopt);
    EXPECT_FALSE(stream->write(std::string(64U << 20, 'x'), 20'000));
  }
  EXPECT_LT(monotonicMilliseconds() - start, 10'000);
  over = true;
}

}  // namespace
}  // namespace vornelle

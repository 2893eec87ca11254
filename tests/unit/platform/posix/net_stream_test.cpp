#include "platform/net_stream.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/clock.h"
#include "tests/unit/platform/seam/script_server.h"

namespace vornelle {
namespace {

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

#include "platform/net_stream.h"

#include <gtest/gtest.h>

#include "tests/unit/platform/seam/script_server.h"

namespace vornelle {
namespace {

TEST(PosixNetStreamTest, AResetIsABrokenConnection) {
  ScriptServer server([](native::Socket connection) {
    (void)readUntil(connection, "\n");  // not before the stream stands
    resetAtClose(connection);
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  ASSERT_TRUE(stream->write("NOOP\r\n", 5000));
  char byte;
  EXPECT_EQ(stream->read(&byte, 1, 5000), std::nullopt);
  EXPECT_FALSE(stream->write("QUIT\r\n", 5000) && stream->write("QUIT\r\n", 5000));
}

}  // namespace
}  // namespace vornelle

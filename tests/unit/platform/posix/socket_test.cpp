#include "platform/socket.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <memory>
#include <vector>

#include "tests/unit/platform/seam/socket_support.h"

namespace vornelle {
namespace {

using PosixSocketTest = SocketTest;

TEST_F(PosixSocketTest, TheEndIsSeenBehindUnreadDataWhichWakesNobody) {
  reading = false;
  Peer peer;
  SocketControl& socket = connected(peer);
  peer.send("one");
  peer.finishSending();
  ASSERT_TRUE(eventually([&] { return events == "D0 C0 "; }));
  const std::int64_t before = native::processorMilliseconds();
  serveFor(300);
  EXPECT_LT(native::processorMilliseconds() - before, 100);
  EXPECT_EQ(events, "D0 C0 ");
  EXPECT_EQ(socket.getData(), "one");
}

TEST_F(PosixSocketTest, MoreDataIsAnnouncedAgainBeforeTheFirstIsRead) {
  reading = false;
  Peer peer;
  SocketControl& socket = connected(peer);
  peer.send("one");
  ASSERT_TRUE(eventually([&] { return events == "D0 "; }));
  peer.send("two");
  ASSERT_TRUE(eventually([&] { return events == "D0 D0 "; }));
  EXPECT_EQ(socket.getData(), "onetwo");
}

TEST_F(PosixSocketTest, WithoutDescriptorsConnectionsAreDroppedAndNothingSpins) {
  rlimit old{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
  // Its own descriptors first: only the accepting side is to run out.
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < 3; ++i) {
    peers.push_back(std::make_unique<Peer>());
    ASSERT_TRUE(peers.back()->connect(port));
  }
  const int next = dup(0);
  ::close(next);
  rlimit low = old;
  low.rlim_cur = static_cast<rlim_t>(next);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  const std::int64_t before = native::processorMilliseconds();
  const bool dropped = eventually([&] {
    for (auto& peer : peers) {
      if (!peer->ended() && !peer->broken()) return false;
    }
    return true;
  });
  serveFor(200);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
  EXPECT_LT(native::processorMilliseconds() - before, 250);
  EXPECT_TRUE(dropped);
  EXPECT_TRUE(sockets.empty());
  Peer peer;
  connected(peer);
}

}  // namespace
}  // namespace vornelle

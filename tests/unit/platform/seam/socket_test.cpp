#include "platform/socket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/events.h"
#include "tests/unit/platform/seam/socket_support.h"

namespace vornelle {
namespace {

TEST_F(SocketTest, ARequestIsReadAnsweredAndClosed) {
  Peer peer;
  SocketControl& socket = connected(peer);
  EXPECT_EQ(socket.localPort(), port);
  peer.send("GET / HTTP/1.0\r\n\r\n");
  ASSERT_TRUE(eventually([&] { return !received.empty(); }));
  EXPECT_EQ(received, "GET / HTTP/1.0\r\n\r\n");
  EXPECT_TRUE(socket.sendData("<html>"));
  EXPECT_EQ(events, "D0 ");
  doEvents();
  EXPECT_EQ(events, "D0 S0 ");
  socket.close();
  EXPECT_EQ(socket.localPort(), 0);
  ASSERT_TRUE(eventually([&] { return peer.ended(); }));
  EXPECT_EQ(peer.received(), "<html>");
}

TEST_F(SocketTest, DataAndCloseThatWaitComeInTheirOrder) {
  Peer peer;
  ASSERT_TRUE(peer.connect(port));
  peer.send("hello");
  peer.finishSending();
  ASSERT_TRUE(eventually([&] { return events.find('C') != std::string::npos; }));
  EXPECT_EQ(events, "D0 C0 ");
  EXPECT_EQ(received, "hello");
  EXPECT_TRUE(sockets[0]->sendData("answer after a half close"));
  ASSERT_TRUE(eventually([&] { return peer.received() == "answer after a half close"; }));
  doEvents();
  EXPECT_EQ(events, "D0 C0 S0 ");
}

TEST_F(SocketTest, UnreadDataIsAnnouncedOnceWakesNobodyAndIsThereWhenItIsAskedFor) {
  reading = false;
  Peer peer;
  SocketControl& socket = connected(peer);
  peer.send("one");
  ASSERT_TRUE(eventually([&] { return events == "D0 "; }));
  const std::int64_t before = native::processorMilliseconds();
  serveFor(300);
  EXPECT_LT(native::processorMilliseconds() - before, 100);
  EXPECT_EQ(events, "D0 ");
  peer.send("two");
  peer.finishSending();
  std::string all;
  EXPECT_TRUE(eventually([&] { return (all += socket.getData()) == "onetwo"; })) << all;
  EXPECT_TRUE(eventually([&] { return events.ends_with("C0 "); })) << events;
}

TEST_F(SocketTest, ARequestSentInOnePieceIsReadInOnePiece) {
  Peer peer;
  connected(peer);
  const std::string request(400000, 'x');
  peer.send(request);  // more than the receive buffer of a new connection holds
  ASSERT_TRUE(eventually([&] { return received.size() == request.size(); }));
  EXPECT_EQ(events, "D0 ");
}

TEST_F(SocketTest, GetDataBringsAtMost16MiBAtOnceAndDataArrivalComesAgain) {
  Peer peer;
  SocketControl& socket = connected(peer);
  std::size_t total = 0, largest = 0;
  socket.onDataArrival = [&] {
    const std::size_t size = socket.getData().size();
    total += size;
    largest = std::max(largest, size);
  };
  constexpr std::size_t kSize = 40 * 1024 * 1024;
  std::thread sender([&] {
    const std::string piece(1024 * 1024, 'x');
    for (std::size_t sent = 0; sent < kSize;) {
      const long got = native::send(peer.socket(), piece.data(), std::min(piece.size(), kSize - sent));
      if (got < 0 && !native::wouldBlock()) break;
      if (got < 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      if (got > 0) sent += static_cast<std::size_t>(got);
    }
  });
  EXPECT_TRUE(eventually([&] { return total == kSize; })) << total;
  EXPECT_LE(largest, 16u * 1024 * 1024);
  sender.join();
}

TEST_F(SocketTest, AnAnswerThatFillsTheBuffersIsCompletedWhenItHasBeenTaken) {
  Peer peer;
  SocketControl& socket = connected(peer, 4096);
  const std::string answer(16 * 1024 * 1024, 'a');
  EXPECT_TRUE(socket.sendData(answer));
  serveFor(50);
  EXPECT_EQ(events, "");
  ASSERT_TRUE(eventually([&] { return peer.received().size() == answer.size(); }));
  ASSERT_TRUE(eventually([&] { return events == "S0 "; }));
}

TEST_F(SocketTest, CloseFlushesInTheBackgroundEvenWithUnreadInput) {
  reading = false;
  Peer peer;
  SocketControl& socket = connected(peer, 4096);
  peer.send(std::string(100000, 'u'));
  ASSERT_TRUE(eventually([&] { return !events.empty(); }));
  const std::string answer(8 * 1024 * 1024, 'a');
  EXPECT_TRUE(socket.sendData(answer));
  socket.close();
  events.clear();
  ASSERT_TRUE(eventually([&] { return peer.ended() || peer.broken(); }));
  EXPECT_FALSE(peer.broken());
  EXPECT_EQ(peer.received().size(), answer.size());
  EXPECT_EQ(events, "");
}

TEST_F(SocketTest, InputThatArrivesAfterTheCloseDoesNotResetTheAnswer) {
  Peer peer;
  SocketControl& socket = connected(peer);
  EXPECT_TRUE(socket.sendData("the answer"));
  socket.close();
  doEvents();
  peer.send("late input");
  doEvents();
  peer.send("later input");
  serveFor(20);
  EXPECT_EQ(peer.received(), "the answer");
  EXPECT_TRUE(peer.ended());
  // A reset after the end of the stream shows here only.
  EXPECT_FALSE(native::isReset(peer.socket()));
}

TEST_F(SocketTest, ALingeringConnectionIsGivenUpAfterAWhile) {
  Peer peer;
  SocketControl& socket = connected(peer);
  EXPECT_TRUE(socket.sendData("answer"));
  socket.close();
  ASSERT_TRUE(eventually([&] { return peer.ended(); }));
  serveFor(native::kLongestLinger / 2);
  peer.send("still heard");
  serveFor(20);
  char byte;
  EXPECT_EQ(native::receive(peer.socket(), &byte, 1), 0);
  serveFor(native::kLongestLinger / 2 + 1500);
  peer.send("nobody there");
  // The reset shows that the system has got the connection back.
  EXPECT_TRUE(eventually([&] { return native::isReset(peer.socket()); }));
}

TEST_F(SocketTest, AResetCountsAsCloseAndCompletesWhatWasSent) {
  Peer peer;
  SocketControl& socket = connected(peer, 4096);
  EXPECT_TRUE(socket.sendData(std::string(16 * 1024 * 1024, 'a')));
  EXPECT_TRUE(socket.sendData("second"));
  doEvents();
  EXPECT_EQ(events, "");
  peer.reset();
  ASSERT_TRUE(eventually([&] { return events.find('C') != std::string::npos; }));
  EXPECT_EQ(events, "S0 S0 C0 ");
  EXPECT_TRUE(socket.sendData("to nobody"));
  serveFor(20);
  EXPECT_EQ(events, "S0 S0 C0 S0 ");
}

TEST_F(SocketTest, DataBeforeAResetIsStillRead) {
  Peer peer;
  connected(peer);
  peer.send("last words");
  peer.reset();
  ASSERT_TRUE(eventually([&] { return events.find('C') != std::string::npos; }));
  EXPECT_EQ(events, "D0 C0 ");
  EXPECT_EQ(received, "last words");
}

TEST_F(SocketTest, SendingToAPeerThatHasGoneIsNoSignal) {
  Peer peer;
  SocketControl& socket = connected(peer);
  peer.close();
  ASSERT_TRUE(eventually([&] { return events == "C0 "; }));
  EXPECT_TRUE(socket.sendData("one"));
  serveFor(20);
  EXPECT_TRUE(socket.sendData("two"));
  serveFor(20);
  EXPECT_EQ(events, "C0 S0 S0 ");
}

TEST_F(SocketTest, UrgentBytesDoNotHideTheRest) {
  Peer peer;
  connected(peer);
  ASSERT_EQ(native::send(peer.socket(), "!", 1, MSG_OOB), 1);
  peer.send("GET /");
  EXPECT_TRUE(eventually([&] { return received == "!GET /"; })) << received;
}

TEST_F(SocketTest, ARequestThatNobodyAcceptsIsDropped) {
  int requests = 0;
  listener.onConnectionRequest = [&](SocketControl::RequestId) { ++requests; };
  Peer peer;
  ASSERT_TRUE(peer.connect(port));
  ASSERT_TRUE(eventually([&] { return peer.ended() || peer.broken(); }));
  EXPECT_EQ(requests, 1);
}

TEST_F(SocketTest, APortIsHadOnceAndAgainAfterItsListenerHasClosed) {
  SocketControl second;
  EXPECT_FALSE(second.listen(kIpv4, port));
  EXPECT_FALSE(second.listen(kIpv4, 0));
  EXPECT_FALSE(second.listen(kIpv4, 65536));
  Peer peer;
  connected(peer);
  sockets[0]->close();  // this side closes first, so its port stays in TIME_WAIT
  ASSERT_TRUE(eventually([&] { return peer.ended(); }));
  listener.close();
  EXPECT_TRUE(second.listen(kIpv4, port));
}

TEST_F(SocketTest, BothLoopbackAddressesMayHaveTheSamePort) {
  SocketControl six;
  if (!six.listen(LoopbackAddress::ipv6, port)) {
    // A machine without IPv6: then no address of it can be bound at all.
    const native::Socket probe = socket(AF_INET6, SOCK_STREAM, 0);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    EXPECT_TRUE(probe == native::kNoSocket ||
                bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0);
    if (probe != native::kNoSocket) native::closeSocket(probe);
    return;
  }
  EXPECT_EQ(six.localPort(), port);
  SocketControl accepted;
  six.onConnectionRequest = [&](SocketControl::RequestId request) { EXPECT_TRUE(accepted.accept(request)); };
  Peer peer;
  ASSERT_TRUE(peer.connect(port, 0, LoopbackAddress::ipv6));
  EXPECT_TRUE(eventually([&] { return accepted.isOpen(); }));
  EXPECT_TRUE(sockets.empty());
}

TEST_F(SocketTest, AHandlerMayDestroyItsSocketAndAnother) {
  Peer first, second;
  connected(first);
  connected(second);
  int served = 0;
  for (auto& socket : sockets) {
    socket->onDataArrival = [this, &served, guard = std::string("captured text, long enough for the heap")] {
      sockets.clear();
      ++served;
      EXPECT_EQ(guard, "captured text, long enough for the heap");
    };
  }
  first.send("x");
  second.send("x");
  ASSERT_TRUE(eventually([&] { return first.ended() && second.ended(); }));
  EXPECT_EQ(served, 1);
}

TEST_F(SocketTest, ManySocketsAreServed) {
  constexpr int kCount = native::kManySockets;
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < kCount; ++i) {
    peers.push_back(std::make_unique<Peer>());
    ASSERT_TRUE(peers.back()->connect(port)) << i;
    peers.back()->send("x");
    doEvents();
  }
  EXPECT_TRUE(eventually([&] { return received.size() == kCount; })) << received.size();
}

}  // namespace
}  // namespace vornelle

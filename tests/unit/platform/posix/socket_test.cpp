#include "platform/socket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/events.h"
#include "tests/unit/platform/posix/loopback.h"

namespace vornelle {
namespace {

constexpr auto kIpv4 = LoopbackAddress::ipv4;

class PosixSocketTest : public testing::Test {
 protected:
  PosixSocketTest() {
    listener.onConnectionRequest = [this](SocketControl::RequestId request) {
      auto accepted = std::make_unique<SocketControl>();
      const std::string name = std::to_string(sockets.size());
      SocketControl& socket = *accepted;
      socket.onDataArrival = [this, name, &socket] {
        events += "D" + name + " ";
        if (reading) received += socket.getData();
      };
      socket.onSendComplete = [this, name] { events += "S" + name + " "; };
      socket.onClose = [this, name] { events += "C" + name + " "; };
      EXPECT_TRUE(accepted->accept(request));
      sockets.push_back(std::move(accepted));
    };
    for (int tries = 0; tries < 20 && !listener.isOpen(); ++tries) {
      port = freePort();
      if (listener.listen(kIpv4, port)) break;
    }
    EXPECT_TRUE(listener.isOpen());
  }

  SocketControl& connected(Peer& peer, int receiveBuffer = 0) {
    const std::size_t before = sockets.size();
    EXPECT_TRUE(peer.connect(port, receiveBuffer));
    EXPECT_TRUE(eventually([&] { return sockets.size() > before; }));
    return *sockets.back();
  }

  SocketControl listener;
  int port = 0;
  std::vector<std::unique_ptr<SocketControl>> sockets;
  std::string events;
  std::string received;
  bool reading = true;
};

TEST_F(PosixSocketTest, ARequestIsReadAnsweredAndClosed) {
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

TEST_F(PosixSocketTest, DataAndCloseThatWaitComeInTheirOrder) {
  Peer peer;
  ASSERT_TRUE(peer.connect(port));
  peer.send("hello");
  peer.finishSending();
  ASSERT_TRUE(eventually([&] { return events.find('C') != std::string::npos; }));
  EXPECT_EQ(events, "D0 C0 ");
  EXPECT_EQ(received, "hello");
  EXPECT_TRUE(sockets[0]->peerClosed());
  EXPECT_TRUE(sockets[0]->sendData("answer after a half close"));
  ASSERT_TRUE(eventually([&] { return peer.received() == "answer after a half close"; }));
  doEvents();
  EXPECT_EQ(events, "D0 C0 S0 ");
}

TEST_F(PosixSocketTest, UnreadDataIsAnnouncedOnceAndWakesNobody) {
  reading = false;
  Peer peer;
  SocketControl& socket = connected(peer);
  peer.send("one");
  peer.finishSending();
  ASSERT_TRUE(eventually([&] { return events == "D0 C0 "; }));
  const std::clock_t before = std::clock();
  serveFor(300);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
  EXPECT_EQ(events, "D0 C0 ");
  EXPECT_EQ(socket.getData(), "one");
}

TEST_F(PosixSocketTest, MoreDataIsAnnouncedAgain) {
  reading = false;
  Peer peer;
  SocketControl& socket = connected(peer);
  peer.send("one");
  ASSERT_TRUE(eventually([&] { return events == "D0 "; }));
  peer.send("two");
  ASSERT_TRUE(eventually([&] { return events == "D0 D0 "; }));
  EXPECT_EQ(socket.getData(), "onetwo");
}

TEST_F(PosixSocketTest, ARequestSentInOnePieceIsReadInOnePiece) {
  Peer peer;
  connected(peer);
  const std::string request(400000, 'x');
  peer.send(request);  // more than the receive buffer of a new connection holds
  ASSERT_TRUE(eventually([&] { return received.size() == request.size(); }));
  EXPECT_EQ(events, "D0 ");
}

TEST_F(PosixSocketTest, GetDataBringsAtMost16MiBAtOnceAndDataArrivalComesAgain) {
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
      const ssize_t got =
          ::send(peer.descriptor(), piece.data(), std::min(piece.size(), kSize - sent), MSG_NOSIGNAL);
      if (got <= 0) break;
      sent += static_cast<std::size_t>(got);
    }
  });
  EXPECT_TRUE(eventually([&] { return total == kSize; })) << total;
  EXPECT_LE(largest, 16u * 1024 * 1024);
  sender.join();
}

TEST_F(PosixSocketTest, AnAnswerThatFillsTheBuffersIsCompletedWhenItHasBeenTaken) {
  Peer peer;
  SocketControl& socket = connected(peer, 4096);
  const std::string answer(16 * 1024 * 1024, 'a');
  EXPECT_TRUE(socket.sendData(answer));
  serveFor(50);
  EXPECT_EQ(events, "");
  ASSERT_TRUE(eventually([&] { return peer.received().size() == answer.size(); }));
  ASSERT_TRUE(eventually([&] { return events == "S0 "; }));
}

TEST_F(PosixSocketTest, CloseFlushesInTheBackgroundEvenWithUnreadInput) {
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

TEST_F(PosixSocketTest, InputThatArrivesAfterTheCloseDoesNotResetTheAnswer) {
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
  pollfd look{peer.descriptor(), POLLOUT, 0};
  EXPECT_EQ(poll(&look, 1, 0), 1);
  EXPECT_FALSE(look.revents & (POLLERR | POLLHUP));
}

TEST_F(PosixSocketTest, ALingeringConnectionIsGivenUpAfterTwoSeconds) {
  Peer peer;
  SocketControl& socket = connected(peer);
  EXPECT_TRUE(socket.sendData("answer"));
  socket.close();
  ASSERT_TRUE(eventually([&] { return peer.ended(); }));
  serveFor(1000);
  peer.send("still heard");
  serveFor(20);
  char byte;
  EXPECT_EQ(recv(peer.descriptor(), &byte, 1, MSG_DONTWAIT), 0);
  serveFor(1300);
  peer.send("nobody there");
  // The reset shows that the descriptor has been given back.
  EXPECT_TRUE(eventually([&] {
    pollfd look{peer.descriptor(), POLLOUT, 0};
    return poll(&look, 1, 0) > 0 && (look.revents & (POLLERR | POLLHUP));
  }));
}

TEST_F(PosixSocketTest, AResetCountsAsCloseAndCompletesWhatWasSent) {
  Peer peer;
  SocketControl& socket = connected(peer, 4096);
  EXPECT_TRUE(socket.sendData(std::string(16 * 1024 * 1024, 'a')));
  EXPECT_TRUE(socket.sendData("second"));
  doEvents();
  EXPECT_EQ(events, "");
  peer.reset();
  ASSERT_TRUE(eventually([&] { return events.find('C') != std::string::npos; }));
  EXPECT_EQ(events, "S0 S0 C0 ");
  EXPECT_TRUE(socket.peerClosed());
  EXPECT_TRUE(socket.sendData("to nobody"));
  serveFor(20);
  EXPECT_EQ(events, "S0 S0 C0 S0 ");
}

TEST_F(PosixSocketTest, DataBeforeAResetIsStillRead) {
  Peer peer;
  connected(peer);
  peer.send("last words");
  peer.reset();
  ASSERT_TRUE(eventually([&] { return events.find('C') != std::string::npos; }));
  EXPECT_EQ(events, "D0 C0 ");
  EXPECT_EQ(received, "last words");
}

TEST_F(PosixSocketTest, SendingToAPeerThatHasGoneIsNoSignal) {
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

TEST_F(PosixSocketTest, UrgentBytesDoNotHideTheRest) {
  Peer peer;
  connected(peer);
  ASSERT_EQ(::send(peer.descriptor(), "!", 1, MSG_OOB), 1);
  peer.send("GET /");
  EXPECT_TRUE(eventually([&] { return received == "!GET /"; })) << received;
}

TEST_F(PosixSocketTest, ARequestThatNobodyAcceptsIsDropped) {
  int requests = 0;
  listener.onConnectionRequest = [&](SocketControl::RequestId) { ++requests; };
  Peer peer;
  ASSERT_TRUE(peer.connect(port));
  ASSERT_TRUE(eventually([&] { return peer.ended() || peer.broken(); }));
  EXPECT_EQ(requests, 1);
}

TEST_F(PosixSocketTest, APortIsHadOnceAndAgainAfterItsListenerHasClosed) {
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

TEST_F(PosixSocketTest, ASocketConnectsToAnotherOfTheSameProgram) {
  SocketControl caller;
  std::string heard, order;
  caller.onConnect = [&] { order += "O "; };
  caller.onDataArrival = [&] { heard += caller.getData(); };
  caller.onClose = [&] { order += "C "; };
  ASSERT_TRUE(caller.connect(kIpv4, port));
  ASSERT_TRUE(eventually([&] { return order == "O " && sockets.size() == 1; }));
  EXPECT_TRUE(caller.sendData("question"));
  ASSERT_TRUE(eventually([&] { return received == "question"; }));
  EXPECT_TRUE(sockets[0]->sendData("answer"));
  sockets[0]->close();
  ASSERT_TRUE(eventually([&] { return order == "O C "; }));
  EXPECT_EQ(heard, "answer");
}

TEST_F(PosixSocketTest, AConnectionToNobodyFailsAtOnceOrWithAClose) {
  SocketControl caller;
  bool closed = false;
  caller.onClose = [&] { closed = true; };
  const int nobody = freePort();
  if (caller.connect(kIpv4, nobody)) {
    EXPECT_TRUE(eventually([&] { return closed; }));
  }
  EXPECT_FALSE(caller.isOpen());
}

TEST_F(PosixSocketTest, BothLoopbackAddressesMayHaveTheSamePort) {
  SocketControl six;
  if (!six.listen(LoopbackAddress::ipv6, port)) {
    // A machine without IPv6: then no address of it can be bound at all.
    const int probe = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    EXPECT_TRUE(probe < 0 || bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0);
    if (probe >= 0) ::close(probe);
    return;
  }
  EXPECT_EQ(six.localPort(), port);
  SocketControl caller, accepted;
  bool connected = false;
  six.onConnectionRequest = [&](SocketControl::RequestId request) { EXPECT_TRUE(accepted.accept(request)); };
  caller.onConnect = [&] { connected = true; };
  ASSERT_TRUE(caller.connect(LoopbackAddress::ipv6, port));
  EXPECT_TRUE(eventually([&] { return connected && accepted.isOpen(); }));
}

TEST_F(PosixSocketTest, AHandlerMayDestroyItsSocketAndAnother) {
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

TEST_F(PosixSocketTest, ThousandsOfSocketsAreServed) {
  constexpr int kCount = 2000;
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < kCount; ++i) {
    peers.push_back(std::make_unique<Peer>());
    ASSERT_TRUE(peers.back()->connect(port)) << i;
    peers.back()->send("x");
    doEvents();
  }
  EXPECT_TRUE(eventually([&] { return received.size() == kCount; })) << received.size();
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
  const std::clock_t before = std::clock();
  const bool dropped = eventually([&] {
    for (auto& peer : peers) {
      if (!peer->ended() && !peer->broken()) return false;
    }
    return true;
  });
  serveFor(200);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 4);
  EXPECT_TRUE(dropped);
  EXPECT_TRUE(sockets.empty());
  Peer peer;
  connected(peer);
}

}  // namespace
}  // namespace vornelle

#include "platform/socket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/events.h"
#include "platform/modGoToSleep.h"
#include "platform/sim/sim.h"

namespace vornelle {
namespace {

constexpr auto kIpv4 = LoopbackAddress::ipv4;
constexpr auto kIpv6 = LoopbackAddress::ipv6;

// A listener that accepts everything; each connection writes down its events.
class SocketTest : public testing::Test {
 protected:
  SocketTest() {
    sim::reset();
    listener.onConnectionRequest = [this](SocketControl::RequestId request) {
      auto accepted = std::make_unique<SocketControl>();
      watch(*accepted, std::to_string(sockets.size()));
      EXPECT_TRUE(accepted->accept(request));
      sockets.push_back(std::move(accepted));
      events += "R ";
    };
    EXPECT_TRUE(listener.listen(kIpv4, 7000));
  }

  void watch(SocketControl& socket, const std::string& name) {
    socket.onDataArrival = [this, name, &socket] {
      events += "D" + name + " ";
      if (reading) received += socket.getData();
    };
    socket.onSendComplete = [this, name] { events += "S" + name + " "; };
    socket.onClose = [this, name] { events += "C" + name + " "; };
  }

  SocketControl& connected(sim::Client& client) {
    EXPECT_TRUE(client.connect(kIpv4, 7000));
    doEvents();
    events.clear();
    return *sockets.back();
  }

  SocketControl listener;
  std::vector<std::unique_ptr<SocketControl>> sockets;
  std::string events;
  std::string received;
  bool reading = true;
};

TEST_F(SocketTest, EventsOfASocketComeInTheirOrder) {
  sim::Client client;
  ASSERT_TRUE(client.connect(kIpv4, 7000));
  client.send("hello");
  client.finishSending();
  EXPECT_EQ(events, "");
  doEvents();
  EXPECT_EQ(events, "R D0 C0 ");
  EXPECT_EQ(received, "hello");
}

TEST_F(SocketTest, SendCompleteComesAfterDataArrivalAndBeforeClose) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.send("more");
  client.finishSending();
  EXPECT_TRUE(socket.sendData("answer"));
  EXPECT_EQ(client.received(), "answer");
  doEvents();
  EXPECT_EQ(events, "D0 S0 C0 ");
}

TEST_F(SocketTest, ASendCompleteWaitsForOneDataArrivalAtMost) {
  sim::Client client;
  SocketControl& socket = connected(client);
  socket.onDataArrival = [&] {
    events += "D ";
    (void)socket.getData();
    if (events.size() < 20) client.send("again and again");
  };
  client.send("x");
  EXPECT_TRUE(socket.sendData("answer"));
  doEvents();
  EXPECT_EQ(events.substr(0, 8), "D S0 D D");
}

TEST_F(SocketTest, DataThatIsNotReadIsAnnouncedOnce) {
  reading = false;
  sim::Client client;
  SocketControl& socket = connected(client);
  client.send("one");
  doEvents();
  doEvents();
  EXPECT_EQ(events, "D0 ");
  client.send("two");
  doEvents();
  EXPECT_EQ(events, "D0 D0 ");
  EXPECT_EQ(socket.getData(), "onetwo");
  EXPECT_EQ(socket.getData(), "");
  doEvents();
  EXPECT_EQ(events, "D0 D0 ");
}

TEST_F(SocketTest, DataThatAnotherHandlerHasReadIsNotAnnounced) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.send("early");
  EXPECT_EQ(socket.getData(), "early");
  doEvents();
  EXPECT_EQ(events, "");
}

TEST_F(SocketTest, GetDataBringsAtMost16MiBAndDataArrivalComesAgain) {
  constexpr std::size_t kMost = 16 * 1024 * 1024;
  sim::Client client;
  connected(client);
  client.send(std::string(2 * kMost + 1, 'x'));
  doEvents();
  EXPECT_EQ(events, "D0 D0 D0 ");
  EXPECT_EQ(received.size(), 2 * kMost + 1);
}

TEST_F(SocketTest, CloseComesOnceAndTheSocketCanStillSend) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.finishSending();
  doEvents();
  doEvents();
  EXPECT_EQ(events, "C0 ");
  EXPECT_TRUE(socket.isOpen());
  EXPECT_TRUE(socket.sendData("late answer"));
  doEvents();
  EXPECT_EQ(events, "C0 S0 ");
  EXPECT_EQ(client.received(), "late answer");
}

TEST_F(SocketTest, AResetCountsAsClose) {
  sim::Client client;
  static_cast<void>(connected(client));
  client.reset();
  doEvents();
  EXPECT_EQ(events, "C0 ");
}

TEST_F(SocketTest, EachSendIsCompletedOnceAlsoWhereTheConnectionIsLost) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.limitReceiveBuffer(3);
  EXPECT_TRUE(socket.sendData("12345"));
  EXPECT_TRUE(socket.sendData("678"));
  doEvents();
  EXPECT_EQ(events, "");
  client.reset();
  doEvents();
  EXPECT_EQ(events, "S0 S0 C0 ");
  EXPECT_TRUE(socket.sendData("to nobody"));
  doEvents();
  EXPECT_EQ(events, "S0 S0 C0 S0 ");
}

TEST_F(SocketTest, SendCompleteComesWhenTheLastByteHasBeenTaken) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.limitReceiveBuffer(4);
  EXPECT_TRUE(socket.sendData("abcdef"));
  EXPECT_TRUE(socket.sendData("gh"));
  doEvents();
  EXPECT_EQ(events, "");
  client.takeMore(3);
  doEvents();
  EXPECT_EQ(events, "S0 ");
  client.takeMore(1);
  doEvents();
  EXPECT_EQ(events, "S0 S0 ");
  EXPECT_EQ(client.received(), "abcdefgh");
}

TEST_F(SocketTest, AnEmptySendIsCompletedToo) {
  sim::Client client;
  SocketControl& socket = connected(client);
  EXPECT_TRUE(socket.sendData(""));
  doEvents();
  EXPECT_EQ(events, "S0 ");
}

TEST_F(SocketTest, ASocketThatIsNotConnectedDoesNotSend) {
  SocketControl socket;
  EXPECT_FALSE(socket.sendData("x"));
  EXPECT_FALSE(listener.sendData("x"));
  sim::Client client;
  SocketControl& closed = connected(client);
  closed.close();
  EXPECT_FALSE(closed.sendData("x"));
  EXPECT_EQ(closed.getData(), "");
}

TEST_F(SocketTest, CloseDeliversWhatWasSentAndNoEventFollows) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.limitReceiveBuffer(2);
  client.send("unread input");
  EXPECT_TRUE(socket.sendData("the answer"));
  socket.close();
  EXPECT_FALSE(socket.isOpen());
  EXPECT_EQ(socket.localPort(), 0);
  doEvents();
  EXPECT_EQ(events, "");
  EXPECT_EQ(client.received(), "th");
  EXPECT_FALSE(client.closedByServer());
  client.takeMore(100);
  EXPECT_EQ(client.received(), "the answer");
  EXPECT_TRUE(client.closedByServer());
}

TEST_F(SocketTest, ADestroyedSocketClosesGracefully) {
  sim::Client client;
  SocketControl& socket = connected(client);
  EXPECT_TRUE(socket.sendData("bye"));
  sockets.clear();
  doEvents();
  EXPECT_EQ(events, "");
  EXPECT_EQ(client.received(), "bye");
  EXPECT_TRUE(client.closedByServer());
}

TEST_F(SocketTest, AHandlerMayDestroyItsOwnSocket) {
  sim::Client client;
  SocketControl& socket = connected(client);
  socket.onDataArrival = [this, guard = std::string("still here, on the heap for sure")] {
    sockets.clear();
    EXPECT_EQ(guard, "still here, on the heap for sure");
    events += "destroyed";
  };
  client.send("x");
  client.finishSending();
  doEvents();
  EXPECT_EQ(events, "destroyed");
}

TEST_F(SocketTest, AHandlerMayCloseASocketThatHasAnEventWaiting) {
  sim::Client first, second;
  connected(first);
  connected(second);
  first.send("a");
  second.send("b");
  sockets[0]->onDataArrival = [this] { sockets[1].reset(); };
  doEvents();
  EXPECT_EQ(events, "");
}

TEST_F(SocketTest, HandlersNest) {
  sim::Client first, second;
  connected(first);
  connected(second);
  sockets[0]->onDataArrival = [this] {
    events += "[ ";
    (void)sockets[0]->getData();
    doEvents();
    events += "] ";
  };
  first.send("a");
  second.send("b");
  doEvents();
  EXPECT_EQ(events, "[ D1 ] ");
}

TEST_F(SocketTest, ABusySocketDoesNotKeepAnotherWaiting) {
  sim::Client busy, other;
  connected(busy);
  connected(other);
  int rounds = 0;
  sockets[0]->onDataArrival = [&] {
    (void)sockets[0]->getData();
    events += "D0 ";
    if (++rounds < 5) busy.send("more");
  };
  busy.send("x");
  other.send("y");
  doEvents();
  EXPECT_EQ(events, "D0 D1 D0 D0 D0 D0 ");
}

TEST_F(SocketTest, BusySocketsDoNotKeepATimerWaitingForever) {
  sim::Client busy;
  SocketControl& socket = connected(busy);
  bool ticked = false;
  int rounds = 0;
  Timer timer(10, true);
  timer.onTick = [&] { ticked = true; };
  socket.onDataArrival = [&] {
    (void)socket.getData();
    if (!ticked && ++rounds < 10000) busy.send("more");
  };
  pause(10);
  busy.send("x");
  doEvents();
  EXPECT_TRUE(ticked);
  EXPECT_LT(rounds, 100);
}

TEST_F(SocketTest, DataThatArrivedDuringAPauseIsServedBeforeATimerThatCameDue) {
  sim::Client client;
  connected(client);
  Timer timer(1000, true);
  timer.onTick = [this] { events += "T "; };
  client.send("x");
  pause(2000);
  doEvents();
  EXPECT_EQ(events, "D0 T ");
}

TEST_F(SocketTest, ARequestThatNobodyAcceptsIsDropped) {
  SocketControl::RequestId seen = 0;
  listener.onConnectionRequest = [&](SocketControl::RequestId request) { seen = request; };
  sim::Client client;
  ASSERT_TRUE(client.connect(kIpv4, 7000));
  client.send("GET /");
  EXPECT_FALSE(client.closedByServer());
  doEvents();
  EXPECT_TRUE(client.closedByServer());
  SocketControl late;
  EXPECT_FALSE(late.accept(seen));
  EXPECT_FALSE(late.accept(12345));
}

TEST_F(SocketTest, ARequestStaysValidWhileItsHandlerYields) {
  sim::Client first, second;
  bool nested = false;
  SocketControl outer, inner;
  listener.onConnectionRequest = [&](SocketControl::RequestId request) {
    if (nested) {
      EXPECT_TRUE(inner.accept(request));
      return;
    }
    nested = true;
    ASSERT_TRUE(second.connect(kIpv4, 7000));
    second.send("from the second");
    doEvents();
    EXPECT_TRUE(outer.accept(request));
  };
  ASSERT_TRUE(first.connect(kIpv4, 7000));
  first.send("from the first");
  doEvents();
  EXPECT_EQ(outer.getData(), "from the first");
  EXPECT_EQ(inner.getData(), "from the second");
}

TEST_F(SocketTest, AnOpenSocketAcceptsAndListensNotAgain) {
  sim::Client client;
  SocketControl& socket = connected(client);
  EXPECT_FALSE(socket.listen(kIpv4, 7100));
  listener.onConnectionRequest = [&](SocketControl::RequestId request) {
    EXPECT_FALSE(socket.accept(request));
  };
  sim::Client other;
  ASSERT_TRUE(other.connect(kIpv4, 7000));
  doEvents();
}

TEST_F(SocketTest, PortsOutsideTheRangeAndTakenPortsAreRefused) {
  SocketControl socket;
  EXPECT_FALSE(socket.listen(kIpv4, 0));
  EXPECT_FALSE(socket.listen(kIpv4, -1));
  EXPECT_FALSE(socket.listen(kIpv4, 65536));
  EXPECT_FALSE(socket.listen(kIpv4, 7000));
  sim::occupyPort(kIpv4, 7001);
  EXPECT_FALSE(socket.listen(kIpv4, 7001));
  sim::refuseAddress(kIpv6);
  EXPECT_FALSE(socket.listen(kIpv6, 7001));
  EXPECT_FALSE(socket.isOpen());
  EXPECT_TRUE(socket.listen(kIpv4, 7002));
  EXPECT_EQ(socket.localPort(), 7002);
  EXPECT_EQ(sim::listeningPort(kIpv4), 7000);
  EXPECT_EQ(sim::listeningPort(kIpv6), 0);
}

TEST_F(SocketTest, AClosedListenerGivesItsPortBackAndDropsWhoWaits) {
  sim::Client client;
  ASSERT_TRUE(client.connect(kIpv4, 7000));
  listener.close();
  EXPECT_TRUE(client.closedByServer());
  EXPECT_FALSE(client.connect(kIpv4, 7000));
  EXPECT_TRUE(listener.listen(kIpv4, 7000));
}

TEST_F(SocketTest, ADestroyedClientIsADisconnect) {
  {
    sim::Client client;
    connected(client);
  }
  doEvents();
  EXPECT_EQ(events, "C0 ");
}

TEST_F(SocketTest, ResetClosesEverySocketSilently) {
  sim::Client client;
  SocketControl& socket = connected(client);
  client.send("x");
  sim::reset();
  doEvents();
  EXPECT_EQ(events, "");
  EXPECT_FALSE(socket.isOpen());
  EXPECT_FALSE(listener.isOpen());
  EXPECT_TRUE(listener.listen(kIpv4, 7000));
}

}  // namespace
}  // namespace vornelle

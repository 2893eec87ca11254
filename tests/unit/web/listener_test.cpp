#include "web/listener.h"

#include <utility>
#include <vector>

#include "pages/message_page.h"
#include "tests/unit/web/web_test_support.h"
#include "web/request.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ListenerStartTest : public SimTest {
 protected:
  static void startOn(std::int32_t port) {
    settings.httpPort = port;
    listenerStart();
  }
};

TEST_F(ListenerStartTest, ListensOnTheConfiguredPortOfTheLoopbackAddressOnly) {
  startOn(7000);
  EXPECT_EQ(sim::listeningPort(LoopbackAddress::ipv4), 7000);
  EXPECT_EQ(sim::listeningPort(LoopbackAddress::ipv6), 0);
  EXPECT_EQ(listenerPort(), 7000);
  EXPECT_THAT(sim::shell().messageBoxes, IsEmpty());
}

TEST_F(ListenerStartTest, PortZeroCountsAsEighty) {
  startOn(0);
  EXPECT_EQ(listenerPort(), 80);
  EXPECT_EQ(settings.httpPort, 80);
}

TEST_F(ListenerStartTest, WalksUpwardPastTakenPortsAndLeavesTheSettingAlone) {
  sim::occupyPort(LoopbackAddress::ipv4, 7000);
  sim::occupyPort(LoopbackAddress::ipv4, 7001);
  startOn(7000);
  EXPECT_EQ(listenerPort(), 7002);
  EXPECT_EQ(settings.httpPort, 7002);
  EXPECT_EQ(settings.HTTP_PORT_CFG, "7000");
}

TEST_F(ListenerStartTest, WalksUpwardFromEightyForPortZero) {
  sim::occupyPort(LoopbackAddress::ipv4, 80);
  startOn(0);
  EXPECT_EQ(settings.httpPort, 81);
}

TEST_F(ListenerStartTest, TheWalkEndsAtTheLastPortWithAMessageBoxAndTheProgramGoesOn) {
  sim::occupyPort(LoopbackAddress::ipv4, 65534);
  sim::occupyPort(LoopbackAddress::ipv4, 65535);
  startOn(65534);
  EXPECT_THAT(sim::shell().messageBoxes, ElementsAre("Error on loading winsock."));
  EXPECT_EQ(listenerPort(), 0);
}

TEST_F(ListenerStartTest, TheMessageThatThereIsNoPortHasAnInformationIcon) {
  startOn(65536);
  EXPECT_THAT(sim::shell().messageIcons, ElementsAre(MessageIcon::information));
}

TEST_F(ListenerStartTest, APortAboveTheLastOneFailsAtOnce) {
  startOn(65536);
  EXPECT_THAT(sim::shell().messageBoxes, ElementsAre("Error on loading winsock."));
  EXPECT_EQ(listenerPort(), 0);
  EXPECT_EQ(settings.httpPort, 65536);
}

TEST_F(ListenerStartTest, ANegativePortWalksUpToTheFirstOne) {
  startOn(-2147483647);
  EXPECT_EQ(listenerPort(), 1);
}

TEST_F(ListenerStartTest, SetsTheServersValues) {
  webServer = WebServer{7, 8, 9, "x", "y"};
  startOn(7000);
  EXPECT_EQ(webServer.socketIndex, 0);
  EXPECT_EQ(webServer.activeRequests, 0);
  EXPECT_EQ(webServer.maxRequests, 100);
  EXPECT_EQ(webServer.defaultPage, "index.htm");
  EXPECT_EQ(webServer.notFoundText, notFoundPage());
}

TEST_F(ListenerStartTest, WithoutAPortTheValuesAreSetAllTheSame) {
  startOn(65536);
  EXPECT_EQ(webServer.maxRequests, 100);
  EXPECT_EQ(webServer.notFoundText, notFoundPage());
}

TEST_F(ListenerTest, ARequestIsAnsweredLoggedAndItsConnectionClosed) {
  sim::Client client = connected();
  client.send(kLogout);
  sim::advance(0);
  EXPECT_EQ(client.received(), kLogoutAnswer);
  EXPECT_TRUE(client.closedByServer());
  EXPECT_EQ(form1.requestPath, "");
  EXPECT_EQ(webServer.activeRequests, 0);
  EXPECT_EQ(webServer.socketIndex, 1);
  EXPECT_EQ(logged("logout.cgi request complete!"), 1);
  EXPECT_FALSE(form1.TimerWS_Timeout.enabled());
}

TEST_F(ListenerTest, TheLogLineOfACompletedRequestShowsThePathAsRewritten) {
  get("/");
  EXPECT_EQ(logged("index.htm request complete!"), 1);
}

TEST_F(ListenerTest, ACompletedRequestIsLoggedBeforeItsConnectionIsClosed) {
  sim::Client client = connected();
  bool closedThen = true;
  form1.LogWindow.onAppend = [&](std::string_view line) {
    if (line.ends_with("logout.cgi request complete!\r\n")) closedThen = client.closedByServer();
  };
  client.send(kLogout);
  sim::advance(0);
  EXPECT_FALSE(closedThen);
  EXPECT_TRUE(client.closedByServer());
}

TEST_F(ListenerTest, TheTimersTickSaysThatTheTimeIsOverAndLeavesTheTimerOn) {
  form1.TimerWS_Timeout.setEnabled(true);
  form1.TimerWS_Timeout.onTick();
  EXPECT_TRUE(form1.wsTimedOut);
  EXPECT_TRUE(form1.TimerWS_Timeout.enabled());
}

TEST_F(ListenerTest, ManyRequestsOneAfterTheOther) {
  for (int i = 1; i <= 300; ++i) {
    ASSERT_EQ(answerTo(kLogout), kLogoutAnswer);
    ASSERT_EQ(webServer.socketIndex, i);
    ASSERT_EQ(webServer.activeRequests, 0);
    ASSERT_LE(loadedConnections(), 1u);
  }
}

TEST_F(ListenerTest, AConnectionThatNeverSendsALineEndsItsWaitAfterThirtySecondsAndStaysOpen) {
  sim::Client silent = connected();
  // The handler waits inside the event loop, so what happens meanwhile is looked at from inside it.
  std::vector<int> active;
  for (const int at : {29999, 30001}) {
    sim::after(at, [&] { active.push_back(webServer.activeRequests); });
  }
  sim::advance(31000);
  EXPECT_THAT(active, ElementsAre(1, 0));
  EXPECT_TRUE(form1.wsTimedOut);
  EXPECT_FALSE(form1.TimerWS_Timeout.enabled());
  EXPECT_EQ(silent.received(), "");
  EXPECT_FALSE(silent.closedByServer());
}

TEST_F(ListenerTest, TheServerGoesOnAfterATimeOut) {
  sim::Client silent = connected();
  sim::advance(31000);
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
  EXPECT_FALSE(form1.wsTimedOut);
}

TEST_F(ListenerTest, ARequestMayComeLateWithinTheThirtySeconds) {
  sim::Client slow = connected();
  sim::after(29999, [&] { slow.send(kLogout); });
  sim::advance(30000);
  EXPECT_EQ(slow.received(), kLogoutAnswer);
}

TEST_F(ListenerTest, TheNextConnectionStartsTheThirtySecondsAnew) {
  sim::Client first = connected();
  sim::Client second;
  std::vector<int> active;
  sim::after(20000, [&] { second = connected(); });
  for (const int at : {30500, 49999, 50001}) {
    sim::after(at, [&] { active.push_back(webServer.activeRequests); });
  }
  sim::advance(51000);
  EXPECT_THAT(active, ElementsAre(2, 2, 0));
}

TEST_F(ListenerTest, UnreadableRequestsGetNoAnswer) {
  for (const char* const request :
       {"HEAD / HTTP/1.0\r\n\r\n", "get / HTTP/1.0\r\n\r\n", "GET /index.htm", "\r\n"}) {
    sim::Client client = connected();
    client.send(request);
    sim::advance(31000);
    EXPECT_EQ(client.received(), "") << request;
    EXPECT_FALSE(client.closedByServer()) << request;
    EXPECT_EQ(webServer.activeRequests, 0);
  }
}

TEST_F(ListenerTest, ARequestLineInTwoPiecesIsLost) {
  sim::Client client = connected();
  client.send("GET /logo");
  sim::after(10, [&] { client.send("ut.cgi HTTP/1.0\r\n\r\n"); });
  sim::advance(31000);
  EXPECT_EQ(client.received(), "");
  EXPECT_EQ(form1.requestText, "ut.cgi HTTP/1.0\r\n\r\n");
}

TEST_F(ListenerTest, ALaterPieceOfTheBodyReplacesTheRequestsText) {
  logIn();
  sim::Client client = connected();
  client.send("POST /logout.cgi HTTP/1.0\r\n\r\na=1&");
  client.send("b=2&");
  sim::advance(0);
  EXPECT_EQ(form1.requestText, "POST /logout.cgi HTTP/1.0\r\n\r\na=1&b=2&");  // both had arrived: one receive

  sim::Client slow = connected();
  slow.send("POST /x.htm HTTP/1.0\r\n\r\na=1&");
  bool once = true;
  form1.LogWindow.onChange = [&] {
    if (!form1.LogWindow.text().ends_with("x.htm request complete!\r\n")) return;
    // Served before the log line's writer closes the connection.
    if (std::exchange(once, false)) slow.send("b=2&");
  };
  sim::advance(0);
  EXPECT_EQ(form1.requestText, "b=2&");
}

TEST_F(ListenerTest, AnAskerThatHasFinishedSendingGetsItsAnswer) {
  sim::Client client = connected();
  client.send(kLogout);
  client.finishSending();
  sim::advance(0);
  EXPECT_EQ(client.received(), kLogoutAnswer);
}

}  // namespace
}  // namespace vornelle

// Connections that die: whose wait ends when, and what is released.
#include <vector>

#include "tests/unit/web/web_test_support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;

TEST_F(ListenerTest, AConnectionWhosePeerGoesWithoutARequestEndsItsWait) {
  sim::Client client = connected();
  sim::after(100, [&] { client.disconnect(); });
  sim::after(101, [&] { EXPECT_EQ(webServer.activeRequests, 0); });
  sim::advance(200);
  EXPECT_FALSE(form1.TimerWS_Timeout.enabled());
  EXPECT_EQ(form1.LogWindow.text(), "");
}

TEST_F(ListenerTest, AnOlderConnectionWhosePeerGoesEndsItsWaitAsSoonAsTheNewerOnesHaveEnded) {
  sim::Client older = connected();
  sim::Client newer;
  sim::after(100, [&] { newer = connected(); });
  sim::after(200, [&] { older.disconnect(); });
  sim::after(300, [&] { newer.disconnect(); });
  sim::after(301, [&] { EXPECT_EQ(webServer.activeRequests, 0); });
  sim::advance(400);
  EXPECT_EQ(loadedConnections(), 1u);
}

TEST_F(ListenerTest, DeadConnectionsAreReleased) {
  for (int i = 0; i < 2000; ++i) {
    sim::Client client = connected();
    if (i % 3 == 0) client.send("rubbish");
    i % 2 == 0 ? client.disconnect() : client.reset();
    sim::advance(10);
    ASSERT_LE(loadedConnections(), 1u);
    ASSERT_EQ(webServer.activeRequests, 0);
  }
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
}

TEST_F(ListenerTest, ATimedOutConnectionIsReleasedOnceItsPeerGoes) {
  std::vector<sim::Client> silent;
  silent.reserve(50);
  for (int i = 0; i < 50; ++i) silent.push_back(connected());
  sim::advance(31000);
  EXPECT_EQ(loadedConnections(), 50u);
  silent.clear();
  sim::advance(0);
  EXPECT_EQ(loadedConnections(), 1u);  // the newest one may still be sent to
}

TEST_F(ListenerTest, ADeadOlderConnectionDoesNotTakeTheOthersTimeOutAway) {
  sim::Client silent = connected();
  sim::Client dead;
  sim::after(10000, [&] { dead = connected(); });
  sim::after(11000, [&] { dead.disconnect(); });
  std::vector<int> active;
  for (const int at : {12000, 41001}) {
    sim::after(at, [&] { active.push_back(webServer.activeRequests); });
  }
  sim::advance(42000);
  EXPECT_THAT(active, ElementsAre(1, 0));
}

TEST_F(ListenerTest, AnOlderConnectionThatHasAskedAndFinishedSendingIsKeptUntilItsSendIsComplete) {
  sim::Client older = reluctant();
  older.send(kLogout);
  older.finishSending();
  sim::advance(0);
  sim::Client newer;
  sim::after(100, [&] { newer = connected(); });
  sim::after(200, [&] { older.takeMore(1000); });
  sim::advance(300);
  EXPECT_EQ(older.received(), kLogoutAnswer);
  EXPECT_EQ(logged("logout.cgi request complete!"), 1);
  EXPECT_EQ(form1.requestPath, "");
}

TEST_F(ListenerTest, ALateRequestOnATimedOutConnectionIsTakenByTheNextOne) {
  sim::Client late = connected();
  sim::advance(31000);
  late.send(kLogout);
  sim::advance(0);
  EXPECT_EQ(form1.requestPath, "/logout.cgi");
  sim::Client next = connected();
  sim::advance(0);
  EXPECT_EQ(next.received(), kLogoutAnswer);
  EXPECT_EQ(late.received(), "");
}

}  // namespace
}  // namespace vornelle

// Connections that overlap or linger: who gets an answer and whose wait ends when.
#include <utility>
#include <vector>

#include "platform/events.h"
#include "tests/unit/web/web_test_support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// ---- overlapping connections ----

TEST_F(ListenerTest, ARequestIsServedWhileAnOlderConnectionIsSilent) {
  sim::Client silent = connected();
  sim::Client asking;
  sim::after(100, [&] {
    asking = connected();
    asking.send(kLogout);
  });
  sim::advance(200);
  EXPECT_EQ(asking.received(), kLogoutAnswer);
  EXPECT_TRUE(asking.closedByServer());
  EXPECT_EQ(silent.received(), "");
  EXPECT_EQ(logged("Logout"), 1);
}

TEST_F(ListenerTest, TheAnswerGoesToTheNewestConnectionWhicheverHasAsked) {
  sim::Client older = connected();
  sim::Client newer = connected();
  older.send(kLogout);
  sim::advance(0);
  EXPECT_EQ(newer.received(), kLogoutAnswer);
  EXPECT_TRUE(newer.closedByServer());
  EXPECT_EQ(older.received(), "");
  EXPECT_FALSE(older.closedByServer());
  EXPECT_EQ(logged("Logout"), 1);
}

TEST_F(ListenerTest, AConnectionThatComesWhileARequestIsWorkedOnTakesItsPath) {
  sim::Client first = connected();
  sim::Client second;
  bool once = true;
  form1.LogWindow.onChange = [&] {
    if (std::exchange(once, false)) second = connected();  // in the middle of the logout, before its answer
  };
  first.send(kLogout);
  sim::advance(0);
  EXPECT_EQ(logged("Logout"), 2);
  EXPECT_EQ(second.received(), kLogoutAnswer);
  EXPECT_TRUE(second.closedByServer());
  EXPECT_EQ(first.received(), "");  // the newest connection was closed when the older handler came to send
  EXPECT_EQ(form1.requestPath, "");
  EXPECT_EQ(webServer.activeRequests, 0);
}

TEST_F(ListenerTest, SilentConnectionsBelowAServedOneStillEndAfterThirtySeconds) {
  sim::Client silent = connected();
  sim::Client asking;
  sim::after(10000, [&] {
    asking = connected();
    asking.send(kLogout);
  });
  std::vector<int> active;
  for (const int at : {39999, 40001}) {
    sim::after(at, [&] { active.push_back(webServer.activeRequests); });
  }
  sim::advance(41000);
  EXPECT_EQ(asking.received(), kLogoutAnswer);
  EXPECT_THAT(active, ElementsAre(1, 0));
  EXPECT_FALSE(form1.TimerWS_Timeout.enabled());
}

TEST_F(ListenerTest, TheHundredthSimultaneousRequestIsDroppedYetUsesAnIndexUp) {
  std::vector<sim::Client> clients;
  clients.reserve(99);
  for (int i = 0; i < 99; ++i) clients.push_back(connected());
  std::vector<std::int32_t> seen;
  sim::Client hundredth;
  sim::after(1000, [&] {
    seen = {webServer.activeRequests, webServer.socketIndex};
    hundredth = connected();
    hundredth.send(kLogout);
  });
  sim::after(2000, [&] {
    seen.push_back(webServer.activeRequests);
    seen.push_back(webServer.socketIndex);
  });
  sim::advance(60000);
  EXPECT_THAT(seen, ElementsAre(99, 99, 99, 100));
  EXPECT_EQ(hundredth.received(), "");
  EXPECT_TRUE(hundredth.closedByServer());  // nobody accepted it
  EXPECT_EQ(logged("Logout"), 0);
  for (const sim::Client& client : clients) EXPECT_FALSE(client.closedByServer());

  // All waits have ended with the time-out.
  EXPECT_EQ(webServer.activeRequests, 0);
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
  EXPECT_EQ(webServer.socketIndex, 101);
}

TEST_F(ListenerTest, AFullHouseGoesAwayByItself) {
  // Each silent connection is followed by a served one, whose handler stops the time-out.
  std::vector<sim::Client> silent;
  for (int i = 0; i < 99; ++i) {
    sim::after(100 * i, [&] {
      silent.push_back(connected());
      sim::Client asking = connected();
      asking.send(kLogout);
      doEvents();
    });
  }
  sim::advance(45000);
  EXPECT_EQ(webServer.activeRequests, 0);
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
}

// ---- an answer under way ----

TEST_F(ListenerTest, AHandlerThatStillWaitsDoesNotRunARequestAgainWhoseAnswerIsUnderWay) {
  sim::Client silent = connected();
  sim::Client asking;
  sim::after(100, [&] {
    asking = reluctant();
    asking.send(kLogout);
  });
  sim::after(200, [&] {
    EXPECT_EQ(form1.requestPath, "logout.cgi");  // busy until the send is complete
    EXPECT_EQ(logged("logout.cgi request complete!"), 0);
    asking.takeMore(1000);
  });
  sim::advance(300);
  EXPECT_EQ(logged("Logout"), 1);
  EXPECT_EQ(asking.received(), kLogoutAnswer);
  EXPECT_EQ(logged("logout.cgi request complete!"), 1);
  EXPECT_EQ(form1.requestPath, "");
  EXPECT_EQ(silent.received(), "");
}

TEST_F(ListenerTest, ANewConnectionDoesNotRunARequestAgainWhoseAnswerIsUnderWay) {
  sim::Client asking = reluctant();
  asking.send(kLogout);
  sim::advance(0);
  sim::Client spare = connected();
  sim::advance(31000);
  EXPECT_EQ(logged("Logout"), 1);
  EXPECT_EQ(spare.received(), "");
}

TEST_F(ListenerTest, AnAnswerThatNobodyTakesDoesNotKeepOtherRequestsWaiting) {
  sim::Client stuck = reluctant();
  stuck.send(kLogout);
  sim::advance(0);
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
  EXPECT_EQ(logged("Logout"), 2);
  EXPECT_EQ(form1.requestPath, "");
}

TEST_F(ListenerTest, AConnectionLostInMidAnswerLeavesNoRequestBehind) {
  sim::Client asking = reluctant();
  asking.send(kLogout);
  sim::advance(0);
  asking.reset();
  sim::advance(0);
  EXPECT_EQ(form1.requestPath, "");
  EXPECT_EQ(logged("logout.cgi request complete!"), 1);
  sim::Client spare = connected();
  sim::advance(31000);
  EXPECT_EQ(logged("Logout"), 1);
  EXPECT_EQ(spare.received(), "");
}

TEST_F(ListenerTest, AnAskerThatGoesBeforeItsAnswerLeavesNoRequestBehind) {
  for (const bool reset : {false, true}) {
    form1.LogWindow.setText("");
    sim::Client asking = connected();
    bool once = true;
    form1.LogWindow.onChange = [&] {
      if (std::exchange(once, false)) reset ? asking.reset() : asking.disconnect();
    };
    asking.send(kLogout);
    sim::advance(0);
    EXPECT_EQ(form1.requestPath, "");
    sim::Client spare = connected();
    sim::advance(31000);
    EXPECT_EQ(logged("Logout"), 1);
    EXPECT_EQ(spare.received(), "");
    form1.LogWindow.onChange = nullptr;
  }
}

TEST_F(ListenerTest, TheCompletedSendOfAnOlderConnectionClosesTheNewestOne) {
  sim::Client older = reluctant();
  older.send(kLogout);
  sim::advance(0);
  sim::Client newer;
  sim::after(100, [&] { newer = connected(); });
  sim::after(200, [&] { older.takeMore(1000); });
  sim::advance(300);
  EXPECT_EQ(older.received(), kLogoutAnswer);
  EXPECT_FALSE(older.closedByServer());
  EXPECT_TRUE(newer.closedByServer());
  EXPECT_EQ(newer.received(), "");
}

TEST_F(ListenerTest, ASendThatIsCompleteWithNoRequestPendingIsLoggedAndClosesNothing) {
  sim::Client older = reluctant();
  older.send(kLogout);
  sim::advance(0);
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);  // the newer answer's completion has emptied the path
  sim::Client newest;
  sim::after(100, [&] { newest = connected(); });
  sim::after(200, [&] { older.takeMore(1000); });
  sim::advance(300);
  EXPECT_EQ(older.received(), kLogoutAnswer);
  EXPECT_EQ(logged(" request complete!"), 1);
  EXPECT_FALSE(newest.closedByServer());
}

// ---- past the last index ----

TEST_F(ListenerTest, TheLastIndexStillWorks) {
  webServer.socketIndex = 32766;
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
  EXPECT_EQ(webServer.socketIndex, 32767);
}

TEST_F(ListenerTest, PastTheLastIndexRequestsGetNoAnswerSilently) {
  webServer.socketIndex = 32767;
  for (int i = 1; i <= 3; ++i) {
    sim::Client client = connected();
    client.send(kLogout);
    sim::after(29000,
               [] { EXPECT_EQ(webServer.activeRequests, 1); });  // the handler's steps go on all the same
    sim::advance(31000);
    EXPECT_EQ(client.received(), "");
    EXPECT_EQ(webServer.socketIndex, 32767 + i);
    EXPECT_EQ(webServer.activeRequests, 0);
  }
  EXPECT_EQ(logged("Logout"), 0);
  EXPECT_THAT(sim::shell().messageBoxes, IsEmpty());
}

TEST_F(ListenerTest, ARequestWhoseAnswerCannotBeSentIsNotRunAgain) {
  webServer.socketIndex = 32766;
  sim::Client older = connected();  // the last one that can be accepted
  sim::Client newest;
  sim::after(100, [&] { newest = connected(); });
  sim::after(200, [&] { older.send(kLogout); });
  sim::after(300, [&] { EXPECT_EQ(form1.requestPath, ""); });
  sim::advance(40000);
  EXPECT_EQ(logged("Logout"), 1);
  EXPECT_EQ(older.received(), "");
  EXPECT_EQ(form1.requestPath, "");
}

TEST_F(ListenerTest, ARequestThatCameMeanwhileStaysWhenAnAnswerCannotBeSent) {
  webServer.socketIndex = 32765;
  sim::Client oldest = connected();
  sim::Client older = connected();
  sim::Client newest;
  bool once = true;
  sim::after(100, [&] { newest = connected(); });
  sim::after(200, [&] {
    older.send(kLogout);
    form1.LogWindow.onChange = [&] {
      if (std::exchange(once, false)) oldest.send("GET /index.htm HTTP/1.0\r\n\r\n");
    };
  });
  sim::advance(40000);
  EXPECT_EQ(logged("Logout"), 1);
  // The older handler has found the second request and made the page; it could not be sent either.
  EXPECT_EQ(sim::shell().downloadedUrls.size(), 1u);
  EXPECT_EQ(form1.requestPath, "");
}

}  // namespace
}  // namespace vornelle

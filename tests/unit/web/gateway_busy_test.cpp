// The gateway while something is under way: what is served in the middle of it, what waits, what shows how
// far it is.
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/activity.h"
#include "core/form1.h"
#include "mail/mail_component.h"
#include "platform/clock.h"
#include "platform/modGoToSleep.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/web/gateway_test_support.h"
#include "web/listener.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class BusyGateway : public GatewayTest {
 protected:
  BusyGateway() {
    form1.sessionId = "SESSION";
    makeFile("\\data\\progress.htm", "<p><!--SSPROGRESS--></p>[<!--SSSESSION-->]");
  }
  static std::string live(const std::string& page) { return get("/" + page + "?s=SESSION"); }
};

TEST_F(BusyGateway, PagesOfFilesAreServedInTheMiddleOfAnAction) {
  std::string list, settingsPage, held, source, icon;
  meanwhile_ = [&] {
    list = ask(live("displayfriendlist.htm"));
    settingsPage = ask(live("config.htm"));
    held = ask(get("/displayinbox.htm?s=SESSION&MSG=15"));
    source = ask(get("/displayspam.cgi?fn=x.txt&s=SESSION"));
    icon = ask(get("/vornelle.ico"));
  };
  const std::string action = ask(live("mailfilter.cgi"));
  for (const std::string& answer : {list, settingsPage, held, icon})
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(source, StartsWith("HTTP/1.1 303"));
  EXPECT_EQ(body(list), "<p>GET /displayfriendlist.htm?s=SESSION</p>\r\n");
  EXPECT_EQ(body(action), "<p>GET /mailfilter.cgi?s=SESSION</p>\r\n");
}

TEST_F(BusyGateway, ActionsWaitForItsEndInTheirOrder) {
  sim::Client one = open(), two = open(), page = open();
  meanwhile_ = [&] {
    one.send(live("add2white.cgi"));
    doEvents();
    two.send(live("add2black.cgi"));
    doEvents();
    page.send(live("config.htm"));
    doEvents();
    EXPECT_THAT(one.received(), IsEmpty());
    EXPECT_THAT(two.received(), IsEmpty());
    EXPECT_THAT(page.received(), StartsWith("HTTP/1.1 200"));
  };
  ask(live("mailfilter.cgi"));
  EXPECT_THAT(requestsTaken(), ElementsAre("GET /mailfilter.cgi?s=SESSION", "GET /config.htm?s=SESSION",
                                           "GET /add2white.cgi?s=SESSION", "GET /add2black.cgi?s=SESSION"));
  EXPECT_THAT(two.received(), StartsWith("HTTP/1.1 200"));
}

TEST_F(BusyGateway, APageThatTakesTheMailComponentShowsHowFarItIsAfterAMoment) {
  for (const char* target : {"/displayinbox.htm?s=SESSION", "/displayspambox.htm?s=SESSION&msg=-1",
                             "/displayemail.cgi?uidl=1&s=SESSION"}) {
    sim::Client inbox = open();
    meanwhile_ = [&] {
      Activity run(Task::filterRun);
      run.step(120, 500);
      inbox.send(get(target));
      doEvents();
      EXPECT_THAT(inbox.received(), IsEmpty()) << target;
      sim::advance(kGatewayProgressMilliseconds + 50);
      EXPECT_EQ(body(inbox.received()), "<p>Filtering: 120 of 500</p>[SESSION]") << target;
    };
    ask(live("mailfilter.cgi"));
    EXPECT_THAT(requestsTaken(), ElementsAre("GET /mailfilter.cgi?s=SESSION")) << target;
    taken_.clear();
  }
}

// Its boxes carry numbers, and the listing would put other messages under them.
TEST_F(BusyGateway, NoHeldListingOvertakesAFormThatGoesByItsRows) {
  for (const std::string form : {"delete.cgi", "deleterestore.cgi"}) {
    sim::Client deletion = open(), held = open();
    std::string list;
    meanwhile_ = [&] {
      const Activity run(Task::filterRun);
      deletion.send(post("/" + form + "?s=SESSION", "SUBMIT3=DELETE&D0=1&END=1"));
      doEvents();
      held.send(get("/displayspambox.htm?s=SESSION&MSG=0"));
      list = ask(live("displayfriendlist.htm"));
      EXPECT_THAT(held.received(), IsEmpty());
      sim::advance(kGatewayProgressMilliseconds + 50);
      EXPECT_EQ(body(held.received()), "<p>Filtering</p>[SESSION]");
    };
    ask(live("mailfilter.cgi"));
    EXPECT_THAT(list, StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(requestsTaken(),
                ElementsAre("GET /mailfilter.cgi?s=SESSION", "GET /displayfriendlist.htm?s=SESSION",
                            "POST /" + form + "?s=SESSION"));
    taken_.clear();
  }
}

TEST_F(BusyGateway, OtherActionsThatWaitHoldUpNoHeldListing) {
  sim::Client action = open();
  meanwhile_ = [&] {
    action.send(live("add2white.cgi"));
    doEvents();
    EXPECT_THAT(ask(get("/displayspambox.htm?s=SESSION&MSG=0")), StartsWith("HTTP/1.1 200"));
  };
  ask(live("mailfilter.cgi"));
}

TEST_F(BusyGateway, WhatIsOverInAMomentShowsNoProgress) {
  sim::Client inbox = open();
  meanwhile_ = [&] {
    inbox.send(live("displayinbox.htm"));
    sim::advance(300);
  };
  ask(live("mailfilter.cgi"));
  EXPECT_EQ(body(inbox.received()), "<p>GET /displayinbox.htm?s=SESSION</p>\r\n");
}

TEST_F(BusyGateway, ATaskThatTheTimerHasBegunIsWaitedForToo) {
  sim::Client action = open();
  {
    const Activity run(Task::filterRun);
    action.send(live("add2white.cgi"));
    sim::advance(1000);
    EXPECT_THAT(action.received(), IsEmpty());
    EXPECT_THAT(ask(live("config.htm")), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(ask(get("/login.cgi")), StartsWith("HTTP/1.1 200"));
  }
  sim::advance(100);
  EXPECT_THAT(action.received(), StartsWith("HTTP/1.1 200"));
}

TEST_F(BusyGateway, OnePageIsBuiltInTheMiddleAtATime) {
  sim::Client second = open();
  meanwhile_ = [&] {
    meanwhile_ = [&] {
      second.send(live("config.htm"));
      doEvents();
      EXPECT_THAT(second.received(), IsEmpty());
    };
    ask(live("displayfriendlist.htm"));
    sim::advance(60);
    EXPECT_THAT(second.received(), StartsWith("HTTP/1.1 200"));
  };
  ask(live("mailfilter.cgi"));
}

TEST_F(BusyGateway, TheStatusIsToldAtAnyTimeAndAsksNothingOfTheProgram) {
  std::string status;
  meanwhile_ = [&] {
    Activity run(Task::filterRun);
    run.step(3, 9);
    meanwhile_ = [&] { status = ask(live("status.json")); };
    ask(live("config.htm"));
  };
  ask(live("mailfilter.cgi"));
  EXPECT_THAT(status, HasSubstr("\r\nContent-Type: application/json\r\n"));
  EXPECT_THAT(status, HasSubstr("\"underWay\": {\"task\": \"filterRun\", \"text\": \"Filtering: 3 of 9\", "
                                "\"done\": 3, \"total\": 9}"));
  EXPECT_EQ(taken_.size(), 2u);
}

// A task in the middle of a wait for its mail server, as long as `meanwhile` runs.
class GatewayInAWait : public BusyGateway {
 protected:
  GatewayInAWait() {
    drop_.mails = {{"one", "Subject: x\r\n\r\nx\r\n"}};
    drop_.serve("mail.example");
    settings.POP_SERVER = "mail.example";
  }
  ~GatewayInAWait() override { currentMail.reset(); }
  GatewayInAWait(const GatewayInAWait&) = delete;
  GatewayInAWait& operator=(const GatewayInAWait&) = delete;

  // What the mail server does when that command comes; its answer is awaited behind it.
  void fetchHeaders(const std::string& verb, const std::function<void()>& happens) {
    drop_.onCommand = [&](const std::string& line) {
      if (line.starts_with(verb)) happens();
    };
    ASSERT_TRUE(newPopComponent().popConnect());
    EXPECT_TRUE(currentMail->popGetHeaderList(1));
    drop_.onCommand = nullptr;
  }

  SimMaildrop drop_;
};

TEST_F(GatewayInAWait, PagesOfFilesAreServedInItsMiddle) {
  for (const char* verb : {"LIST", "UIDL", "TOP"}) {
    sim::Client list = open(), status = open();
    std::size_t taken = 0;
    fetchHeaders(verb, [&] {
      if (taken > 0) return;
      list.send(live("displayfriendlist.htm"));
      status.send(live("status.json"));
      taken = 1;
    });
    EXPECT_THAT(list.received(), StartsWith("HTTP/1.1 200")) << verb;
    EXPECT_THAT(status.received(), StartsWith("HTTP/1.1 200")) << verb;
  }
}

// Nothing says that a task is under way; it is there all the same.
TEST_F(GatewayInAWait, WhatWouldTakeTheMailComponentAndActionsWaitForItsEnd) {
  sim::Client inbox = open(), action = open();
  fetchHeaders("TOP", [&] {
    inbox.send(live("displayinbox.htm"));
    action.send(live("mailfilter.cgi"));
  });
  EXPECT_THAT(requestsTaken(), IsEmpty());
  sim::advance(100);
  EXPECT_THAT(requestsTaken(),
              ElementsAre("GET /displayinbox.htm?s=SESSION", "GET /mailfilter.cgi?s=SESSION"));
}

TEST_F(GatewayInAWait, ProgressIsShownInItsMiddleToo) {
  sim::Client inbox = open();
  const Activity run(Task::filterRun);
  fetchHeaders("LIST", [&] { inbox.send(live("displayinbox.htm")); });
  EXPECT_THAT(inbox.received(), IsEmpty());
  pause(kGatewayProgressMilliseconds);  // nothing ticks
  EXPECT_TRUE(currentMail->popGetHeaderList(1));
  EXPECT_EQ(body(inbox.received()), "<p>Filtering</p>[SESSION]");
}

// A browser, or what else runs on this machine, may ask for as many pages as it likes.
TEST_F(GatewayInAWait, TheServerWaitsForAPageOrTwoHoweverManyAreAskedFor) {
  for (const bool queued : {false, true}) {
    std::vector<sim::Client> clients;
    clients.reserve(20);
    for (int i = 0; i < 20; ++i) clients.push_back(open());
    const std::function<void()> slowPage = [&] {
      if (queued) doEvents();
      pause(100);
      meanwhile_ = slowPage;
    };
    meanwhile_ = slowPage;
    std::vector<std::int64_t> times;  // at which commands have come
    fetchHeaders("", [&] {
      times.push_back(monotonicMilliseconds());
      if (times.size() > 1) return;
      for (sim::Client& client : clients) client.send(live("displayfriendlist.htm"));
    });
    ASSERT_GT(times.size(), 1u);
    EXPECT_LE(times[1] - times[0], 300) << queued;
    doEvents();
    sim::advance(10000);
    EXPECT_EQ(requestsTaken().size(), 20u);  // in their time
    taken_.clear();
    meanwhile_ = nullptr;
  }
}

TEST_F(GatewayInAWait, TimersAndThePlainWireWaitForItsEndEvenBehindAPage) {
  listenerStart();
  sim::Client plain, list = open();
  int ticks = 0;
  Timer timer(1, true);
  timer.onTick = [&] { ++ticks; };
  meanwhile_ = [&] {
    pause(5);
    doEvents();
    EXPECT_EQ(ticks, 0);
    EXPECT_EQ(webServer.socketIndex, 0);
  };
  fetchHeaders("TOP", [&] {
    ASSERT_TRUE(plain.connect(LoopbackAddress::ipv4, settings.httpPort));
    list.send(live("displayfriendlist.htm"));
  });
  EXPECT_EQ(requestsTaken().size(), 1u);
  EXPECT_EQ(webServer.socketIndex, 0);
  plain.disconnect();
  doEvents();
  EXPECT_EQ(webServer.socketIndex, 1);
  EXPECT_GT(ticks, 0);
}

TEST_F(BusyGateway, TheStatusTakesTheLiveSessionAndOurOwnPages) {
  EXPECT_THAT(ask(get("/status.json")), StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(ask(get("/status.json?s=OLD")), StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(ask(get("/status.json?s=SESSION", "Sec-Fetch-Site: cross-site\r\n")),
              StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(ask(get("/status.json?s=SESSION", "Sec-Fetch-Site: same-origin\r\n")),
              StartsWith("HTTP/1.1 200"));
}

TEST_F(BusyGateway, AnEntryIsAskedAboutAtAnyTimeWithTheLiveSessionOnly) {
  std::string answer;
  meanwhile_ = [&] { answer = ask(live("entries.json")); };
  ask(live("mailfilter.cgi"));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Type: application/json\r\n"));
  EXPECT_THAT(answer, HasSubstr("{\"entries\": []"));
  EXPECT_EQ(taken_.size(), 1U);
  EXPECT_THAT(ask(get("/entries.json?s=OLD")), StartsWith("HTTP/1.1 403"));
}

}  // namespace
}  // namespace vornelle

// The gateway while something is under way: what is served in the middle of it, what waits, what shows how
// far it is.
#include <memory>

#include "core/activity.h"
#include "core/form1.h"
#include "tests/unit/web/gateway_test_support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
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

#include "web/gateway.h"

#include <memory>
#include <string>
#include <vector>

#include "core/form1.h"
#include "core/settings.h"
#include "pages/message_page.h"
#include "tests/unit/web/gateway_test_support.h"
#include "web/http_request_parser.h"
#include "web/message_views.h"

namespace vornelle {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST_F(GatewayTest, AnAnswerCarriesStatusTypeLengthAndSecurityFields) {
  const std::string answer = ask(get("/displayinbox.htm?s=X"));
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Type: text/html; charset=windows-1252\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Length: " + std::to_string(body(answer).size()) + "\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nCache-Control: no-store\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nX-Frame-Options: DENY\r\n"));
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Security-Policy: default-src 'none'; "));
  EXPECT_EQ(body(answer), "<p>GET /displayinbox.htm?s=X</p>\r\n");
}

TEST_F(GatewayTest, ARequestIsHandedOverWholeHoweverItCame) {
  sim::Client client = open();
  const std::string request =
      post("/login.cgi", "POP_ACCOUNT=joe&POP_PASSWORD=x&END=1", "Content-Type: text/plain\r\n");
  for (const char c : request) {
    client.send(std::string(1, c));
    doEvents();
  }
  ASSERT_EQ(taken_.size(), 1u);
  EXPECT_THAT(taken_[0], StartsWith("POST /login.cgi HTTP/1.1\r\n"));
  EXPECT_THAT(taken_[0], EndsWith("\r\n\r\nPOP_ACCOUNT=joe&POP_PASSWORD=x&END=1"));
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(GatewayTest, FieldsThatAParameterCouldBeMistakenInAreNotHandedOver) {
  ask(post("/addtolist.cgi", "type=friendlist&", "Cookie: type=stolen&\r\nReferer: http://x/?type=y&\r\n"));
  ASSERT_EQ(taken_.size(), 1u);
  EXPECT_THAT(taken_[0], Not(HasSubstr("stolen")));
  EXPECT_THAT(taken_[0], Not(HasSubstr("Referer")));
  EXPECT_THAT(taken_[0], HasSubstr("Content-Length: 16\r\n"));
}

TEST_F(GatewayTest, OneRequestIsServedAndTheOthersFollowInOrderOfArrival) {
  std::vector<sim::Client> clients;
  clients.reserve(3);
  for (int i = 0; i < 3; ++i) clients.push_back(open());
  meanwhile_ = [&] {
    clients[1].send(get("/1"));
    doEvents();
    clients[2].send(get("/2"));
    doEvents();
    EXPECT_EQ(requestsTaken(), std::vector<std::string>{"GET /0"});
    EXPECT_EQ(gatewayState().waiting, 2u);
    EXPECT_TRUE(gatewayState().serving);
  };
  clients[0].send(get("/0"));
  doEvents();
  EXPECT_EQ(requestsTaken(), (std::vector<std::string>{"GET /0", "GET /1", "GET /2"}));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(body(clients[static_cast<std::size_t>(i)].received()),
              "<p>GET /" + std::to_string(i) + "</p>\r\n");
  }
  EXPECT_FALSE(gatewayState().serving);
}

TEST_F(GatewayTest, SixtyFourWaitAndOneMoreIsRefusedWith503) {
  std::vector<sim::Client> clients;
  meanwhile_ = [&] {
    for (int i = 0; i < kGatewayQueueLimit + 1; ++i) {
      clients.push_back(open());
      clients.back().send(get("/" + std::to_string(i)));
      doEvents();
    }
    EXPECT_EQ(gatewayState().waiting, 64u);
    EXPECT_THAT(clients.back().received(), StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
    EXPECT_THAT(clients[63].received(), IsEmpty());
  };
  ask(get("/first"));
  EXPECT_THAT(clients[63].received(), StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(taken_.size(), 65u);
}

TEST_F(GatewayTest, ABrowserThatGoesAwayWhileItWaitsIsDroppedFromTheQueue) {
  sim::Client first = open(), second = open(), third = open();
  meanwhile_ = [&] {
    second.send(get("/2"));
    third.send(get("/3"));
    doEvents();
    second.disconnect();
    doEvents();
    EXPECT_EQ(gatewayState().waiting, 1u);
  };
  first.send(get("/1"));
  doEvents();
  EXPECT_EQ(requestsTaken(), (std::vector<std::string>{"GET /1", "GET /3"}));
}

TEST_F(GatewayTest, ABrowserThatGoesAwayDuringItsRequestHoldsUpNobody) {
  sim::Client first = open(), second = open();
  meanwhile_ = [&] {
    second.send(get("/2"));
    first.reset();
    doEvents();
    EXPECT_EQ(requestsTaken(), std::vector<std::string>{"GET /1"});  // what has begun is finished
  };
  first.send(get("/1"));
  doEvents();
  EXPECT_EQ(body(second.received()), "<p>GET /2</p>\r\n");
  EXPECT_EQ(gatewayState().connections, 1u);
}

TEST_F(GatewayTest, ConnectionsStayOpenForFurtherRequests) {
  sim::Client client = open();
  client.send(get("/1"));
  doEvents();
  EXPECT_THAT(client.received(), HasSubstr("\r\nConnection: keep-alive\r\n"));
  client.send(get("/2"));
  doEvents();
  EXPECT_THAT(client.received(), EndsWith("<p>GET /2</p>\r\n"));
  EXPECT_FALSE(client.closedByServer());
}

TEST_F(GatewayTest, PipelinedRequestsAreAnsweredInOrder) {
  sim::Client client = open();
  client.send(get("/1") + post("/2", "a=1&") + get("/3"));
  doEvents();
  EXPECT_EQ(requestsTaken(), (std::vector<std::string>{"GET /1", "POST /2", "GET /3"}));
  const std::string& received = client.received();
  EXPECT_LT(received.find("<p>GET /1"), received.find("<p>POST /2"));
  EXPECT_LT(received.find("<p>POST /2"), received.find("<p>GET /3"));
}

TEST_F(GatewayTest, TheConnectionEndsWhereTheClientWantsItAndFor10) {
  for (const std::string& request :
       {get("/", "Connection: close\r\n"), std::string("GET / HTTP/1.0\r\nHost: localhost\r\n\r\n")}) {
    sim::Client client = open();
    client.send(request);
    doEvents();
    EXPECT_THAT(client.received(), HasSubstr("\r\nConnection: close\r\n")) << request;
    EXPECT_TRUE(client.closedByServer()) << request;
  }
  sim::Client client = open();
  client.send("GET / HTTP/1.0\r\nHost: localhost\r\nConnection: Keep-Alive\r\n\r\n");
  doEvents();
  EXPECT_FALSE(client.closedByServer());
}

TEST_F(GatewayTest, HeadGetsTheHeaderOfTheGetAnswerAlone) {
  const std::string answer = ask("HEAD /x HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_EQ(requestsTaken(), std::vector<std::string>{"GET /x"});
  EXPECT_THAT(answer, HasSubstr("\r\nContent-Length: 15\r\n"));
  EXPECT_EQ(body(answer), "");
}

TEST_F(GatewayTest, OtherMethodsAre405) {
  for (const char* request :
       {"PUT / HTTP/1.1\r\nHost: localhost\r\n\r\n", "OPTIONS * HTTP/1.1\r\nHost: localhost\r\n\r\n",
        "CONNECT localhost:7000 HTTP/1.1\r\nHost: localhost\r\n\r\n",
        "get / HTTP/1.1\r\nHost: localhost\r\n\r\n"}) {
    const std::string answer = ask(request);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 405 Method Not Allowed\r\n")) << request;
    EXPECT_THAT(answer, HasSubstr("\r\nAllow: GET, HEAD, POST\r\n")) << request;
  }
  EXPECT_THAT(taken_, IsEmpty());
}

TEST_F(GatewayTest, OnlyThisMachinesOwnNamesAreTaken) {
  const auto host = [](const std::string& value) {
    return ask("GET / HTTP/1.1\r\nHost: " + value + "\r\n\r\n");
  };
  for (const char* own :
       {"localhost", "LocalHost:7000", "127.0.0.1", "127.0.0.1:7000", "[::1]", "[::1]:7000"}) {
    EXPECT_THAT(host(own), StartsWith("HTTP/1.1 200")) << own;
  }
  for (const char* foreign : {"", "evil.example", "localhost.evil.example", "localhost:7001",
                              "localhost:", "127.0.0.1.x", "[::1", "[::1]x", "192.0.2.1:7000"}) {
    EXPECT_THAT(host(foreign), StartsWith("HTTP/1.1 421 Misdirected Request\r\n")) << foreign;
  }
}

TEST_F(GatewayTest, TheAuthorityOfAnAbsoluteTargetTakesThePlaceOfHost) {
  EXPECT_THAT(ask("GET http://localhost:7000/x HTTP/1.1\r\nHost: evil.example\r\n\r\n"),
              StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(requestsTaken(), std::vector<std::string>{"GET /x"});
  EXPECT_THAT(ask("GET http://evil.example/x HTTP/1.1\r\nHost: localhost\r\n\r\n"),
              StartsWith("HTTP/1.1 421"));
}

TEST_F(GatewayTest, ARequestNeedsExactlyOneHost) {
  EXPECT_THAT(ask("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(ask("GET / HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n"),
              StartsWith("HTTP/1.1 400"));
  EXPECT_THAT(ask("GET / HTTP/1.0\r\n\r\n"), StartsWith("HTTP/1.1 421"));
}

TEST_F(GatewayTest, WhatAnotherSiteCausesIsRefusedButForTheStartPage) {
  for (const char* site : {"cross-site", "same-site", "Cross-Site"}) {
    const std::string field = std::string("Sec-Fetch-Site: ") + site + "\r\n";
    EXPECT_THAT(ask(get("/UNLOADME", field)), StartsWith("HTTP/1.1 403 Forbidden\r\n"));
    EXPECT_THAT(ask(get("/logout.cgi", field)), StartsWith("HTTP/1.1 403"));
    EXPECT_THAT(ask(post("/", "x", field)), StartsWith("HTTP/1.1 403"));
    EXPECT_THAT(ask(get("/?x", field)), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(ask(get("/Index.htm", field)), StartsWith("HTTP/1.1 200"));
  }
  for (const char* site : {"same-origin", "none"}) {
    EXPECT_THAT(ask(get("/logout.cgi", std::string("Sec-Fetch-Site: ") + site + "\r\n")),
                StartsWith("HTTP/1.1 200"));
  }
}

TEST_F(GatewayTest, WhereABrowserDoesNotSayTheSiteItsOriginCounts) {
  // "null": a frame that is of no site.
  for (const char* origin :
       {"http://evil.example", "https://localhost:7000", "http://localhost:8000", "null"}) {
    const std::string field = std::string("Origin: ") + origin + "\r\n";
    EXPECT_THAT(ask(post("/login.cgi", "x", field)), StartsWith("HTTP/1.1 403")) << origin;
  }
  EXPECT_THAT(ask(post("/login.cgi", "x", "Origin: http://localhost:7000\r\n")), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(ask(post("/login.cgi", "x", "Sec-Fetch-Site: same-origin\r\nOrigin: null\r\n")),
              StartsWith("HTTP/1.1 200"));
}

TEST_F(GatewayTest, EndingTheProgramAndLoggingOutTakeOurPageOrTheUser) {
  for (const char* target : {"/UNLOADME", "/unloadme?x", "/logout.cgi", "/LOGOUT.CGI"}) {
    EXPECT_THAT(ask(get(target)), StartsWith("HTTP/1.1 403")) << target;
    EXPECT_THAT(ask(get(target, "Sec-Fetch-Site: none\r\n")), StartsWith("HTTP/1.1 200")) << target;
    EXPECT_THAT(ask(get(target, "Sec-Fetch-Site: same-origin\r\n")), StartsWith("HTTP/1.1 200")) << target;
  }
}

TEST_F(GatewayTest, WhatAsksForAnotherProtocolIsRefused) {
  for (const char* fields :
       {"Connection: Upgrade\r\nUpgrade: websocket\r\nOrigin: null\r\n",
        "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-Fetch-Site: same-origin\r\n"}) {
    EXPECT_THAT(ask(get("/logout.cgi", fields)), StartsWith("HTTP/1.1 403")) << fields;
    EXPECT_THAT(ask(get("/", fields)), StartsWith("HTTP/1.1 403")) << fields;
  }
  EXPECT_THAT(taken_, IsEmpty());
}

TEST_F(GatewayTest, APageLoadedAheadOnAGuessDoesNotAct) {
  for (const std::string field :
       {"Sec-Purpose: prefetch\r\n", "Sec-Purpose: prefetch;prerender\r\n", "Purpose: prefetch\r\n",
        "X-Moz: prefetch\r\n", "Sec-Purpose: prefetch;prerender\r\nSec-Fetch-Site: none\r\n"}) {
    EXPECT_THAT(ask(get("/logout.cgi", field)), StartsWith("HTTP/1.1 503")) << field;
  }
  EXPECT_THAT(taken_, IsEmpty());
}

TEST_F(GatewayTest, WhatIsNoRequestIsAnsweredAndTheConnectionEnds) {
  sim::Client client = open();
  client.send("HELLO\r\n\r\n" + get("/never"));
  doEvents();
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 400 Bad Request\r\n"));
  EXPECT_TRUE(client.closedByServer());
  EXPECT_THAT(taken_, IsEmpty());
}

TEST_F(GatewayTest, ARefusedRequestDoesNotEndTheConnection) {
  sim::Client client = open();
  client.send(get("/UNLOADME", "Sec-Fetch-Site: cross-site\r\n") + get("/next"));
  doEvents();
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(client.received(), EndsWith("<p>GET /next</p>\r\n"));
}

TEST_F(GatewayTest, ARequestThatDoesNotGetCompleteIn30SecondsIs408) {
  sim::Client client = open();
  client.send("GET / HTTP/1.1\r\n");
  doEvents();
  sim::advance(29000);
  client.send("Host: local");
  sim::advance(500);
  EXPECT_THAT(client.received(), IsEmpty());
  sim::advance(2000);
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 408 Request Timeout\r\n"));
  EXPECT_TRUE(client.closedByServer());
}

TEST_F(GatewayTest, ABodyThatDoesNotComeIn30SecondsIs408) {
  sim::Client client = open();
  client.send("POST /x HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n");
  sim::advance(32000);
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 408"));
}

TEST_F(GatewayTest, TheThirtySecondsBeginWithTheFirstByteOfTheRequest) {
  sim::Client client = open();
  sim::advance(600000);
  client.send("GET / HTTP/1.1\r\n");
  sim::advance(28000);
  EXPECT_THAT(client.received(), IsEmpty());
  client.send("Host: localhost\r\n\r\n");
  doEvents();
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 200"));
}

TEST_F(GatewayTest, SpareConnectionsHoldUpNobodyAndAreLeftAlone) {
  sim::Client spare = open();
  sim::advance(600000);
  EXPECT_FALSE(spare.closedByServer());
  EXPECT_THAT(ask(get("/")), StartsWith("HTTP/1.1 200"));
  spare.send(get("/late"));
  doEvents();
  EXPECT_THAT(spare.received(), StartsWith("HTTP/1.1 200"));
}

TEST_F(GatewayTest, TooManyConnectionsEndTheOneThatHasBeenIdleLongest) {
  std::vector<sim::Client> clients;
  for (int i = 0; i < kGatewayConnectionLimit; ++i) {
    clients.push_back(open());
    sim::advance(1);
  }
  clients[0].send(get("/"));  // the oldest one, and now the one that was used last
  sim::Client oneMore = open();
  oneMore.send(get("/"));
  doEvents();
  EXPECT_THAT(oneMore.received(), StartsWith("HTTP/1.1 200"));
  EXPECT_FALSE(clients[0].closedByServer());
  EXPECT_TRUE(clients[1].closedByServer());
  EXPECT_EQ(gatewayState().connections, static_cast<std::size_t>(kGatewayConnectionLimit));
}

TEST_F(GatewayTest, WhereEveryConnectionIsInTheMiddleOfARequestANewOneIsDropped) {
  std::vector<sim::Client> clients;
  for (int i = 0; i < kGatewayConnectionLimit; ++i) {
    clients.push_back(open());
    clients.back().send("GET /");
  }
  doEvents();
  sim::Client oneMore = open();
  doEvents();
  EXPECT_TRUE(oneMore.closedByServer());
  for (const sim::Client& client : clients) EXPECT_FALSE(client.closedByServer());
}

TEST_F(GatewayTest, AClientThatWaitsForLeaveToSendItsBodyGetsIt) {
  sim::Client client = open();
  client.send("POST /x HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n");
  doEvents();
  EXPECT_EQ(client.received(), "HTTP/1.1 100 Continue\r\n\r\n");
  client.send("abc");
  doEvents();
  EXPECT_THAT(client.received(), HasSubstr("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(taken_.at(0), EndsWith("\r\n\r\nabc"));
}

TEST_F(GatewayTest, ARefusalComesInsteadOfTheLeaveToSend) {
  sim::Client client = open();
  client.send("POST /x HTTP/1.1\r\nHost: evil.example\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n");
  doEvents();
  EXPECT_THAT(client.received(), StartsWith("HTTP/1.1 421"));
  EXPECT_TRUE(client.closedByServer());
}

TEST_F(GatewayTest, AMessageIsShownInASandboxAtAnAddressOfItsOwn) {
  form1.sessionId = "SESSION";
  answer_ = "<p>Hello <img src=http://x/></p>";
  for (const char* target : {"/displayemail.cgi?uidl=1&s=SESSION", "/DisplaySpam.cgi?fn=1.txt&s=SESSION"}) {
    const std::string answer = ask(get(target));
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 303 See Other\r\n"));
    const std::size_t at = answer.find("\r\nLocation: /view.htm?v=");
    ASSERT_NE(at, std::string::npos) << answer;
    const std::string address = answer.substr(at + 12, 12 + 32);
    EXPECT_THAT(address, Not(HasSubstr("SESSION")));
    const std::size_t taken = taken_.size();
    const std::string view = ask(get(address));
    EXPECT_THAT(view, HasSubstr("\r\nContent-Security-Policy: sandbox; default-src 'none'; ")) << target;
    EXPECT_THAT(view, HasSubstr("img-src data:;"));
    EXPECT_THAT(view, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n"));
    EXPECT_THAT(view, Not(HasSubstr("allow-")));
    EXPECT_EQ(body(view), *answer_);
    EXPECT_EQ(taken_.size(), taken);               // nothing is asked of the program for it, or logged
    EXPECT_EQ(body(ask(get(address))), *answer_);  // a reload
  }
}

TEST_F(GatewayTest, AViewEndsWithItsTimeAndWithTheSession) {
  form1.sessionId = "SESSION";
  const auto open = [] {
    const std::string answer = ask(get("/displayspam.cgi?fn=1.txt&s=SESSION"));
    return answer.substr(answer.find("/view.htm"), 12 + 32);
  };
  const std::string address = open();
  sim::advance(9 * 60000);
  EXPECT_THAT(ask(get(address)), StartsWith("HTTP/1.1 200"));
  sim::advance(2 * 60000);
  EXPECT_THAT(ask(get(address)), StartsWith("HTTP/1.1 404"));
  const std::string next = open();
  EXPECT_THAT(ask(get(next)), StartsWith("HTTP/1.1 200"));
  form1.sessionId = "OTHER";
  EXPECT_THAT(ask(get(next)), StartsWith("HTTP/1.1 404"));
  EXPECT_THAT(ask(get("/view.htm?v=")), StartsWith("HTTP/1.1 404"));
}

TEST_F(GatewayTest, TheOldestViewsGoWhereThereAreTooMany) {
  form1.sessionId = "SESSION";
  std::vector<std::string> addresses;
  for (std::size_t i = 0; i < kMostMessageViews + 1; ++i) {
    const std::string answer = ask(get("/displayspam.cgi?fn=1.txt&s=SESSION"));
    addresses.push_back(answer.substr(answer.find("/view.htm"), 12 + 32));
  }
  EXPECT_THAT(ask(get(addresses[0])), StartsWith("HTTP/1.1 404"));
  EXPECT_THAT(ask(get(addresses[1])), StartsWith("HTTP/1.1 200"));
}

TEST_F(GatewayTest, ThePageInPlaceOfAMessageThatIsGoneIsAPageOfTheProgram) {
  form1.sessionId = "SESSION";
  answer_ = messagePage("Requested email does not exist!") + "\r\n";
  const std::string answer = ask(get("/displayemail.cgi?uidl=1&s=SESSION"));
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(answer, HasSubstr("script-src 'unsafe-inline'"));  // its "Go Back"
}

TEST_F(GatewayTest, TheLoginPageInPlaceOfAMessageIsNotSandboxed) {
  form1.sessionId = "SESSION";
  const std::string answer = ask(get("/displayemail.cgi?uidl=1&s=OLD"));
  EXPECT_THAT(answer, Not(HasSubstr("sandbox")));
  EXPECT_THAT(answer, HasSubstr("script-src 'unsafe-inline'"));
}

TEST_F(GatewayTest, TheLoginPageInPlaceOfAnUnknownPageRunsItsScript) {
  form1.sessionId = "SESSION";
  EXPECT_THAT(ask(get("/foo?s=OLD")), HasSubstr("script-src 'unsafe-inline'"));
}

TEST_F(GatewayTest, APageThatQuotesAnUnknownPathRunsNoScript) {
  form1.sessionId = "SESSION";
  EXPECT_THAT(ask(get("/foo?s=SESSION")), Not(HasSubstr("script-src")));
}

TEST_F(GatewayTest, TheIconHasItsTypeAlsoUnderTheNameThatBrowsersAskForByThemselves) {
  EXPECT_THAT(ask(get("/vornelle.ico")), HasSubstr("\r\nContent-Type: image/x-icon\r\n"));
  EXPECT_THAT(ask(get("/favicon.ico")), HasSubstr("\r\nContent-Type: image/x-icon\r\n"));
  EXPECT_EQ(requestsTaken(), (std::vector<std::string>{"GET /vornelle.ico", "GET /vornelle.ico"}));
}

TEST_F(GatewayTest, ALargeAnswerArrivesWhole) {
  sim::Client client = open();
  client.limitReceiveBuffer(1000);
  answer_ = std::string(3000000, 'x');
  client.send(get("/"));
  doEvents();
  EXPECT_LE(client.received().size(), 1000u);
  client.takeMore(10000000);
  doEvents();
  EXPECT_EQ(body(client.received()), *answer_);
}

TEST_F(GatewayTest, AFormOf8MiBIsHandedOverWhole) {
  const std::string form(kMaxBody, 'x');
  EXPECT_THAT(ask(post("/x", form)), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(taken_.at(0), EndsWith("\r\n\r\n" + form));
}

TEST_F(GatewayTest, NoAnswerAtAllIs502) {
  resetProgramState();
  settings.httpPort = 7000;
  gatewayStart([](const std::string&) { return std::nullopt; });
  EXPECT_THAT(ask(get("/")), StartsWith("HTTP/1.1 502 Bad Gateway\r\n"));
}

TEST_F(GatewayTest, WithoutIPv6TheProgramRunsWithoutAGateway) {
  resetProgramState();
  settings.httpPort = 7000;
  sim::refuseAddress(LoopbackAddress::ipv6);
  gatewayStart();
  sim::Client client;
  EXPECT_FALSE(client.connect(LoopbackAddress::ipv6, 7000));
  EXPECT_THAT(sim::shell().messageBoxes, IsEmpty());
}

}  // namespace
}  // namespace vornelle

#include "web/request_origin.h"

#include "tests/unit/web/web_test_support.h"

namespace vornelle {
namespace {

Caller callerIn(std::string_view header) {
  const std::string text = "GET / HTTP/1.1\r\n" + std::string(header) + "\r\n";
  return callerOf([&](std::string_view name) { return fieldIn(text, name); });
}

TEST(CallerOfARequest, IsWhomTheBrowserSays) {
  EXPECT_EQ(callerIn(""), Caller::taken);
  EXPECT_EQ(callerIn("Sec-Fetch-Site: same-origin\r\n"), Caller::taken);
  EXPECT_EQ(callerIn("sec-fetch-site:none\r\nOrigin: null\r\n"), Caller::taken);
  EXPECT_EQ(callerIn("Sec-Fetch-Site: cross-site\r\n"), Caller::anotherSite);
  EXPECT_EQ(callerIn("SEC-FETCH-SITE: Same-Site\r\n"), Caller::anotherSite);
  EXPECT_EQ(callerIn("Origin: null\r\n"), Caller::anotherSite);
  EXPECT_EQ(callerIn("Sec-Purpose: prefetch;prerender\r\n"), Caller::ahead);
  EXPECT_EQ(callerIn("Upgrade: websocket\r\n"), Caller::upgrade);
}

TEST(CallerOfARequest, IsNotReadFromTheBodyOrTheRequestLine) {
  EXPECT_EQ(callerIn("\r\nSec-Fetch-Site: cross-site\r\n"), Caller::taken);
  const std::string_view text = "GET /Sec-Fetch-Site: cross-site HTTP/1.1\r\n\r\n";
  EXPECT_EQ(fieldIn(text, "Sec-Fetch-Site"), std::nullopt);
}

// ---- on the plain wire ----

class ForeignRequest : public ListenerTest {
 protected:
  static sim::Client send(std::string_view request) {
    sim::Client client = connected();
    client.send(request);
    sim::advance(0);
    return client;
  }
};

TEST_F(ForeignRequest, IsClosedWithoutAnAnswerAndTouchesNothing) {
  form1.requestText = "before";
  form1.requestNumber = 5;
  for (const char* field : {"Sec-Fetch-Site: cross-site", "Sec-Fetch-Site: same-site",
                            "Sec-Purpose: prefetch", "Upgrade: websocket", "Origin: null"}) {
    const sim::Client client =
        send("GET /UNLOADME HTTP/1.1\r\nHost: 127.0.0.1\r\n" + std::string(field) + "\r\n\r\n");
    EXPECT_TRUE(client.closedByServer()) << field;
    EXPECT_EQ(client.received(), "") << field;
  }
  EXPECT_EQ(form1.requestText, "before");
  EXPECT_EQ(form1.requestPath, "");
  EXPECT_EQ(form1.requestNumber, 5u);
  EXPECT_EQ(webServer.activeRequests, 0);
}

TEST_F(ForeignRequest, UsesUpNoConnection) {
  for (int i = 0; i < 5; ++i) send("POST /logout.cgi HTTP/1.1\r\nSec-Fetch-Site: cross-site\r\n\r\n");
  EXPECT_EQ(webServer.socketIndex, 0);
  // Several at once, and one of somebody else in between.
  sim::Client first = connected(), second = connected();
  sim::after(1, [&] { second.send("GET / HTTP/1.1\r\nSec-Fetch-Site: cross-site\r\n\r\n"); });
  sim::after(2, [&] { first.send("GET / HTTP/1.1\r\nSec-Fetch-Site: cross-site\r\n\r\n"); });
  sim::advance(10);
  EXPECT_TRUE(first.closedByServer());
  EXPECT_TRUE(second.closedByServer());
  EXPECT_EQ(webServer.socketIndex, 0);
  EXPECT_EQ(loadedConnections(), 0u);
  EXPECT_EQ(answerTo(kLogout), kLogoutAnswer);
  EXPECT_EQ(webServer.socketIndex, 1);
}

TEST_F(ForeignRequest, AnyOtherClientSeesNoDifference) {
  EXPECT_EQ(answerTo("GET /logout.cgi HTTP/1.1\r\nSec-Fetch-Site: none\r\n\r\n"), kLogoutAnswer);
  EXPECT_EQ(answerTo("POST /logout.cgi HTTP/1.1\r\nHost: x\r\n\r\nSec-Fetch-Site: cross-site\r\n"),
            kLogoutAnswer);
}

}  // namespace
}  // namespace vornelle

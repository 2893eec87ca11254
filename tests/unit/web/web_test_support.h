// What the tests of the web server share: a server that listens, and a browser's view of it.
#pragma once

#include <string>
#include <string_view>

#include "core/settings.h"
#include "tests/unit/support.h"
#include "web/listener.h"

namespace vornelle {

inline const std::string kSessionId = std::string(32, 'Q') + std::string(32, 'Z');
inline constexpr const char* kLogoutAnswer = "<script language='Javascript'>window.location='/'</script>\r\n";
inline constexpr std::string_view kLoginTemplate =
    "<html><head><title>Login</title></head><!--SSVERSION-->[<!--SSINFO-->]<form "
    "action='login.cgi'></form></html>";

class WebTest : public SimTest {
 protected:
  WebTest() {
    assignConstants();
    makeFile("\\data\\login.htm", kLoginTemplate);
    listenerStart();
  }

  static void logIn() { form1.sessionId = kSessionId; }

  static sim::Client connected() {
    sim::Client client;
    EXPECT_TRUE(client.connect(LoopbackAddress::ipv4, settings.httpPort));
    return client;
  }

  // What a browser gets that sends this and waits for the end of the connection.
  static std::string answerTo(std::string_view request) {
    sim::Client client = connected();
    client.send(request);
    sim::advance(0);
    EXPECT_TRUE(client.closedByServer()) << request;
    return client.received();
  }

  static std::string get(std::string_view target) {
    return answerTo("GET " + std::string(target) + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
  }

  // A page or action that needs the session; `query` starts with "&" or is empty.
  static std::string getWithSession(std::string_view page, std::string_view query = "") {
    return get("/" + std::string(page) + "?s=" + kSessionId + std::string(query));
  }

  static std::string postWithSession(std::string_view page, std::string_view body) {
    return answerTo("POST /" + std::string(page) + "?s=" + kSessionId +
                    " HTTP/1.1\r\nHost: localhost\r\n\r\n" + std::string(body));
  }

  static std::string redirectTo(std::string_view page) {
    return "<script language='Javascript'>window.location='" + std::string(page) + "?s=" + kSessionId +
           "'</script>\r\n";
  }

  // How often the log box holds a line that ends in this text.
  static int logged(std::string_view text) {
    const std::string line = "] " + std::string(text) + "\r\n";
    int count = 0;
    for (std::size_t at = 0; (at = form1.LogWindow.text().find(line, at)) != std::string::npos; ++at) ++count;
    return count;
  }
};

class ListenerTest : public WebTest {
 protected:
  static constexpr std::string_view kLogout = "GET /logout.cgi HTTP/1.0\r\n\r\n";

  // Every answer stays under way: the client takes no byte.
  static sim::Client reluctant() {
    sim::Client client = connected();
    client.limitReceiveBuffer(0);
    return client;
  }
};

}  // namespace vornelle

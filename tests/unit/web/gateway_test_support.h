// The gateway with answers that are the test's own.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/settings.h"
#include "platform/events.h"
#include "platform/socket.h"
#include "tests/unit/support.h"
#include "web/gateway.h"
#include "web/listener.h"

namespace vornelle {

// Each request is answered with a page that quotes its request line, unless the test says otherwise.
class GatewayTest : public SimTest {
 protected:
  GatewayTest() {
    settings.httpPort = 7000;
    webServer.defaultPage = "index.htm";
    gatewayStart([this](std::string text) -> std::optional<std::string> {
      taken_.push_back(std::move(text));
      std::string answer = "<p>" + lineOf(taken_.back()) + "</p>\r\n";
      if (const auto work = std::exchange(meanwhile_, nullptr)) work();
      return answer_ ? answer_ : answer;
    });
  }

  static sim::Client open() {
    sim::Client client;
    EXPECT_TRUE(client.connect(LoopbackAddress::ipv6, 7000));
    return client;
  }

  static std::string get(const std::string& target, const std::string& furtherFields = "") {
    return "GET " + target + " HTTP/1.1\r\nHost: localhost:7000\r\n" + furtherFields + "\r\n";
  }

  static std::string post(const std::string& target, const std::string& body,
                          const std::string& furtherFields = "") {
    return "POST " + target + " HTTP/1.1\r\nHost: localhost:7000\r\n" + furtherFields +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }

  // The answer to one request on a connection of its own.
  static std::string ask(const std::string& request) {
    sim::Client client = open();
    client.send(request);
    doEvents();
    return client.received();
  }

  static std::string body(const std::string& answer) { return answer.substr(answer.find("\r\n\r\n") + 4); }
  static std::string lineOf(const std::string& text) { return text.substr(0, text.find(" HTTP")); }

  std::vector<std::string> requestsTaken() const {
    std::vector<std::string> lines;
    for (const std::string& text : taken_) lines.push_back(lineOf(text));
    return lines;
  }

  std::vector<std::string> taken_;     // the texts that were handed over
  std::function<void()> meanwhile_;    // happens while the next request is being served
  std::optional<std::string> answer_;  // in place of the usual one
};

}  // namespace vornelle

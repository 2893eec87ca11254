// The gateway with a plain listener behind it that is the test's own.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/settings.h"
#include "platform/events.h"
#include "platform/socket.h"
#include "tests/unit/support.h"
#include "web/gateway.h"

namespace vornelle {

// A plain listener whose answers are the test's: it takes what comes and answers when it is told to.
class GatewayTest : public SimTest {
 protected:
  struct Taken {
    SocketControl socket;
    std::string text;
  };

  GatewayTest() {
    settings.httpPort = 7000;
    plain_.onConnectionRequest = [this](SocketControl::RequestId id) {
      auto taken = std::make_unique<Taken>();
      ASSERT_TRUE(taken->socket.accept(id));
      Taken* one = taken.get();
      one->socket.onDataArrival = [this, one] {
        one->text += one->socket.getData();
        ++pieces_;
        if (automatic_) answer(*one, "<p>" + one->text.substr(0, one->text.find(" HTTP")) + "</p>\r\n");
      };
      taken_.push_back(std::move(taken));
    };
    EXPECT_TRUE(plain_.listen(LoopbackAddress::ipv4, 7000));
    gatewayStart();
  }
  ~GatewayTest() override { gatewayStop(); }

  static void answer(Taken& one, const std::string& text) {
    one.socket.onSendComplete = [&one] { one.socket.close(); };
    ASSERT_TRUE(one.socket.sendData(text));
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

  std::vector<std::string> requestsTaken() const {
    std::vector<std::string> lines;
    for (const auto& one : taken_) lines.push_back(one->text.substr(0, one->text.find(" HTTP")));
    return lines;
  }

  bool automatic_ = true;
  int pieces_ = 0;
  SocketControl plain_;
  std::vector<std::unique_ptr<Taken>> taken_;
};

}  // namespace vornelle

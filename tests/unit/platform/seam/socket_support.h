// A listener that accepts everything and writes down what happens to the accepted sockets.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/socket.h"
#include "tests/unit/platform/seam/loopback.h"

namespace vornelle {

inline constexpr auto kIpv4 = LoopbackAddress::ipv4;

class SocketTest : public testing::Test {
 protected:
  SocketTest() {
    listener.onConnectionRequest = [this](SocketControl::RequestId request) {
      auto accepted = std::make_unique<SocketControl>();
      const std::string name = std::to_string(sockets.size());
      SocketControl& socket = *accepted;
      socket.onDataArrival = [this, name, &socket] {
        events += "D" + name + " ";
        if (reading) received += socket.getData();
      };
      socket.onSendComplete = [this, name] { events += "S" + name + " "; };
      socket.onClose = [this, name] { events += "C" + name + " "; };
      EXPECT_TRUE(accepted->accept(request));
      sockets.push_back(std::move(accepted));
    };
    for (int tries = 0; tries < 20 && !listener.isOpen(); ++tries) {
      port = freePort();
      if (listener.listen(kIpv4, port)) break;
    }
    EXPECT_TRUE(listener.isOpen());
  }

  SocketControl& connected(Peer& peer, int receiveBuffer = 0) {
    const std::size_t before = sockets.size();
    EXPECT_TRUE(peer.connect(port, receiveBuffer));
    EXPECT_TRUE(eventually([&] { return sockets.size() > before; }));
    return *sockets.back();
  }

  SocketControl listener;
  int port = 0;
  std::vector<std::unique_ptr<SocketControl>> sockets;
  std::string events;
  std::string received;
  bool reading = true;
};

}  // namespace vornelle

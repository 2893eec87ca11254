// The way to a scripted server, as NetStream and TLS share it.
#pragma once

#include <memory>
#include <string>

#include "platform/net_stream.h"
#include "platform/sim/sim.h"

namespace vornelle::sim {

// A server answers at once; a wait for bytes that never come uses up its time-out.
class Stream : public NetStream {
 public:
  explicit Stream(std::unique_ptr<Server> server) : server_(std::move(server)) { server_->onConnect(sent_); }

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size,
                                                int timeoutMilliseconds) override;
  [[nodiscard]] bool write(std::string_view bytes, int timeoutMilliseconds) override;

  [[nodiscard]] Server& server() { return *server_; }
  [[nodiscard]] std::string& sent() { return sent_; }  // by the server, not read yet

 private:
  std::unique_ptr<Server> server_;
  std::string sent_;
};

}  // namespace vornelle::sim

// Mail servers of the simulated network that are talked to in lines.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/sim/sim.h"

namespace vornelle {

// Hands each line that has arrived whole to answer(), without its CR LF.
class LineServer : public sim::Server {
 public:
  void onData(std::string_view bytes, std::string& out) override {
    pending_ += bytes;
    for (std::size_t end; (end = pending_.find("\r\n")) != std::string::npos;) {
      const std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 2);
      answer(line, out);
    }
  }

 protected:
  virtual void answer(const std::string& line, std::string& out) = 0;

 private:
  std::string pending_;
};

// Answers each line by what it starts with, every other one with a refusal. Keeps what it was told in `told`,
// which must outlive it.
class ScriptedServer : public LineServer {
 public:
  using Replies = std::vector<std::pair<std::string, std::string>>;
  ScriptedServer(std::string greeting, Replies replies, std::vector<std::string>& told)
      : greeting_(std::move(greeting)), replies_(std::move(replies)), told_(told) {}

  void onConnect(std::string& out) override { out += greeting_ + "\r\n"; }

 protected:
  void answer(const std::string& line, std::string& out) override {
    told_.push_back(line);
    for (const auto& [start, reply] : replies_) {
      if (!line.starts_with(start)) continue;
      out += reply + "\r\n";
      return;
    }
    out += greeting_.starts_with("+OK") ? "-ERR no\r\n" : "500 no\r\n";
  }

 private:
  std::string greeting_;
  Replies replies_;
  std::vector<std::string>& told_;
};

}  // namespace vornelle

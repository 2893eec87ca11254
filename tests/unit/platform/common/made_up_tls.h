// A made-up engine for the tests of what waits for one, and the peer's side of its records:
//
//   type | 03 03 | length, two bytes | payload
//
// Type 0x16 is the handshake: the engine says "hello", the peer "first" and "ready". 0x17 is data, every byte
// of it turned by 0x5A. 0x15 is an alert: payload 01 00 says that the peer ends. 0x18 asks for an answer,
// which is a record of the same.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/common/tls_engine.h"

namespace vornelle {

inline std::string madeUpRecord(char type, std::string_view payload) {
  std::string record{type, 3, 3, static_cast<char>(payload.size() >> 8),
                     static_cast<char>(payload.size() & 0xFF)};
  return record += payload;
}
inline std::string turned(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(c ^ 0x5A);
  return result;
}
inline std::string madeUpData(std::string_view text) {
  return madeUpRecord(0x17, turned(text));
}
inline std::string madeUpHandshake() {
  return madeUpRecord(0x16, "first") + madeUpRecord(0x16, "ready");
}
inline std::string madeUpEnd() {
  return madeUpRecord(0x15, std::string("\1\0", 2));
}

class MadeUpEngine : public TlsEngine {
 public:
  // What the test says, and what it wants to know afterwards; outlives the engine.
  struct Script {
    TlsFinding finding = {};  // of check()
    int checkTakes = 0;       // milliseconds
    bool holdsBackNewest = false;
    bool emptyAlertEnds = false;  // an alert without payload in front of the line's end is one
    std::int64_t checkedUntil = 0;
    bool closed = false;
  };
  explicit MadeUpEngine(Script& script) : script_(script) {}

  void receive(std::string_view bytes) override {
    input_ += bytes;
    endsHere_ = false;
  }
  std::string takeOutput() override { return std::exchange(output_, {}); }

  State handshake() override {
    if (!started_) output_ += madeUpRecord(0x16, "hello");
    started_ = true;
    while (true) {
      const State state = nextRecord();
      if (state != State::ready) return state;
      if (type_ != 0x16) return State::failed;
      if (payload_ == "ready") return State::ready;
      if (payload_ != "first") return State::failed;
      output_ += madeUpRecord(0x16, "second");
    }
  }

  State read(char* buffer, std::size_t size, std::size_t& got) override {
    while (plain_.empty()) {
      const State state = nextRecord();
      if (state != State::ready) return state;
      if (type_ == 0x17) {
        plain_ = turned(payload_);
      } else if (type_ == 0x18) {
        output_ += madeUpRecord(0x18, "");
      } else if (type_ == 0x15 && payload_.empty() && script_.emptyAlertEnds) {
        endsHere_ = input_.empty();
      } else {
        return type_ == 0x15 && payload_ == std::string_view("\1\0", 2) ? State::closed : State::failed;
      }
    }
    got = std::min(size, plain_.size());
    plain_.copy(buffer, got);
    plain_.erase(0, got);
    return State::ready;
  }

  State write(std::string_view bytes) override {
    while (!bytes.empty()) {
      output_ += madeUpData(bytes.substr(0, 16000));
      bytes.remove_prefix(std::min<std::size_t>(bytes.size(), 16000));
    }
    return State::ready;
  }
  void close() override {
    output_ += madeUpEnd();
    script_.closed = true;
  }

  [[nodiscard]] bool endsHere() const override { return endsHere_; }
  [[nodiscard]] bool holdsBackNewest() const override { return script_.holdsBackNewest; }
  [[nodiscard]] std::string protocol() const override { return "TLS 9"; }
  TlsFinding check(std::int64_t until) override;
  [[nodiscard]] TlsFinding failure() const override { return {TlsProblem::refused, "", "", "made-up"}; }

 private:
  State nextRecord() {
    if (input_.size() < 5) return State::wantsBytes;
    const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(input_[3]) << 8 |
                                                        static_cast<unsigned char>(input_[4]));
    if (length > 16640) return State::failed;
    if (input_.size() < 5 + length) return State::wantsBytes;
    type_ = input_[0];
    payload_ = input_.substr(5, length);
    input_.erase(0, 5 + length);
    return State::ready;
  }

  Script& script_;
  std::string input_;
  std::string output_;
  std::string plain_;
  std::string payload_;
  char type_ = 0;
  bool started_ = false;
  bool endsHere_ = false;
};

}  // namespace vornelle

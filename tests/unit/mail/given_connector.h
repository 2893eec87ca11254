// A connector whose lines a test makes, without encryption and without a server setting.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "mail/mail_connector.h"
#include "platform/net_stream.h"

namespace vornelle {

class GivenConnector final : public MailConnector {
 public:
  using Open = std::function<std::unique_ptr<NetStream>()>;  // null: no connection
  explicit GivenConnector(Open open) : open_(std::move(open)) {}

  [[nodiscard]] std::unique_ptr<NetStream> connect(MailFailure& failure) override {
    std::unique_ptr<NetStream> stream = open_();
    if (!stream) failure.reason = MailReason::unreachable;
    return stream;
  }
  [[nodiscard]] bool upgrades() const override { return false; }
  [[nodiscard]] Secured secure(std::unique_ptr<NetStream> /*stream*/, MailFailure& /*failure*/) override {
    return {};
  }
  [[nodiscard]] MailFailure about() const override { return {}; }

 private:
  Open open_;
};

inline std::unique_ptr<MailConnector> given(GivenConnector::Open open) {
  return std::make_unique<GivenConnector>(std::move(open));
}

}  // namespace vornelle

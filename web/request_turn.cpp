#include "web/request_turn.h"

#include "base/module_state.h"

#include <utility>

namespace vornelle {
namespace {

// The plain listener's request while one of the gateway's stands in form1.
Request plainRequest;
const ModuleState plainRequestState([] { plainRequest = {}; });

Request& standing() {
  return form1;
}

}  // namespace

GatewayTurn::GatewayTurn() : nested_(form1.requestByGateway) {
  (nested_ ? before_ : plainRequest) = std::exchange(standing(), Request{});
  form1.requestByGateway = true;
}

GatewayTurn::~GatewayTurn() {
  standing() = std::exchange(nested_ ? before_ : plainRequest, Request{});
}

PlainTurn::PlainTurn() : taken_(form1.requestByGateway) {
  if (taken_) before_ = std::exchange(standing(), std::exchange(plainRequest, Request{}));
}

PlainTurn::~PlainTurn() {
  if (taken_) plainRequest = std::exchange(standing(), std::move(before_));
}

}  // namespace vornelle

#include "web/direct_request.h"

#include <utility>

#include "core/event_log.h"
#include "core/form1.h"
#include "web/http_cmds.h"
#include "web/request.h"
#include "web/request_turn.h"

namespace vornelle {

std::optional<std::string> answerDirectly(std::string text) {
  const GatewayTurn turn;
  readRequest(std::move(text));
  std::optional<std::string> answer = dispatchRequest();
  if (answer) LogWindowAdd(form1.requestPath + " request complete!");
  return answer;
}

}  // namespace vornelle

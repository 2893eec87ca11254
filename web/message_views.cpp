#include "web/message_views.h"

#include <cstdint>
#include <deque>
#include <utility>

#include "base/module_state.h"
#include "core/form1.h"
#include "core/random_letters.h"
#include "platform/clock.h"

namespace vornelle {
namespace {

constexpr std::string_view kAddress = "view.htm?v=";
constexpr int kNameLength = 32;

struct Kept {
  std::string name;
  std::string sessionId;
  std::int64_t since = 0;  // monotonic
  MessageView view;
};

std::deque<Kept> views;  // the oldest first

const ModuleState viewsState([] { views.clear(); });

std::size_t bytesHeld() {
  std::size_t bytes = 0;
  for (const Kept& kept : views) bytes += kept.view.body.size();
  return bytes;
}

void dropOld() {
  const std::int64_t limit = monotonicMilliseconds() - std::int64_t{kMessageViewMinutes} * 60000;
  std::erase_if(views,
                [&](const Kept& kept) { return kept.since < limit || kept.sessionId != form1.sessionId; });
}

}  // namespace

std::string keepMessageView(MessageView view) {
  dropOld();
  const std::size_t bytes = view.body.size();
  while (!views.empty() &&
         (views.size() >= kMostMessageViews || bytesHeld() + bytes > kMostMessageViewBytes)) {
    views.pop_front();
  }
  std::string name = randomLetters(kNameLength);
  if (name.empty()) return "";
  views.push_back({name, form1.sessionId, monotonicMilliseconds(), std::move(view)});
  return std::string(kAddress) + name;
}

const MessageView* findMessageView(std::string_view target) {
  dropOld();
  if (target.starts_with('/')) target.remove_prefix(1);
  if (!target.starts_with(kAddress)) return nullptr;
  const std::string_view name = target.substr(kAddress.size());
  for (const Kept& kept : views) {
    if (kept.name == name) return &kept.view;
  }
  return nullptr;
}

}  // namespace vornelle

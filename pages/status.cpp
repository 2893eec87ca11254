#include "pages/status.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "base/characters.h"
#include "base/unicode.h"
#include "core/activity.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/filter_lists.h"
#include "mail/mail_failure.h"
#include "mail/spambox_store.h"
#include "pages/Inbox.h"
#include "pages/Spambox.h"
#include "platform/clock.h"

namespace vornelle {
namespace {

std::string truth(bool value) {
  return value ? "true" : "false";
}

std::string underWayJson() {
  const std::optional<Progress> progress = underWay();
  if (!progress) return "null";
  return "{\"task\": " + quotedJson(taskName(progress->task)) +
         ", \"text\": " + quotedJson(progressText(*progress)) +
         ", \"done\": " + std::to_string(progress->done) + ", \"total\": " + std::to_string(progress->total) +
         "}";
}

// The last one of each kind, in the order in which they came about.
std::string resultsJson() {
  std::array kinds = {std::pair{"filterRun", &outcomes.filterRun},
                      std::pair{"failure", &outcomes.failure},
                      std::pair{"restore", &outcomes.restore},
                      std::pair{"delete", &outcomes.deletion},
                      std::pair{"add", &outcomes.addition},
                      std::pair{"remove", &outcomes.removal},
                      std::pair{"settingsTest", &outcomes.settingsTest}};
  std::ranges::sort(kinds, {}, [](const auto& kind) { return kind.second->order; });
  std::string json = "{";
  for (const auto& [name, one] : kinds) {
    if (one->time == 0) continue;
    if (json.back() != '{') json += ", ";
    json += quotedJson(name) + ": {\"time\": " + std::to_string(one->time) +
            ", \"good\": " + truth(one->good) + ", \"text\": " + quotedJson(one->text) + "}";
  }
  return json + "}";
}

std::string removedJson() {
  if (lastRemoval.list.empty()) return "null";
  std::string json = "{\"list\": " + quotedJson(lastRemoval.list) + ", \"entries\": [";
  for (const std::string& entry : lastRemoval.entries) {
    if (json.back() != '[') json += ", ";
    json += quotedJson(entry);
  }
  return json + "]}";
}

// A server that is no server, or that has just refused the account, is not what the user meant. One that
// cannot be reached may be: the next attempt tells.
bool mailboxEntered() {
  const MailFailure& failure = lastMailFailures.pop;
  return !settings.POP_SERVER.empty() && !isLogOnRefused(failure) &&
         failure.reason != MailReason::fieldUnreadable && failure.reason != MailReason::schemeUnknown;
}

std::string setupJson() {
  const bool friends = listLength(kFriendList) >= kShortestFriendList;
  // The listing that is held saves a look at the folder, which may be large.
  const bool ran =
      (outcomes.filterRun.time != 0 && outcomes.filterRun.good) || spamboxCount() > 0 || countSpam() > 0;
  return "{\"mailbox\": " + truth(mailboxEntered()) + ", \"friends\": " + truth(friends) +
         ", \"run\": " + truth(ran) + "}";
}

std::string failureJson(const MailFailure& failure) {
  if (!failure) return "null";
  return "{\"reason\": " + quotedJson(reasonName(failure.reason)) +
         ", \"step\": " + quotedJson(stepName(failure.step)) + ", \"host\": " + quotedJson(failure.host) +
         ", \"port\": " + std::to_string(failure.port) + ", \"words\": " + quotedJson(failure.words) +
         ", \"text\": " + quotedJson(failureText(failure)) + "}";
}

}  // namespace

// "<" is written as an escape too, so that the text cannot end a script that it is put into.
std::string quotedJson(std::string_view text) {
  std::string json = "\"";
  for (const char c : toUtf8(text)) {
    if (c == '"' || c == '\\') {
      json.append({'\\', c});
    } else if (static_cast<unsigned char>(c) < 0x20 || c == '<' || c == 0x7F) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      json += escape;
    } else {
      json += c;
    }
  }
  return json + "\"";
}

std::string statusJson() {
  const ListingAge inbox = inboxAge();
  return "{\"underWay\": " + underWayJson() + ", \"results\": " + resultsJson() +
         ", \"removed\": " + removedJson() + ", \"pop\": " + failureJson(lastMailFailures.pop) +
         ", \"smtp\": " + failureJson(lastMailFailures.smtp) + ", \"setup\": " + setupJson() +
         ", \"testMode\": " + truth(form1.ckTestMode.checked()) +
         ", \"active\": " + truth(form1.ckActive.checked()) +
         ", \"minutesLeft\": " + std::to_string(settings.SESSION_MIN - form1.sessionMinutesUsed) +
         ", \"now\": " + std::to_string(utcNow()) + ", \"inbox\": {\"fresh\": " + truth(inbox.fresh) +
         ", \"fetched\": " + std::to_string(inbox.fetched) + ", \"count\": " + std::to_string(inboxCount()) +
         "}}\r\n";
}

std::string statusAttribute() {
  std::string text;
  for (const char32_t code : fromUtf8(statusJson())) {
    if (code == '"') {
      text += "&quot;";
    } else if (code == '&') {
      text += "&amp;";
    } else if (code < 0x80) {
      text += static_cast<char>(code);
    } else {
      appendCharacter(text, code);
    }
  }
  return text;
}

}  // namespace vornelle

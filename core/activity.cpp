#include "core/activity.h"

#include <utility>

#include "base/module_state.h"
#include "platform/clock.h"

namespace vornelle {

Outcomes outcomes;
LastRemoval lastRemoval;

namespace {

Activity* innermost = nullptr;

const ModuleState outcomesState([] {
  outcomes = Outcomes{};
  lastRemoval = LastRemoval{};
});

}  // namespace

std::string_view taskName(Task task) {
  switch (task) {
    case Task::filterRun:
      return "filterRun";
    case Task::inboxFetch:
      return "inboxFetch";
    case Task::spamBoxScan:
      return "spamBoxScan";
    case Task::messageFetch:
      return "messageFetch";
    case Task::restoreAndDelete:
      return "restoreAndDelete";
    case Task::settingsTest:
      return "settingsTest";
  }
  return "";
}

std::string_view taskText(Task task) {
  switch (task) {
    case Task::filterRun:
      return "Filtering";
    case Task::inboxFetch:
      return "Reading the Inbox";
    case Task::spamBoxScan:
      return "Reading the SpamBox";
    case Task::messageFetch:
      return "Fetching a message";
    case Task::restoreAndDelete:
      return "Restoring and deleting";
    case Task::settingsTest:
      return "Trying the mail servers";
  }
  return "";
}

Activity::Activity(Task task) : progress_{task, 0, 0}, outer_(std::exchange(innermost, this)) {}

Activity::~Activity() {
  innermost = outer_;
}

void Activity::step(int done, int total) {
  progress_.done = done;
  progress_.total = total;
}

std::optional<Progress> underWay() {
  if (innermost == nullptr) return std::nullopt;
  return innermost->progress_;
}

std::string progressText(const Progress& progress) {
  std::string text(taskText(progress.task));
  if (progress.total > 0)
    text += ": " + std::to_string(progress.done) + " of " + std::to_string(progress.total);
  return text;
}

Outcome outcome(bool good, std::string text) {
  return {utcNow(), good, std::move(text)};
}

}  // namespace vornelle

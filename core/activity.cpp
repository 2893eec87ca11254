#include "core/activity.h"

#include <utility>

#include "base/module_state.h"
#include "platform/clock.h"

namespace vornelle {

Outcomes outcomes;
LastRemoval lastRemoval;

namespace {

Activity* innermost = nullptr;
int outcomesSoFar = 0;

const ModuleState outcomesState([] {
  outcomes = Outcomes{};
  outcomesSoFar = 0;
  lastRemoval = LastRemoval{};
});

struct TaskWords {
  std::string_view name, text;
};

TaskWords wordsFor(Task task) {
  switch (task) {
    case Task::filterRun:
      return {"filterRun", "Filtering"};
    case Task::inboxFetch:
      return {"inboxFetch", "Reading the Inbox"};
    case Task::spamBoxScan:
      return {"spamBoxScan", "Reading the SpamBox"};
    case Task::messageFetch:
      return {"messageFetch", "Fetching a message"};
    case Task::restoreAndDelete:
      return {"restoreAndDelete", "Restoring and deleting"};
    case Task::settingsTest:
      return {"settingsTest", "Trying the mail servers"};
  }
  return {};
}

}  // namespace

std::string_view taskName(Task task) {
  return wordsFor(task).name;
}

std::string_view taskText(Task task) {
  return wordsFor(task).text;
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
  return {utcNow(), good, std::move(text), ++outcomesSoFar};
}

}  // namespace vornelle

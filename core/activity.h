// What is under way, how far it is, and what the last tasks have come to: what pages tell besides the log.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

enum class Task { filterRun, inboxFetch, spamBoxScan, messageFetch, restoreAndDelete, settingsTest };

// "filterRun", for scripts; "Filtering", for people.
[[nodiscard]] std::string_view taskName(Task task);
[[nodiscard]] std::string_view taskText(Task task);

struct Progress {
  Task task = Task::filterRun;
  int done = 0;
  int total = 0;  // 0: not known yet
};

// The task is under way for as long as this lives. Tasks nest, as everything that yields does.
class Activity {
 public:
  explicit Activity(Task task);
  ~Activity();
  Activity(const Activity&) = delete;
  Activity& operator=(const Activity&) = delete;

  void step(int done, int total);

 private:
  Progress progress_;
  Activity* outer_;
  friend std::optional<Progress> underWay();
};

// The task that began last; nullopt when there is none.
[[nodiscard]] std::optional<Progress> underWay();

// "Filtering: 120 of 500", "Filtering" before the number is known.
[[nodiscard]] std::string progressText(const Progress& progress);

// What the last task of its kind has come to.
struct Outcome {
  std::int64_t time = 0;  // seconds since 1970 UTC; 0: there has been none
  bool good = true;
  std::string text;  // a sentence for people
  int order = 0;     // of two in the same second the later one has the greater number
};

struct Outcomes {
  Outcome filterRun, restore, deletion, addition, removal, settingsTest;
  Outcome failure;  // why the mailbox could not be reached or read when that failed last
};
extern Outcomes outcomes;

// What the last removal by texts took out of which list, so that it can be put back. No list: nothing.
struct LastRemoval {
  std::string list;
  std::vector<std::string> entries;
};
extern LastRemoval lastRemoval;

// Now, as a value of the above.
[[nodiscard]] Outcome outcome(bool good, std::string text);

}  // namespace vornelle

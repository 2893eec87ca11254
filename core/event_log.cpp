#include "core/event_log.h"

#include <cstdio>

#include "base/numbers.h"
#include "base/text.h"
#include "core/form1.h"
#include "core/settings.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/files.h"

namespace vornelle {
namespace {

// What is cut out with each marker: its three characters and the 64 of the session id. The count follows the
// prefix of the delete boxes, which the pages write into the same addresses.
int cutLength() {
  const std::size_t prefix =
      settings.deletePrefix.empty() ? kDeletePrefix.size() : settings.deletePrefix.size();
  return 66 + static_cast<int>(prefix);
}

// Cuts the first marker and what follows it. Positions are 1-based 16-bit numbers; what stands past the last
// position that can be held is left out altogether, since it could be an id.
std::string cutSessionId(std::string line, std::string_view marker) {
  const std::size_t found = findNoCase(line, marker);
  if (found == std::string::npos) return line;
  const std::optional<std::int16_t> start = toInt16(static_cast<double>(found + 1));
  if (!start) return line.substr(0, INT16_MAX);
  std::string kept = line.substr(0, *start - 1);
  const std::optional<std::int16_t> rest = add16(*start, cutLength());
  if (rest && static_cast<std::size_t>(*rest) <= line.size()) kept += line.substr(*rest - 1);
  return kept;
}

}  // namespace

std::string formatLogTime(std::int64_t utcSeconds) {
  const LocalTime time = toLocalTime(utcSeconds);
  const int hour = time.hour % 12 == 0 ? 12 : time.hour % 12;
  char text[64];
  std::snprintf(text, sizeof text, "%02d-%02d-%02d %02d:%02d ", time.month, time.day, time.year % 100, hour,
                time.minute);
  return text + amPmDesignator(time.hour >= 12);
}

void LogWindowAdd(std::string_view text) {
  std::string line = "[" + formatLogTime(utcNow()) + "] " + std::string(text);
  line = cutSessionId(std::move(line), "?s=");
  line = cutSessionId(std::move(line), "&s=");
  line += kCrLf;
  form1.LogWindow.append(line);
  // What runs here may log too: its lines then stand after this one in the box and before it in the file.
  doEvents();
  if (!appendFile(applicationFolder() + "\\Vornelle.log", line)) return;  // the line is in the box
}

}  // namespace vornelle

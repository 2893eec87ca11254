#include "pages/message_listing.h"

#include <cstdio>

#include "platform/clock.h"

namespace vornelle {

std::optional<std::string> MessageListing::dateText(std::int16_t index) const {
  const ListedMessage* const row = at(index);
  return row != nullptr ? std::optional(formatListedDate(row->date)) : std::nullopt;
}

std::optional<std::string> MessageListing::sizeText(std::int16_t index) const {
  const ListedMessage* const row = at(index);
  if (row == nullptr) return std::nullopt;
  return row->size ? std::to_string(*row->size) : "";
}

std::string formatListedDate(std::optional<std::int64_t> utcSeconds) {
  if (!utcSeconds) return "";
  const LocalTime t = toLocalTime(*utcSeconds);
  const int hour = t.hour % 12 == 0 ? 12 : t.hour % 12;
  char text[64];
  std::snprintf(text, sizeof text, "%02d-%02d-%04d %02d:%02d", t.month, t.day, t.year, hour, t.minute);
  return text + amPmDesignator(t.hour >= 12);
}

}  // namespace vornelle

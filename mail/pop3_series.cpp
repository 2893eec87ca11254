#include "mail/pop3_series.h"

#include <algorithm>
#include <utility>

namespace vornelle {
namespace {

// They are sent even where no message is sent for.
constexpr std::size_t kManyDeletions = 64;

}  // namespace

void Pop3Series::expect(std::vector<Expected> messages) {
  expected_ = std::move(messages);
  next_ = 0;
}

bool Pop3Series::brings(std::int32_t number) const {
  const auto isUnderWay = [number](const Step& step) { return !step.deletion && step.number == number; };
  const auto isExpected = [number](const Expected& expected) { return expected.number == number; };
  return std::any_of(underWay_.begin(), underWay_.end(), isUnderWay) ||
         std::any_of(expected_.begin() + static_cast<std::ptrdiff_t>(next_), expected_.end(), isExpected);
}

void Pop3Series::skipTo(std::int32_t number) {
  for (const Step& step : underWay_) {
    if (!step.deletion && step.number == number) return;
  }
  while (next_ < expected_.size() && expected_[next_].number != number) ++next_;
}

void Pop3Series::takeDeletions(Commands& commands) {
  for (const std::int32_t number : std::exchange(deletions_, {})) {
    commands.text += "DELE " + std::to_string(number) + "\r\n";
    ++commands.count;
    underWay_.push_back({true, number, 0});
  }
}

Pop3Series::Commands Pop3Series::nextCommands() {
  Commands commands;
  const bool more = next_ < expected_.size();
  const bool early = messages_ >= 2 && (bytes_ > kWindow / 4 * 3 || messages_ > kMostMessages / 4 * 3);
  if ((!more || early) && deletions_.size() < kManyDeletions) return commands;
  takeDeletions(commands);
  while (!early && next_ < expected_.size() && messages_ < kMostMessages &&
         (messages_ < 2 || bytes_ + expected_[next_].size <= kWindow)) {
    const Expected& message = expected_[next_++];
    const std::string number = std::to_string(message.number) + "\r\n";
    commands.text.append("RETR ").append(number).append("UIDL ").append(number);
    commands.count += 2;
    underWay_.push_back({false, message.number, message.size});
    ++messages_;
    bytes_ += message.size;
  }
  return commands;
}

Pop3Series::Commands Pop3Series::lastCommands() {
  Commands commands;
  takeDeletions(commands);
  return commands;
}

std::optional<Pop3Series::Step> Pop3Series::awaited() const {
  return underWay_.empty() ? std::nullopt : std::optional(underWay_.front());
}

void Pop3Series::answered() {
  const Step step = underWay_.front();
  underWay_.pop_front();
  if (step.deletion) return;
  --messages_;
  bytes_ -= step.size;
}

}  // namespace vornelle

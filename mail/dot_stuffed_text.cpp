#include "mail/dot_stuffed_text.h"

#include <algorithm>
#include <utility>

namespace vornelle {
namespace {

constexpr std::string_view kDotLine = ".\r\n";

}  // namespace

DotStuffedText::DotStuffedText(bool bareLineFeeds, std::size_t limit,
                               std::function<void(std::string_view)> take)
    : bareLineFeeds_(bareLineFeeds), limit_(limit), take_(std::move(take)) {}

bool DotStuffedText::mayHaveEnded() const {
  return state_ == State::lineStart && held_ == kDotLine;
}

// The state behind a character that belongs to the text.
DotStuffedText::State DotStuffedText::after(char c, State before) const {
  if (c == '\n' && (bareLineFeeds_ || before == State::afterReturn)) return State::lineStart;
  return c == '\r' ? State::afterReturn : State::inLine;
}

// What was held back comes first.
void DotStuffedText::give(std::string_view piece) {
  taken_ += held_.size() + piece.size();
  if (taken_ > limit_) tooLong_ = true;
  if (tooLong_) return;
  if (!held_.empty()) take_(std::exchange(held_, {}));
  if (!piece.empty()) take_(piece);
}

void DotStuffedText::giveButHoldEnd(std::string_view piece) {
  held_ += piece;
  std::string end = held_.substr(held_.size() - std::min(held_.size(), kDotLine.size()));
  held_.resize(held_.size() - end.size());
  give("");
  held_ = std::move(end);
}

std::size_t DotStuffedText::read(std::string_view wire) {
  std::size_t start = 0;  // of what goes out as it stands
  for (std::size_t at = 0; at < wire.size() && !tooLong_; ++at) {
    const char c = wire[at];
    switch (state_) {
      case State::lineStart:
        if (c != '.') {
          state_ = after(c, state_);
          break;
        }
        give(wire.substr(start, at - start));
        start = at + 1;  // the dot waits until it is clear what it is
        state_ = State::dot;
        break;
      case State::dot:
        if (c == '\n' && bareLineFeeds_) {
          state_ = State::ended;
        } else if (c == '\r') {
          start = at + 1;
          state_ = State::dotReturn;
        } else {
          if (c != '.') give(".");  // not stuffed: a line of a server that does not know how to
          start = at;
          state_ = after(c, State::inLine);
        }
        break;
      case State::dotReturn:
        if (c == '\n') {
          state_ = State::ended;
        } else {
          give(".\r");
          start = at;
          state_ = after(c, State::afterReturn);
        }
        break;
      case State::inLine:
        // Straight to the next character that can be of interest.
        at = std::min(wire.find(bareLineFeeds_ ? '\n' : '\r', at), wire.size() - 1);
        state_ = after(wire[at], State::inLine);
        break;
      case State::afterReturn:
        state_ = after(c, state_);
        break;
      case State::ended:
        return at;
    }
    if (ended()) {
      give("");
      return at + 1;
    }
  }
  if (!ended()) giveButHoldEnd(wire.substr(start));
  return wire.size();
}

}  // namespace vornelle

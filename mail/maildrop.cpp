#include "mail/maildrop.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "base/text.h"

namespace vornelle {
namespace {

constexpr std::size_t kMostUidlBytes = 128U << 20;

// Takes the message number off the start of the line; what is left starts with a blank or is empty.
std::optional<std::int32_t> takeNumber(std::string_view& line) {
  line = trimBlanksAndTabs(line);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  if (error != std::errc{} || number < 1) return std::nullopt;
  line.remove_prefix(static_cast<std::size_t>(end - line.data()));
  if (!line.empty() && line.front() != ' ' && line.front() != '\t') return std::nullopt;
  line = trimBlanksAndTabs(line);
  return number;
}

std::int32_t parseSize(std::string_view text) {
  std::int64_t size = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
  const std::int64_t most = std::numeric_limits<std::int32_t>::max();
  if (error == std::errc::result_out_of_range)
    return text.starts_with('-') ? 0 : static_cast<std::int32_t>(most);
  if (error != std::errc{}) return 0;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(size, 0, most));
}

}  // namespace

std::optional<UidlLine> parseUidlLine(std::string_view line) {
  const std::optional<std::int32_t> number = takeNumber(line);
  if (!number) return std::nullopt;
  return UidlLine{*number, line};
}

std::size_t Maildrop::indexOf(std::int32_t number) const {
  const auto found = indexes_.find(number);
  return found == indexes_.end() ? messages_.size() : found->second;
}

bool Maildrop::addListLine(std::string_view line) {
  const std::optional<std::int32_t> number = takeNumber(line);
  if (!number || indexOf(*number) < messages_.size()) return true;
  if (messages_.size() == kMostMessages) return false;
  indexes_.emplace(*number, messages_.size());
  messages_.push_back({*number, parseSize(line), ""});
  states_.emplace_back();
  return true;
}

bool Maildrop::addUidlLine(std::string_view line) {
  // The lines are counted too: a message that has come in since LIST is passed over, a million of them is an
  // attack.
  if (++uidlLines_ > kMostMessages || (uidlBytes_ += line.size()) > kMostUidlBytes) return false;
  const std::optional<UidlLine> parsed = parseUidlLine(line);
  if (!parsed || parsed->uidl.empty()) return true;
  const std::size_t index = indexOf(parsed->number);
  // Ids of messages that LIST has not told, having come in since, are counted as well: an id is good for
  // deleting only where no other message can be meant.
  Carriers& carriers = carriers_[std::string(parsed->uidl)];
  ++carriers.count;
  if (index == messages_.size()) return true;
  carriers.last = index;
  // A second id for the same message: which is its own cannot be told.
  messages_[index].uidl = states_[index].uidlSeen ? "" : parsed->uidl;
  states_[index].uidlSeen = true;
  return true;
}

std::optional<std::size_t> Maildrop::findExactly(const std::string& uidl) const {
  const auto found = carriers_.find(uidl);
  if (found == carriers_.end() || found->second.last >= messages_.size()) return std::nullopt;
  // The last message may have got a second id meanwhile, and then has none.
  return messages_[found->second.last].uidl == uidl ? std::optional(found->second.last) : std::nullopt;
}

std::optional<std::size_t> Maildrop::findInAnyCase(const std::string& uidl) const {
  std::optional<std::size_t> result;
  for (std::size_t i = 0; i < messages_.size(); ++i) {
    if (!equalsNoCase(messages_[i].uidl, uidl)) continue;
    if (result) return std::nullopt;
    result = i;
  }
  return result;
}

const MaildropEntry* Maildrop::findToRead(const std::string& uidl) const {
  if (!knowsUidls_ || uidl.empty()) return nullptr;
  std::optional<std::size_t> index = findExactly(uidl);
  if (!index) index = findInAnyCase(uidl);
  return index && !states_[*index].deleted ? &messages_[*index] : nullptr;
}

const MaildropEntry* Maildrop::findToDelete(const std::string& uidl) const {
  if (!knowsUidls_ || uidl.empty()) return nullptr;
  const std::optional<std::size_t> index = findExactly(uidl);
  if (!index || carriers_.at(uidl).count > 1) return nullptr;
  return states_[*index].keep || states_[*index].deleted ? nullptr : &messages_[*index];
}

void Maildrop::keep(std::int32_t number, bool keep) {
  if (const std::size_t index = indexOf(number); index < states_.size()) states_[index].keep = keep;
}

void Maildrop::deleted(std::int32_t number, bool deleted) {
  if (const std::size_t index = indexOf(number); index < states_.size()) states_[index].deleted = deleted;
}

void Maildrop::fetchedWhole(std::int32_t number) {
  if (const std::size_t index = indexOf(number); index < states_.size()) states_[index].fetchedWhole = true;
}

bool Maildrop::isFetchedWhole(std::int32_t number) const {
  const std::size_t index = indexOf(number);
  return index < states_.size() && states_[index].fetchedWhole;
}

const MaildropEntry* Maildrop::find(std::int32_t number) const {
  const std::size_t index = indexOf(number);
  return index < messages_.size() ? &messages_[index] : nullptr;
}

}  // namespace vornelle

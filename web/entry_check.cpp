#include "web/entry_check.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/characters.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/letter_case.h"
#include "mail/entry_doubts.h"
#include "mail/filter_lists.h"
#include "mail/list_matcher.h"
#include "pages/Inbox.h"
#include "pages/Spambox.h"
#include "pages/status.h"
#include "web/request.h"

namespace vornelle {
namespace {

// As many as a page can tick.
constexpr std::size_t kMostEntries = 10001;

std::string_view valueOf(std::string_view form, std::string_view name) {
  return formField(form, name).value_or("");
}

int numberOf(std::string_view form, std::string_view name) {
  const std::string_view value = valueOf(form, name);
  int number = -1;
  std::from_chars(value.data(), value.data() + value.size(), number);
  return number;
}

// As they would be stored.
std::vector<std::string> entriesOf(std::string_view value) {
  std::vector<std::string> entries;
  for (const std::string_view piece : joinedPieces(value)) {
    if (entries.size() == kMostEntries) break;
    std::string entry = toSmallLetters(trim(fromUtf8ToText(formDecode(piece))));
    if (!entry.empty()) entries.push_back(std::move(entry));
  }
  return entries;
}

using Field = std::optional<std::string> (*)(std::int16_t);

std::vector<int> matchingRows(const ListMatcher& matcher, Field field, int first, int last) {
  std::vector<int> rows;
  for (int i = std::max(first, 0); i <= last; ++i) {
    if (matcher.matches(field(static_cast<std::int16_t>(i)).value_or(""))) rows.push_back(i);
  }
  return rows;
}

std::string ofMessages(std::size_t matching, int count) {
  return std::to_string(matching) + " of " + std::to_string(count) + (count == 1 ? " message" : " messages");
}

std::string joined(const std::vector<std::string>& parts, std::string_view between) {
  std::string text;
  for (const std::string& part : parts) text.append(text.empty() ? "" : between).append(part);
  return text;
}

}  // namespace

std::string entryCheckJson(std::string_view form) {
  const std::string list = formDecode(valueOf(form, "list"));
  const std::vector<std::string> entries = entriesOf(valueOf(form, "entries"));
  const EntryDoubts doubts(list);
  std::vector<std::string> found;
  for (const std::string& entry : entries) {
    std::vector<std::string> sentences = doubts.of(entry);
    if (sentences.empty()) continue;
    for (std::string& sentence : sentences) sentence = quotedJson(sentence);
    found.push_back("{\"entry\": " + quotedJson(entry) + ", \"doubts\": [" + joined(sentences, ", ") + "]}");
  }

  const ListMatcher matcher(entries);
  const bool subjects = equalsNoCase(list, kSubjectList);
  const Field inboxField = subjects ? inboxSubject : inboxFrom;
  const Field spamField = subjects ? spamboxSubject : spamboxFrom;
  const std::string_view box = valueOf(form, "box");
  std::vector<std::string> rows;
  std::string matches;
  if (box == "spam" || box == "inbox") {
    const bool spam = box == "spam";
    const int first = std::max(numberOf(form, "first"), 0);
    const int last = std::min(numberOf(form, "last"), (spam ? spamboxCount() : inboxCount()) - 1);
    const std::vector<int> matching = matchingRows(matcher, spam ? spamField : inboxField, first, last);
    for (const int row : matching) rows.push_back(std::to_string(row));
    if (last >= first)
      matches = "On this page " + ofMessages(matching.size(), last - first + 1) + " would match.";
  } else {
    std::vector<std::string> boxes;
    if (inboxCount() > 0)
      boxes.push_back(
          ofMessages(matchingRows(matcher, inboxField, 0, inboxCount() - 1).size(), inboxCount()) +
          " in the Inbox");
    if (spamboxCount() > 0)
      boxes.push_back(
          ofMessages(matchingRows(matcher, spamField, 0, spamboxCount() - 1).size(), spamboxCount()) +
          " in the SpamBox");
    if (!boxes.empty()) matches = "Of what was shown last, " + joined(boxes, " and ") + " would match.";
  }
  return "{\"entries\": [" + joined(found, ", ") + "], \"rows\": [" + joined(rows, ", ") +
         "], \"matches\": " + quotedJson(matches) + "}\r\n";
}

}  // namespace vornelle

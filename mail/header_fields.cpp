#include "mail/header_fields.h"

#include "base/text.h"
#include "mail/encoded_words.h"

namespace vornelle {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

// The length of the field name that the line starts with; 0 when it starts with none. Blanks before the colon
// are forgiven.
std::size_t fieldNameLength(std::string_view line) {
  std::size_t length = 0;
  while (length < line.size() && line[length] > ' ' && line[length] < '\x7F' && line[length] != ':') ++length;
  std::size_t colon = length;
  while (colon < line.size() && isBlank(line[colon])) ++colon;
  return colon < line.size() && line[colon] == ':' ? length : 0;
}

}  // namespace

std::string_view takeLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

HeaderFields::HeaderFields(std::string_view text) {
  std::string_view rest = text;
  std::size_t brokenLine = std::string_view::npos;
  bool inField = true;
  while (!rest.empty()) {
    const std::size_t start = text.size() - rest.size();
    const std::string_view line = takeLine(rest);
    if (line.empty() || line == "\r") {
      header_ = text.substr(0, start);
      bodyStart_ = text.size() - rest.size();
      endsWithEmptyLine_ = true;
      return;
    }
    if (isBlank(line.front()) && inField) continue;
    inField = fieldNameLength(line) > 0;
    const bool mailFileLine = start == 0 && (line.starts_with("From ") || line.starts_with(">From "));
    if (!inField && !mailFileLine && brokenLine == std::string_view::npos) brokenLine = start;
  }
  header_ = text;
  bodyStart_ = brokenLine == std::string_view::npos ? text.size() : brokenLine;
}

std::optional<std::string> HeaderFields::field(std::string_view name) const {
  std::string_view rest = header_;
  while (!rest.empty()) {
    const std::string_view line = takeLine(rest);
    if (fieldNameLength(line) != name.size() || !startsWithNoCase(line, name)) continue;
    std::string value(line.substr(line.find(':') + 1));
    while (!rest.empty() && isBlank(rest.front())) value += takeLine(rest);
    return std::string(trimBlanksAndTabs(value));
  }
  return std::nullopt;
}

std::string HeaderFields::fieldText(std::string_view name) const {
  const std::optional<std::string> value = field(name);
  if (!value) return "";
  std::string text = decodeEncodedWords(*value);
  // Words can hide line ends, and neither the log nor a page line may be broken by a stranger.
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' && c != '\t') c = ' ';
  }
  return std::string(trimBlanksAndTabs(text));
}

}  // namespace vornelle

#include "web/request.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/text.h"
#include "base/url_decode.h"
#include "core/form1.h"

namespace vornelle {
namespace {

// Positions are 1-based and 0 means "not found", because the lengths below are differences of positions and
// come out negative where a part is missing.
using Position = std::int64_t;

Position toPosition(std::size_t index) {
  return index == std::string_view::npos ? 0 : static_cast<Position>(index) + 1;
}

Position find(std::string_view text, std::string_view what, Position from = 1) {
  return toPosition(text.find(what, static_cast<std::size_t>(from - 1)));
}

// The characters from `start`, fewer where the text ends; nullopt for a negative length.
std::optional<std::string> middle(std::string_view text, Position start, Position length) {
  if (length < 0) return std::nullopt;
  const auto begin = static_cast<std::size_t>(start - 1);
  if (begin >= text.size()) return "";
  return std::string(text.substr(begin, static_cast<std::size_t>(length)));
}

// The target of a request line: what stands between the method and the next blank.
std::optional<std::string> requestTarget(std::string_view text, std::string_view method) {
  const auto methodLength = static_cast<Position>(method.size());
  const Position line = find(text, std::string(method) + " ");
  const Position blank = find(text, " ", line + 5);
  return middle(text, line + methodLength + 1, blank - line - methodLength - 1);
}

}  // namespace

void readRequest(std::string received) {
  form1.requestText = std::move(received);
  std::optional<std::string> target;
  if (form1.requestText.starts_with("GET")) {
    target = requestTarget(form1.requestText, "GET");
  } else if (form1.requestText.starts_with("POST")) {
    target = requestTarget(form1.requestText, "POST");
  }
  if (!target) return;
  form1.requestPath = *target;
  ++form1.requestNumber;
}

std::optional<std::string> requestParam(std::string_view name) {
  const std::string_view text = form1.requestText;
  const auto nameLength = static_cast<Position>(name.size());
  const Position start = toPosition(findNoCase(text, std::string(name) + "="));
  const Position end = find(text, "&", start + 1);
  return middle(text, start + nameLength + 1, end - start - nameLength - 1);
}

std::string firstParamValue(std::string_view text, std::string_view separator, std::string_view terminator) {
  const std::size_t found = text.find(separator);
  if (found == std::string_view::npos) return "";
  const std::size_t start = found + 1;
  const std::size_t end = text.find(terminator, start);
  return std::string(text.substr(start, end == std::string_view::npos ? end : end - start));
}

std::optional<std::string_view> formField(std::string_view form, std::string_view name) {
  while (!form.empty()) {
    const std::string_view pair = form.substr(0, form.find('&'));
    form.remove_prefix(std::min(form.size(), pair.size() + 1));
    const std::size_t equals = pair.find('=');
    if (equals != std::string_view::npos && pair.substr(0, equals) == name) return pair.substr(equals + 1);
  }
  return std::nullopt;
}

std::vector<std::string_view> joinedPieces(std::string_view value) {
  constexpr std::string_view kSeparator = "%0A";
  std::vector<std::string_view> pieces;
  while (!value.empty()) {
    pieces.push_back(value.substr(0, value.find(kSeparator)));
    value.remove_prefix(std::min(value.size(), pieces.back().size() + kSeparator.size()));
  }
  return pieces;
}

std::string queryValue(std::string_view path, std::string_view name) {
  const std::size_t mark = path.find('?');
  if (mark == std::string_view::npos) return "";
  return formDecode(formField(path.substr(mark + 1), name).value_or(""));
}

}  // namespace vornelle

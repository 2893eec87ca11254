#include "pages/browser_text.h"

#include <cstddef>

#include "base/text.h"
#include "core/form1.h"

namespace vornelle {
namespace {

// "&#1114111;" names the last character that there is.
constexpr std::size_t kMostDigits = 7;

// The length of the decimal character reference that begins at `at`; 0 where there is none.
std::size_t referenceLength(std::string_view text, std::size_t at) {
  if (text.substr(at, 2) != "&#") return 0;
  std::size_t end = at + 2;
  while (end < text.size() && isDigit(text[end])) ++end;
  const std::size_t digits = end - at - 2;
  const bool closed = end < text.size() && text[end] == ';';
  return closed && digits > 0 && digits <= kMostDigits ? end + 1 - at : 0;
}

}  // namespace

std::string pageText(std::string_view text) {
  return form1.requestByGateway ? browserText(text) : std::string(text);
}

std::string browserText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    switch (text[at]) {
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      case '&':
        result += referenceLength(text, at) > 0 ? "&" : "&amp;";
        break;
      default:
        result += text[at];
    }
  }
  return result;
}

}  // namespace vornelle

#include "mail/quoted_printable.h"

#include "base/text.h"

namespace vornelle {
namespace {

// The byte that the two digits at `at` stand for; -1 when they are none.
int escapedByte(std::string_view text, std::size_t at) {
  if (at + 1 >= text.size()) return -1;
  const int high = hexDigitValue(text[at]), low = hexDigitValue(text[at + 1]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

}  // namespace

std::string quotedPrintableDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  std::size_t blanks = 0;  // at the end of `out` that were written as blanks
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (isBlankOrTab(c)) {
      out.push_back(c);
      ++blanks;
      continue;
    }
    if (c == '\r' || c == '\n') out.resize(out.size() - blanks);
    blanks = 0;
    if (c != '=') {
      out.push_back(c);
      continue;
    }
    if (const int byte = escapedByte(text, i + 1); byte >= 0) {
      out.push_back(static_cast<char>(byte));
      i += 2;
      continue;
    }
    // A soft line break, with blanks that came after it on the way.
    const std::size_t next = text.find_first_not_of(" \t", i + 1);
    if (next == std::string_view::npos) {
      i = text.size();
    } else if (text[next] == '\n') {
      i = next;
    } else if (text[next] == '\r') {
      i = next + 1 < text.size() && text[next + 1] == '\n' ? next + 1 : next;
    } else {
      out.push_back('=');
    }
  }
  return out;
}

std::optional<std::string> qEncodingDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '=') {
      const int byte = escapedByte(text, i + 1);
      if (byte < 0) return std::nullopt;
      out.push_back(static_cast<char>(byte));
      i += 2;
    } else {
      out.push_back(text[i] == '_' ? ' ' : text[i]);
    }
  }
  return out;
}

}  // namespace vornelle

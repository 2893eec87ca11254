#include "desktop/terminal_text.h"

#include "base/characters.h"
#include "base/text.h"
#include "base/unicode.h"

namespace vornelle {
namespace {

// What a terminal could take for an order: control characters, and the marks that turn the direction of what
// follows.
bool isOrder(char32_t code) {
  const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool endsLine = code == 0x2028 || code == 0x2029;
  return (isControl && code != '\n' && code != '\t') || endsLine || isDirectionMark(code);
}

}  // namespace

std::string toTerminalText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const TextCharacter next = textCharacter(text);
    const bool lineEnd = text.starts_with(kCrLf);  // its line feed follows
    if (!lineEnd) appendUtf8(out, isOrder(next.code) ? U'?' : next.code);
    text.remove_prefix(next.length);
  }
  return out;
}

}  // namespace vornelle

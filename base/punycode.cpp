#include "base/punycode.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/characters.h"
#include "base/text.h"

namespace vornelle {
namespace {

// RFC 3492, 5.
constexpr std::uint32_t kBase = 36;
constexpr std::uint32_t kMinimum = 1;
constexpr std::uint32_t kMaximum = 26;
constexpr std::uint32_t kSkew = 38;
constexpr std::uint32_t kDamp = 700;
constexpr std::uint32_t kFirstBias = 72;
constexpr std::uint32_t kFirstCode = 128;

constexpr std::size_t kLongestLabel = 63;

char digit(std::uint32_t value) {
  return static_cast<char>(value < 26 ? 'a' + value : '0' + (value - 26));
}

// RFC 3492, 6.1.
std::uint32_t adapt(std::uint32_t delta, std::uint32_t points, bool first) {
  delta /= first ? kDamp : 2;
  delta += delta / points;
  std::uint32_t steps = 0;
  for (; delta > (kBase - kMinimum) * kMaximum / 2; steps += kBase) delta /= kBase - kMinimum;
  return steps + (kBase - kMinimum + 1) * delta / (delta + kSkew);
}

// The code of a small letter beyond ASCII; 0: it is none. The sharp s is the one that has no capital.
char32_t codeOfLetter(char c) {
  constexpr char kSharpS = '\xDF';
  return toUpperChar(c) != c || c == kSharpS ? textCharacter({&c, 1}).code : 0;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
}

std::optional<std::string> labelToAscii(std::string_view label) {
  if (isAscii(label)) return std::string(label);
  std::u32string codes;
  for (const char c : label) {
    const char small = toLowerChar(c);
    const char32_t code =
        static_cast<unsigned char>(small) < 128 ? static_cast<char32_t>(small) : codeOfLetter(small);
    if (code == 0) return std::nullopt;
    codes += code;
  }
  std::optional<std::string> ascii = punycode(codes);
  if (!ascii) return std::nullopt;
  ascii->insert(0, "xn--");
  if (ascii->size() > kLongestLabel) return std::nullopt;
  return ascii;
}

}  // namespace

std::optional<std::string> punycode(std::u32string_view label) {
  std::string result;
  for (const char32_t code : label) {
    if (code < kFirstCode) result += static_cast<char>(code);
  }
  const auto basic = static_cast<std::uint32_t>(result.size());
  if (basic > 0) result += '-';

  std::uint32_t handled = basic;
  std::uint32_t next = kFirstCode;
  std::uint32_t delta = 0;
  std::uint32_t bias = kFirstBias;
  while (handled < label.size()) {
    // The smallest code that has not been written yet.
    std::uint32_t smallest = std::numeric_limits<std::uint32_t>::max();
    for (const char32_t code : label) {
      if (code >= next && code < smallest) smallest = code;
    }
    const std::uint64_t advanced = delta + std::uint64_t{smallest - next} * (handled + 1);
    if (advanced > std::numeric_limits<std::uint32_t>::max() - label.size()) return std::nullopt;
    delta = static_cast<std::uint32_t>(advanced);
    next = smallest;
    for (const char32_t code : label) {
      if (code < next) ++delta;
      if (code != next) continue;
      std::uint32_t rest = delta;
      for (std::uint32_t k = kBase;; k += kBase) {
        const std::uint32_t threshold = k <= bias ? kMinimum : std::min(k - bias, kMaximum);
        if (rest < threshold) break;
        result += digit(threshold + (rest - threshold) % (kBase - threshold));
        rest = (rest - threshold) / (kBase - threshold);
      }
      result += digit(rest);
      bias = adapt(delta, handled + 1, handled == basic);
      delta = 0;
      ++handled;
    }
    ++delta;
    ++next;
  }
  return result;
}

std::optional<std::string> hostToAscii(std::string_view host) {
  std::string result;
  while (true) {
    const std::size_t dot = host.find('.');
    const std::optional<std::string> label = labelToAscii(host.substr(0, dot));
    if (!label) return std::nullopt;
    result += *label;
    if (dot == std::string_view::npos) return result;
    result += '.';
    host.remove_prefix(dot + 1);
  }
}

}  // namespace vornelle

#include "mail/base64.h"

#include <array>
#include <cstdint>

namespace vornelle {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int, 256> kValues = [] {
  std::array<int, 256> values{};
  values.fill(-1);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int>(i);
  }
  return values;
}();

// Gathers six bits at a time and gives out whole bytes.
class Gatherer {
 public:
  explicit Gatherer(std::string& out) : out_(out) {}

  void take(int value) {
    bits_ = (bits_ << 6) | static_cast<std::uint32_t>(value);
    count_ += 6;
    if (count_ >= 8) {
      count_ -= 8;
      out_.push_back(static_cast<char>((bits_ >> count_) & 0xFF));
    }
  }
  void startAfresh() { count_ = 0; }
  [[nodiscard]] int pendingBits() const { return count_; }

 private:
  std::string& out_;
  std::uint32_t bits_ = 0;
  int count_ = 0;
};

}  // namespace

std::string base64Encode(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t bits = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      bits = (bits << 8) | (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0U);
    }
    for (std::size_t j = 0; j < 4; ++j) {
      out.push_back(i + j <= bytes.size() ? kAlphabet[(bits >> (18 - 6 * j)) & 63] : '=');
    }
  }
  return out;
}

std::string base64DecodeBody(std::string_view text) {
  std::string out;
  out.reserve(text.size() / 4 * 3);
  Gatherer gatherer(out);
  for (const char c : text) {
    const int value = kValues[static_cast<unsigned char>(c)];
    if (value >= 0) {
      gatherer.take(value);
    } else if (c == '=') {
      gatherer.startAfresh();
    }
  }
  return out;
}

std::optional<std::string> base64DecodeStrict(std::string_view text) {
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.remove_suffix(1);
  std::string out;
  Gatherer gatherer(out);
  for (const char c : text) {
    const int value = kValues[static_cast<unsigned char>(c)];
    if (value < 0) return std::nullopt;
    gatherer.take(value);
  }
  if (gatherer.pendingBits() == 6) return std::nullopt;  // a single character over
  return out;
}

}  // namespace vornelle

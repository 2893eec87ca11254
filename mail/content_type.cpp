#include "mail/content_type.h"

#include <algorithm>
#include <map>

#include "base/text.h"
#include "base/url_decode.h"

namespace vornelle {
namespace {

// Reads the field piece by piece.
class ParameterReader {
 public:
  explicit ParameterReader(std::string_view text) : rest_(text) {}

  std::string value() {
    std::string result;
    for (;;) {
      const std::size_t before = rest_.size();
      skipBlanks();
      if (rest_.empty() || isEnd(rest_.front())) break;
      if (before != rest_.size() && nameIsNext()) break;  // the semicolon is missing
      if (rest_.front() != '"') result.push_back(toLowerChar(rest_.front()));
      rest_.remove_prefix(1);
    }
    return result;
  }

  struct Parameter {
    std::string name, value;
  };
  std::optional<Parameter> next() {
    for (;;) {
      while (!rest_.empty() && (isEnd(rest_.front()) || isBlankOrTab(rest_.front()) || rest_.front() == '('))
        skipSeparator();
      if (rest_.empty()) return std::nullopt;
      Parameter parameter;
      while (!rest_.empty() && !isEnd(rest_.front()) && !isBlankOrTab(rest_.front()) &&
             rest_.front() != '=') {
        parameter.name.push_back(toLowerChar(rest_.front()));
        rest_.remove_prefix(1);
      }
      skipBlanks();
      if (rest_.empty() || rest_.front() != '=') continue;
      rest_.remove_prefix(1);
      skipBlanks();
      parameter.value = isQuoted() ? quoted() : token();
      return parameter;
    }
  }

 private:
  static bool isEnd(char c) { return c == ';' || c == ','; }

  void skipBlanks() {
    int depth = 0;
    while (!rest_.empty() && (depth > 0 || isBlankOrTab(rest_.front()) || rest_.front() == '(')) {
      if (rest_.front() == '(') ++depth;
      if (rest_.front() == ')') --depth;
      rest_.remove_prefix(1);
    }
  }
  void skipSeparator() {
    if (isEnd(rest_.front())) rest_.remove_prefix(1);
    skipBlanks();
  }
  // True where a name and an equals sign stand next.
  [[nodiscard]] bool nameIsNext() const {
    constexpr std::size_t kLongestName = 32;
    const std::size_t end = rest_.substr(0, kLongestName).find_first_of("=;,/\" \t(");
    if (end == std::string_view::npos || end == 0) return false;
    const std::size_t sign = rest_.find_first_not_of(" \t", end);
    return sign != std::string_view::npos && rest_[sign] == '=';
  }
  [[nodiscard]] bool isQuoted() const { return rest_.starts_with('"') && rest_.find('"', 1) != rest_.npos; }

  std::string quoted() {
    std::string result;
    rest_.remove_prefix(1);
    while (!rest_.empty() && rest_.front() != '"') {
      if (rest_.front() == '\\' && rest_.size() > 1) rest_.remove_prefix(1);
      result.push_back(rest_.front());
      rest_.remove_prefix(1);
    }
    if (!rest_.empty()) rest_.remove_prefix(1);
    return result;
  }
  std::string token() {
    if (rest_.starts_with('"')) rest_.remove_prefix(1);  // never closed
    const std::size_t end = std::min(rest_.find_first_of("; \t"), rest_.size());
    std::string result(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return result;
  }

  std::string_view rest_;
};

// A parameter that may come in numbered pieces and with a character set of its own: "name*0*", "name*1".
class Value {
 public:
  void take(std::string_view section, std::string value) {
    const bool encoded = section.ends_with('*');
    if (section.empty()) {
      if (plain_.empty()) plain_ = std::move(value);
      return;
    }
    if (encoded) section.remove_suffix(1);
    if (section.starts_with('*')) section.remove_prefix(1);
    int number = 0;
    if (section.size() > 2) return;  // nobody has a hundred pieces
    for (const char c : section) {
      if (!isDigit(c)) return;
      number = number * 10 + (c - '0');
    }
    // "us-ascii'en'the value": the first piece says what it is in.
    const std::size_t language = encoded && number == 0 ? value.find('\'') : std::string::npos;
    const std::size_t start = language == std::string::npos ? language : value.find('\'', language + 1);
    if (start != std::string::npos) value.erase(0, start + 1);
    pieces_.try_emplace(number, encoded ? percentDecode(value) : std::move(value));
  }

  [[nodiscard]] std::string whole() const {
    if (!plain_.empty()) return plain_;
    std::string result;
    int expected = 0;
    for (const auto& [number, piece] : pieces_) {
      if (number != expected++) break;
      result += piece;
    }
    return result;
  }

 private:
  std::string plain_;
  std::map<int, std::string> pieces_;
};

}  // namespace

ContentType parseContentType(const std::optional<std::string>& field) {
  ContentType result;
  result.type = "text/plain";
  if (!field) return result;
  ParameterReader reader(*field);
  const std::string type = reader.value();
  Value charset, boundary;
  while (auto parameter = reader.next()) {
    const std::size_t star = std::min(parameter->name.find('*'), parameter->name.size());
    const std::string_view name = std::string_view(parameter->name).substr(0, star);
    const std::string_view section = std::string_view(parameter->name).substr(star);
    if (name == "charset") charset.take(section, std::move(parameter->value));
    if (name == "boundary") boundary.take(section, std::move(parameter->value));
  }
  result.charset = charset.whole();
  result.boundary = boundary.whole();
  const std::size_t slash = type.find('/');
  if (slash != std::string::npos && slash > 0 && slash + 1 < type.size()) {
    result.type = type;
  } else if (type.starts_with("multipart") && !result.boundary.empty()) {
    result.type = "multipart/mixed";
  }
  return result;
}

std::string fieldValue(std::string_view field) {
  return ParameterReader(field).value();
}

std::string fieldParameter(std::string_view field, std::string_view name) {
  ParameterReader reader(field);
  static_cast<void>(reader.value());
  Value value;
  while (auto parameter = reader.next()) {
    const std::size_t star = std::min(parameter->name.find('*'), parameter->name.size());
    if (std::string_view(parameter->name).substr(0, star) != name) continue;
    value.take(std::string_view(parameter->name).substr(star), std::move(parameter->value));
  }
  return value.whole();
}

std::string metaCharset(std::string_view html) {
  constexpr std::size_t kNear = 4096;
  constexpr std::string_view kName = "charset";
  html = html.substr(0, kNear);
  for (std::size_t at = 0; (at = findNoCase(html, "<meta", at)) != std::string_view::npos; ++at) {
    const std::string_view element = html.substr(at, html.find('>', at) - at);
    const std::size_t name = findNoCase(element, kName);
    if (name == std::string_view::npos) continue;
    std::string_view rest = element.substr(name + kName.size());
    const std::size_t sign = rest.find_first_not_of(" \t\r\n");
    if (sign == std::string_view::npos || rest[sign] != '=') continue;
    const std::size_t start = rest.find_first_not_of(" \t\r\n\"'", sign + 1);
    if (start == std::string_view::npos) continue;
    rest.remove_prefix(start);
    return std::string(rest.substr(0, rest.find_first_of(" \t\r\n\"';/>")));
  }
  return "";
}

}  // namespace vornelle

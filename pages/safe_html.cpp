#include "pages/safe_html.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"

namespace vornelle {
namespace {

constexpr std::string_view kElements[] = {
    "a",      "abbr",   "address", "article",    "b",        "big",    "blockquote", "br",      "caption",
    "center", "cite",   "code",    "col",        "colgroup", "dd",     "del",        "div",     "dl",
    "dt",     "em",     "figure",  "figcaption", "font",     "footer", "h1",         "h2",      "h3",
    "h4",     "h5",     "h6",      "header",     "hr",       "i",      "ins",        "kbd",     "li",
    "main",   "ol",     "p",       "pre",        "q",        "s",      "samp",       "section", "small",
    "span",   "strike", "strong",  "sub",        "sup",      "table",  "tbody",      "td",      "tfoot",
    "th",     "thead",  "tr",      "tt",         "u",        "ul"};
constexpr std::string_view kEmptyElements[] = {"br", "col", "hr"};
// What is in them is no text for people.
constexpr std::string_view kLeftOutWhole[] = {
    "script", "style",    "title", "template", "noscript", "iframe", "object", "svg",    "math",
    "select", "textarea", "xmp",   "noembed",  "noframes", "video",  "audio",  "canvas", "button"};
constexpr std::string_view kAttributes[] = {"align", "bgcolor", "border", "cellpadding", "cellspacing",
                                            "color", "colspan", "dir",    "face",        "height",
                                            "lang",  "rowspan", "size",   "span",        "start",
                                            "title", "type",    "valign", "width"};

template <std::size_t size>
bool isOneOf(std::string_view name, const std::string_view (&names)[size]) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f';
}

std::string quotedValue(std::string_view value) {
  std::string result;
  for (const char c : value) {
    if (c == '"') {
      result += "&quot;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else {
      result += c;
    }
  }
  return result;
}

struct Attribute {
  std::string name, value;
};

struct Tag {
  std::string name;
  bool closing = false;
  std::vector<Attribute> attributes;

  [[nodiscard]] std::string_view value(std::string_view attribute) const {
    for (const Attribute& one : attributes) {
      if (one.name == attribute) return one.value;
    }
    return {};
  }
};

class Writer {
 public:
  explicit Writer(std::string_view source) : rest_(source) {}

  SafeHtml write() {
    while (!rest_.empty()) {
      const std::size_t mark = rest_.find('<');
      text(rest_.substr(0, mark));
      if (mark == std::string_view::npos) break;
      rest_.remove_prefix(mark);
      markup();
    }
    return std::move(result_);
  }

 private:
  void text(std::string_view words) { result_.html += replaceAll(words, ">", "&gt;"); }

  void markup() {
    if (rest_.starts_with("<!--")) return skipPast("-->", 4);
    if (rest_.size() > 1 && (rest_[1] == '!' || rest_[1] == '?')) return skipPast(">", 2);
    const bool closing = rest_.size() > 1 && rest_[1] == '/';
    const std::size_t name = closing ? 2 : 1;
    if (rest_.size() <= name || !isAsciiLetter(rest_[name])) {
      result_.html += "&lt;";
      rest_.remove_prefix(1);
      return;
    }
    const Tag tag = readTag(name, closing);
    if (!tag.closing && isOneOf(tag.name, kLeftOutWhole)) return skipElement(tag.name);
    put(tag);
  }

  // To behind the mark; all of the rest without one.
  void skipPast(std::string_view mark, std::size_t from) {
    const std::size_t at = rest_.find(mark, std::min(from, rest_.size()));
    rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at + mark.size());
  }

  void skipElement(std::string_view name) {
    const std::size_t end = findNoCase(rest_, "</" + std::string(name));
    rest_.remove_prefix(std::min(end, rest_.size()));
  }

  Tag readTag(std::size_t nameStart, bool closing) {
    Tag tag;
    tag.closing = closing;
    rest_.remove_prefix(nameStart);
    while (!rest_.empty() && !isSpace(rest_[0]) && rest_[0] != '>' && rest_[0] != '/') take(tag.name);
    for (;;) {
      while (!rest_.empty() && (isSpace(rest_[0]) || rest_[0] == '/')) rest_.remove_prefix(1);
      if (rest_.empty()) return tag;
      if (rest_[0] == '>') {
        rest_.remove_prefix(1);
        return tag;
      }
      Attribute attribute;
      do {
        take(attribute.name);
      } while (!rest_.empty() && !isSpace(rest_[0]) && rest_[0] != '>' && rest_[0] != '/' && rest_[0] != '=');
      skipSpaces();
      if (!rest_.empty() && rest_[0] == '=') {
        rest_.remove_prefix(1);
        skipSpaces();
        attribute.value = readValue();
      }
      tag.attributes.push_back(std::move(attribute));
    }
  }

  void take(std::string& name) {
    const char c = rest_[0];
    name += isAsciiLetter(c) ? toLowerChar(c) : c;
    rest_.remove_prefix(1);
  }

  void skipSpaces() {
    while (!rest_.empty() && isSpace(rest_[0])) rest_.remove_prefix(1);
  }

  std::string readValue() {
    if (!rest_.empty() && (rest_[0] == '"' || rest_[0] == '\'')) {
      const std::size_t end = std::min(rest_.find(rest_[0], 1), rest_.size());
      std::string value(rest_.substr(1, end - 1));
      rest_.remove_prefix(std::min(end + 1, rest_.size()));
      return value;
    }
    std::size_t end = 0;
    while (end < rest_.size() && !isSpace(rest_[end]) && rest_[end] != '>') ++end;
    std::string value(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return value;
  }

  void put(const Tag& tag) {
    if (!tag.value("background").empty()) ++result_.picturesLeftOut;
    if (tag.name == "img" || tag.name == "image" || tag.name == "input") return picture(tag);
    if (!isOneOf(tag.name, kElements)) return;
    if (tag.closing) {
      if (!isOneOf(tag.name, kEmptyElements)) result_.html += "</" + tag.name + ">";
      return;
    }
    result_.html += "<" + tag.name;
    for (const Attribute& one : tag.attributes) {
      if (isOneOf(one.name, kAttributes) || (one.name == "style" && isHarmlessStyle(one.value)))
        add(one.name, one.value);
    }
    if (tag.name == "a") link(tag.value("href"));
    result_.html += ">";
  }

  void add(std::string_view name, std::string_view value) {
    result_.html.append(" ").append(name).append("=\"").append(quotedValue(value)).append("\"");
  }

  // What begins with such a scheme, letter by letter, has it however the rest is read.
  void link(std::string_view address) {
    while (!address.empty() && isSpace(address[0])) address.remove_prefix(1);
    for (const std::string_view scheme : {"http://", "https://", "mailto:"}) {
      if (!startsWithNoCase(address, scheme)) continue;
      add("href", address);
      result_.html += " target=\"_blank\" rel=\"noopener noreferrer\" referrerpolicy=\"no-referrer\"";
      return;
    }
  }

  void picture(const Tag& tag) {
    const std::string_view address = tag.value("src");
    const std::string_view words = tag.value("alt");
    for (const std::string_view own :
         {"data:image/png;base64,", "data:image/gif;base64,", "data:image/jpeg;base64,",
          "data:image/jpg;base64,", "data:image/webp;base64,"}) {
      if (!startsWithNoCase(address, own)) continue;
      result_.html += "<img";
      add("src", address);
      add("alt", words);
      for (const std::string_view size : {"width", "height"}) {
        if (!tag.value(size).empty()) add(size, tag.value(size));
      }
      result_.html += ">";
      return;
    }
    if (address.empty() || tag.name == "input") return;
    if (!startsWithNoCase(address, "cid:")) ++result_.picturesLeftOut;
    if (!words.empty()) result_.html += "[" + quotedValue(words) + "]";
  }

  // Nothing that names an address, and nothing that could spell one in another way.
  static bool isHarmlessStyle(std::string_view style) {
    for (const std::string_view word :
         {"url", "image", "src", "@", "\\", "&", "/*", "expression", "position"}) {
      if (containsNoCase(style, word)) return false;
    }
    return true;
  }

  std::string_view rest_;
  SafeHtml result_;
};

}  // namespace

SafeHtml safeHtml(std::string_view source) {
  return Writer(source).write();
}

}  // namespace vornelle

#include "mail/encoded_words.h"

#include <optional>
#include <utility>

#include "base/text.h"
#include "base/unicode.h"
#include "mail/base64.h"
#include "mail/charset.h"
#include "mail/quoted_printable.h"

namespace vornelle {
namespace {

constexpr char kEscape = '\x1B';  // starts the letters of a set with seven bits

struct Word {
  std::string_view charset;
  char encoding;
  std::string_view text;
  std::size_t length;  // of the whole word
};

bool isCharsetName(std::string_view name) {
  constexpr std::size_t kLongestName = 64;
  if (name.empty() || name.size() > kLongestName) return false;
  for (const char c : name) {
    if (c <= ' ' || c >= '\x7F') return false;
  }
  return true;
}

// Where the text of a Q word ends that starts at `start`. Question marks in it are forgiven, so that its end
// is the first "?=", but for one that is a question mark and an escape in a word that goes on: "what?=3F?=".
// Another word ends the search.
std::size_t endOfQ(std::string_view text, std::size_t start) {
  const std::size_t nextWord = text.find("=?", start);
  if (nextWord != std::string_view::npos) text = text.substr(0, nextWord + 1);
  for (std::size_t end = text.find("?=", start); end != std::string_view::npos;
       end = text.find("?=", end + 1)) {
    const bool escape =
        end + 3 < text.size() && hexDigitValue(text[end + 2]) >= 0 && hexDigitValue(text[end + 3]) >= 0;
    const std::size_t another = text.find_first_of("? \t", end + 4);
    const bool goesOn = escape && another != std::string_view::npos && text.substr(another, 2) == "?=";
    if (!goesOn) return end;
  }
  return std::string_view::npos;
}

// The word at the start of the text, if there is one.
std::optional<Word> parseWord(std::string_view text) {
  if (!text.starts_with("=?")) return std::nullopt;
  const std::size_t charsetEnd = text.find('?', 2);
  if (charsetEnd == std::string_view::npos || charsetEnd + 2 >= text.size()) return std::nullopt;
  Word word{};
  word.charset = text.substr(2, charsetEnd - 2);
  word.encoding = toUpperChar(text[charsetEnd + 1]);
  if (!isCharsetName(word.charset) || text[charsetEnd + 2] != '?') return std::nullopt;
  if (word.encoding != 'B' && word.encoding != 'Q') return std::nullopt;
  const std::size_t start = charsetEnd + 3;
  const std::size_t end = word.encoding == 'B' ? text.find('?', start) : endOfQ(text, start);
  if (end == std::string_view::npos || end + 1 >= text.size() || text[end + 1] != '=') return std::nullopt;
  word.text = text.substr(start, end - start);
  word.length = end + 2;
  return word;
}

std::optional<std::string> wordBytes(const Word& word) {
  if (word.encoding == 'Q') return qEncodingDecode(word.text);
  std::string text(word.text);
  std::erase_if(text, isBlankOrTab);  // folded in its midst
  return base64DecodeStrict(text);
}

class Decoder {
 public:
  Decoder(std::string_view value, std::string_view rawCharset)
      : value_(value),
        rawCharset_(isUtf8(value) && value.find(kEscape) == value.npos ? "utf-8" : rawCharset) {}

  std::string decode() {
    std::size_t i = 0;
    while (i < value_.size()) {
      const std::size_t start = value_.find("=?", i);
      if (start == std::string_view::npos) break;
      plain(value_.substr(i, start - i));
      const std::optional<Word> word = parseWord(value_.substr(start));
      std::optional<std::string> bytes = word ? wordBytes(*word) : std::nullopt;
      if (bytes && charsetToText(word->charset, "")) {
        take(*word, *bytes);
        i = start + word->length;
      } else {
        plain("=?");
        i = start + 2;
      }
    }
    plain(value_.substr(i));
    flushWords();
    out_ += blanks_;
    return std::move(out_);
  }

 private:
  void take(const Word& word, const std::string& bytes) {
    if (!equalsNoCase(word.charset, charset_)) flushWords();
    if (!afterWord_) out_ += blanks_;
    blanks_.clear();
    charset_ = word.charset;
    bytes_ += bytes;
    afterWord_ = true;
  }

  void plain(std::string_view text) {
    if (text.empty()) return;
    if (text.find_first_not_of(" \t") == std::string_view::npos) {
      blanks_ += text;
      return;
    }
    flushWords();
    out_ += blanks_;
    blanks_.clear();
    const std::size_t end = text.find_last_not_of(" \t") + 1;
    out_ += charsetToText(rawCharset_, text.substr(0, end)).value_or(std::string(text.substr(0, end)));
    blanks_ = text.substr(end);
    afterWord_ = false;
  }

  void flushWords() {
    if (!bytes_.empty()) out_ += charsetToText(charset_, bytes_).value_or("");
    bytes_.clear();
  }

  std::string_view value_;
  std::string_view rawCharset_;  // of what is no word
  std::string out_;
  std::string blanks_;        // seen and not put out yet: they go when a word follows a word
  std::string_view charset_;  // of the words that are gathered
  std::string bytes_;         // of adjacent words in one character set
  bool afterWord_ = false;
};

}  // namespace

std::string decodeEncodedWords(std::string_view value, std::string_view rawCharset) {
  return Decoder(value, rawCharset).decode();
}

}  // namespace vornelle

// Feeds the gateway's request parser whatever comes, whole and in pieces, and holds both against each other.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/characters.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "pages/browser_text.h"
#include "pages/safe_html.h"
#include "web/gateway_answer.h"
#include "web/http_request_parser.h"
#include "web/request_origin.h"

namespace {

using vornelle::HttpRequestParser;

// Everything that parsing told, in one comparable text.
std::string parseInPieces(std::string_view text, std::size_t pieceLength) {
  HttpRequestParser parser;
  std::string buffer;
  std::string told;
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, pieceLength);
    text.remove_prefix(piece.size());
    buffer += piece;
    while (!buffer.empty()) {
      const std::size_t before = buffer.size();
      const HttpRequestParser::Result result = parser.parse(buffer);
      if (buffer.size() > before) std::abort();
      if (result == HttpRequestParser::Result::needMore) break;
      if (result == HttpRequestParser::Result::failed) {
        const int status = parser.errorStatus();
        if (status < 400 || status > 505) std::abort();
        if (parser.parse(buffer) != HttpRequestParser::Result::failed) std::abort();
        return told + "failed";  // which limit was met first depends on the pieces
      }
      const vornelle::HttpRequest& request = parser.request();
      if (request.target.empty() || request.target[0] != '/') std::abort();
      if (request.body.size() > vornelle::kMaxBody) std::abort();
      if (request.method.find_first_of(" \r\n") != std::string::npos) std::abort();
      if (request.target.find_first_of(" \r\n") != std::string::npos) std::abort();
      told += request.method + " " + request.target + " " + request.authority + " " + request.body + "\n";
      for (const auto& [name, value] : request.fields) {
        if (value.find_first_of("\r\n") != std::string::npos) std::abort();
        told.append(name).append(":").append(value).append("\n");
      }
    }
  }
  return told;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t pieceLength = 1 + data[0];
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (parseInPieces(text, text.size() + 1) != parseInPieces(text, pieceLength)) std::abort();
  // What is rewritten in an answer.
  const std::string sealed = vornelle::withoutConnections(std::string(text));
  if (sealed.size() != text.size() || vornelle::findNoCase(sealed, "<link") != std::string::npos ||
      vornelle::findNoCase(sealed, "<iframe") != std::string::npos) {
    std::abort();
  }
  // What is made into text for a page: no markup, and nothing but decimal references is one.
  const std::string shown = vornelle::browserText(text);
  if (shown.find_first_of("<>\"'") != std::string::npos) std::abort();
  if (vornelle::firstCharacters(text, 35).size() > std::size_t{35} * 10) std::abort();
  // Who has caused a request, on the plain wire: the field that is found is one of the text's.
  static_cast<void>(vornelle::callerOf([&](std::string_view name) { return vornelle::fieldIn(text, name); }));
  const auto site = vornelle::fieldIn(text, "Sec-Fetch-Site");
  if (site && (site->find('\n') != std::string::npos || site->size() > text.size())) std::abort();
  // What a preview's address and its form say comes back as it was.
  if (vornelle::formDecode(vornelle::formEncode(text)) != text) std::abort();
  // A message written anew holds nothing that runs or fetches, and reads the same way a second time.
  const vornelle::SafeHtml safe = vornelle::safeHtml(text);
  for (const char* tag : {"<script", "<iframe", "<style", "<form", "<input", "<meta", "<link", "<base",
                          "<object", "<svg", "href=\"javascript", "<!--"}) {
    if (vornelle::containsNoCase(safe.html, tag)) std::abort();
  }
  if (vornelle::safeHtml(safe.html).picturesLeftOut != 0) std::abort();
  return 0;
}

#include "web/short_page.h"

#include "base/text.h"

namespace vornelle {
namespace {

constexpr std::string_view kStyle =
    "<style>:root { color-scheme: light dark } "
    "body { margin: 0; font: 1rem/1.5 'Segoe UI', system-ui, sans-serif; overflow-wrap: anywhere; "
    "background: #f4f6f5; color: #1b2524 } "
    "main { max-width: 40rem; margin: 3rem auto; padding: 0 1rem } h1 { font-size: 1.3rem } "
    "a { color: #0b6b66; text-underline-offset: .15em } "
    ":focus-visible { outline: 3px solid; outline-offset: 2px } "
    "@media (prefers-color-scheme: dark) { body { background: #131819; color: #e5ebe9 } "
    "a { color: #6accc3 } }</style>";

}  // namespace

std::string shortPage(std::string_view heading, std::string_view lines) {
  std::string page = "<!DOCTYPE html>\r\n<html lang='en'><head><meta charset='windows-1252'><title>" +
                     std::string(heading.substr(0, heading.find('?'))) +
                     "</title><meta name='viewport' content='width=device-width, initial-scale=1'>" +
                     std::string(kStyle);
  page.append("</head><body><main><h1>").append(heading).append("</h1>\r\n").append(lines);
  return page.append("</main></body></html>\r\n");
}

std::string inBrowserForm(std::string body) {
  constexpr std::string_view kBodyEnd = "</body></html>";
  for (const std::string_view tag : {"h2", "h3"}) {
    const std::string start = "<html><body><" + std::string(tag) + ">";
    if (!body.starts_with(start)) continue;  // as most pages do not: they are not looked through
    const std::string close = "</" + std::string(tag) + ">";
    const std::size_t end = body.find(close);
    const std::size_t rest = body.rfind(kBodyEnd);
    if (end == std::string::npos || rest == std::string::npos || rest < end + close.size()) continue;
    std::string lines = body.substr(end + close.size(), rest - end - close.size());
    if (lines.find("<a ") == std::string::npos) lines += "<p><a href='/'>Start page</a></p>";
    return shortPage(body.substr(start.size(), end - start.size()), "<div>" + lines + "</div>");
  }
  return body;
}

}  // namespace vornelle

// What the gateway sends back: HTTP/1.1 answers made of the plain listener's bare ones, and its own error
// answers.
#pragma once

#include <string>
#include <string_view>

#include "web/http_cmds.h"

namespace vornelle {

struct AnswerOptions {
  bool keepAlive = true;
  bool headOnly = false;  // answer to HEAD: the header alone
};

// The answer for a page: status 200, type, length, security header fields.
[[nodiscard]] std::string pageAnswer(PageKind kind, std::string body, const AnswerOptions& options);

// An error answer with a short page. Status 400, 403, 405, 408, 411, 413, 414, 417, 421, 431, 502, 503, 505.
[[nodiscard]] std::string errorAnswer(int status, const AnswerOptions& options);

// Makes every charset that the page's own meta tags declare say windows-1252, which is what the bytes are.
[[nodiscard]] std::string agreeCharset(std::string page);

// Takes out of a message what makes a browser connect to somebody's server whatever the policy says: Chromium
// connects for a frame that the policy refuses to load, and hints such as <link rel=preconnect> are no loads at
// all. The connection alone would tell a sender that the message is being looked at. Frames become unknown
// elements, <link> elements become <meta> elements that say nothing.
[[nodiscard]] std::string withoutConnections(std::string message);

}  // namespace vornelle

// What the gateway sends back: HTTP/1.1 answers made of the plain listener's bare ones, and its own error
// answers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "web/http_cmds.h"
#include "web/message_views.h"

namespace vornelle {

struct AnswerOptions {
  bool keepAlive = true;
  bool headOnly = false;  // answer to HEAD: the header alone
};

// The answer for a page: status 200, type, length, security header fields. Where the page is a script that
// leads on to another one, the same way stands behind it for browsers without scripts.
[[nodiscard]] std::string pageAnswer(PageKind kind, const std::string& body, const AnswerOptions& options);

// For scripts of the pages: JSON.
[[nodiscard]] std::string statusAnswer(const std::string& json, const AnswerOptions& options);

// A message at its own address, sandboxed: as a page, or in the frame of one of our pages.
[[nodiscard]] std::string viewAnswer(const MessageView& view, const AnswerOptions& options);

// The user's guide or one of its pictures; without bytes status 404.
[[nodiscard]] std::string guideAnswer(const std::optional<std::string>& bytes, bool picture,
                                      const AnswerOptions& options);

// Status 303: the browser goes to that address.
[[nodiscard]] std::string redirectAnswer(std::string_view address, const AnswerOptions& options);

// One of the two pages that are shown where a message cannot be. Their "Go Back" is a script, which the
// policy of the message views forbids. A message that spells out exactly such a page does no more than the
// page does.
[[nodiscard]] bool isErrorPage(std::string_view body);

// An error answer with a short page. Status 400, 403, 404, 405, 408, 411, 413, 414, 417, 421, 431, 502, 503,
// 505. The explanation takes the place of the status's own.
[[nodiscard]] std::string errorAnswer(int status, const AnswerOptions& options,
                                      std::string_view explanation = "");

// Takes out of a message what makes a browser connect to somebody's server, or tell it where it comes from,
// whatever the policy says: Chromium connects for a frame that the policy refuses to load; hints such as
// <link rel=preconnect> are no loads at all; a link's or a meta element's referrer policy overrides ours;
// what a link opens under a target's name could reach back. The connection alone would tell a sender that the
// message is being looked at. Such elements and attributes become unknown ones of the same length. The
// character set is the answer's, not the message's.
[[nodiscard]] std::string withoutConnections(std::string message);

}  // namespace vornelle

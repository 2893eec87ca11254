// Reading requests: from what a browser sends to requestText and requestPath in form1, and the helpers that
// find parameters in them.
//
// Nothing here understands HTTP headers. The request line is found by plain text search, and parameter values
// are read from the whole text, headers included:
//
//   POST /login.cgi HTTP/1.1 <CR LF> ... <CR LF> POP_ACCOUNT=joe&POP_PASSWORD=x&go=1
//
// gives requestPath "/login.cgi", and requestParam("pop_account") is "joe". "go" cannot be read: no "&"
// follows it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

// Stores what a receive has brought in requestText, replacing the text before it. A text that begins with
// "GET" or "POST" also sets requestPath to the target, exactly as sent, and counts requestNumber up, so that
// an answer can be told to belong to the path that stands there now or to an earlier one. Any other text
// leaves requestPath as it is, and so does a line whose target is followed by no blank.
void readRequest(std::string received);

// The value of the parameter in requestText, as sent: the text between the first `name` followed by "="
// (letter case ignored) and the next "&". Where the name does not occur, the text from the place behind
// length(name) characters up to the first "&". nullopt where that has no length: no "&" follows, or it comes
// too early. The caller then keeps the value that it had.
[[nodiscard]] std::optional<std::string> requestParam(std::string_view name);

// The value of the first parameter in the text whatever its name: what stands between the first separator and
// the next terminator or the end. "" without a separator.
[[nodiscard]] std::string firstParamValue(std::string_view text, std::string_view separator = "=",
                                          std::string_view terminator = "&");

// For what our own pages and scripts send:

// The value of a field in a form ("a=1&b=2"), as sent; nullopt without it.
[[nodiscard]] std::optional<std::string_view> formField(std::string_view form, std::string_view name);

// The pieces of a value that joins them by "%0A", as sent.
[[nodiscard]] std::vector<std::string_view> joinedPieces(std::string_view value);

// A parameter of the path's query by its name, decoded as forms are; "" without it.
[[nodiscard]] std::string queryValue(std::string_view path, std::string_view name);

}  // namespace vornelle

#include "web/gateway_answer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "pages/message_page.h"
#include "web/short_page.h"

namespace vornelle {
namespace {

// No page loads anything from outside, is shown inside another page, or sends a form elsewhere.
constexpr std::string_view kSealed = "base-uri 'none'; frame-ancestors 'none'; ";

constexpr std::string_view kHtml = "text/html; charset=windows-1252";

// No script, no remote picture, no form: a message cannot tell its sender that it has been read. Its links
// work when the user follows them; they lead away from its own page, since what it opens could reach back to
// it.
constexpr std::string_view kMessagePolicy =
    "sandbox; default-src 'none'; style-src 'unsafe-inline'; img-src data:; form-action 'none'; base-uri "
    "'none'; frame-ancestors 'none'";
// In the preview its links are written by us: they open a window that knows nothing of this one.
constexpr std::string_view kFramedPolicy =
    "sandbox allow-popups allow-popups-to-escape-sandbox; default-src 'none'; style-src 'unsafe-inline'; "
    "img-src data:; form-action 'none'; base-uri 'none'; frame-ancestors 'self'";

// The guide has pictures of its own, and no script.
constexpr std::string_view kGuidePolicy =
    "default-src 'none'; style-src 'unsafe-inline'; img-src 'self'; form-action 'none'; base-uri 'none'; "
    "frame-ancestors 'none'";
constexpr std::string_view kPicturePolicy = "default-src 'none'; frame-ancestors 'none'";
constexpr std::string_view kNoGuide =
    "The guide, or a picture of it, is not in Vornelle's data folder. Installing Vornelle again brings it "
    "back.";

std::string contentSecurityPolicy(PageKind kind) {
  std::string sealed(kSealed);
  switch (kind) {
    case PageKind::message:
      return std::string(kMessagePolicy);
    case PageKind::page:
      // Answers that lead on to the next page are scripts of one line. The templates narrow this for
      // themselves to the scripts that they bring.
      return "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src 'self' "
             "data:; connect-src 'self'; frame-src 'self'; form-action 'self'; " +
             sealed;
    case PageKind::icon:
    case PageKind::unknown:
      return "default-src 'none'; style-src 'unsafe-inline'; img-src 'self' data:; form-action 'self'; " +
             sealed;
  }
  return sealed;
}

// An answer that only leads on to the next page is a script of one line. A browser that runs none is led
// there by markup; back, it goes by its own button. "" for other pages.
std::string wayWithoutScripts(std::string_view body) {
  constexpr std::string_view kScript = "<script language='Javascript'>";
  constexpr std::string_view kLocation = "window.location='";
  constexpr std::string_view kOfAddresses =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789./?=&%+-_";
  if (!body.starts_with(kScript)) return "";
  const std::size_t location = body.find(kLocation);
  if (location == std::string_view::npos)
    return "<noscript><p>Go back with your browser's button.</p></noscript>\r\n";
  std::string_view target = body.substr(location + kLocation.size());
  target = target.substr(0, target.find('\''));
  if (target.find_first_not_of(kOfAddresses) != std::string_view::npos) return "";
  return "<noscript><meta http-equiv=\"refresh\" content=\"0;url=" + replaceAll(target, "&", "&amp;") +
         "\"></noscript>\r\n";
}

struct Status {
  int code;
  std::string_view phrase;
  std::string_view explanation;
};

constexpr std::array kStatuses = {
    Status{400, "Bad Request", "Vornelle could not read the request."},
    Status{403, "Forbidden", "Another site has asked for this page. Open Vornelle's start page yourself."},
    Status{404, "Not Found", "This view of the message is over. Open the message again from its list."},
    Status{405, "Method Not Allowed", "Vornelle answers GET, HEAD and POST."},
    Status{408, "Request Timeout", "The request did not arrive whole in time."},
    Status{411, "Length Required", "The request does not say how long it is."},
    Status{413, "Content Too Large", "The form is larger than Vornelle takes."},
    Status{414, "URI Too Long", "The address is longer than Vornelle takes."},
    Status{417, "Expectation Failed", "The request expects something that Vornelle does not do."},
    Status{421, "Misdirected Request", "Vornelle is reached as localhost on the computer that it runs on."},
    Status{431, "Request Header Fields Too Large",
           "The header of the request is larger than Vornelle takes."},
    Status{502, "Bad Gateway", "Vornelle did not answer this request. Please load the page again."},
    Status{503, "Service Unavailable", "Vornelle is busy. Please try again in a moment."},
    Status{505, "HTTP Version Not Supported", "Vornelle speaks HTTP/1.1."},
};

std::string assemble(std::string_view statusLine, std::string_view type, std::string_view policy,
                     std::string_view furtherFields, const std::string& body, const AnswerOptions& options,
                     std::string_view frames = "DENY") {
  std::string answer = "HTTP/1.1 ";
  answer.reserve(body.size() + 1024);
  answer.append(statusLine).append("\r\nContent-Type: ").append(type);
  answer.append("\r\nContent-Length: ").append(std::to_string(body.size()));
  answer.append(
      "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer");
  answer.append("\r\nX-DNS-Prefetch-Control: off\r\nX-Frame-Options: ");
  answer.append(frames).append("\r\nContent-Security-Policy: ");
  while (!policy.empty() && (policy.back() == ' ' || policy.back() == ';')) policy.remove_suffix(1);
  answer.append(policy);
  answer.append(furtherFields);
  answer.append(options.keepAlive ? "\r\nConnection: keep-alive\r\n\r\n" : "\r\nConnection: close\r\n\r\n");
  if (!options.headOnly) answer.append(body);
  return answer;
}

}  // namespace

bool isErrorPage(std::string_view body) {
  return body == messagePage(kNoSuchMessage) + "\r\n" || body == messagePage(kCannotLogOn) + "\r\n";
}

std::string pageAnswer(PageKind kind, const std::string& body, const AnswerOptions& options) {
  const std::string_view type = kind == PageKind::icon ? "image/x-icon" : kHtml;
  const std::string way = kind == PageKind::page ? wayWithoutScripts(body) : "";
  return assemble("200 OK", type, contentSecurityPolicy(kind), "", way.empty() ? body : body + way, options);
}

std::string statusAnswer(const std::string& json, const AnswerOptions& options) {
  return assemble("200 OK", "application/json", contentSecurityPolicy(PageKind::icon), "", json, options);
}

std::string viewAnswer(const MessageView& view, const AnswerOptions& options) {
  return assemble("200 OK", kHtml, view.framed ? kFramedPolicy : kMessagePolicy, "", view.body, options,
                  view.framed ? "SAMEORIGIN" : "DENY");
}

std::string guideAnswer(const std::optional<std::string>& bytes, bool picture, const AnswerOptions& options) {
  if (!bytes) return errorAnswer(404, options, kNoGuide);
  return picture ? assemble("200 OK", "image/webp", kPicturePolicy, "", *bytes, options)
                 : assemble("200 OK", "text/html; charset=utf-8", kGuidePolicy, "", *bytes, options);
}

std::string redirectAnswer(std::string_view address, const AnswerOptions& options) {
  return assemble("303 See Other", kHtml, contentSecurityPolicy(PageKind::unknown),
                  "\r\nLocation: /" + std::string(address), "", options);
}

std::string errorAnswer(int status, const AnswerOptions& options, std::string_view explanation) {
  const Status* found = &kStatuses.front();
  for (const Status& one : kStatuses) {
    if (one.code == status) found = &one;
  }
  const std::string statusLine = std::to_string(found->code) + " " + std::string(found->phrase);
  const std::string body =
      shortPage(statusLine, "<p>" + std::string(explanation.empty() ? found->explanation : explanation) +
                                "</p>\r\n<p><a href='/'>Start page</a></p>");
  std::string_view further;
  if (status == 405) further = "\r\nAllow: GET, HEAD, POST";
  if (status == 503) further = "\r\nRetry-After: 5";
  return assemble(statusLine, kHtml, contentSecurityPolicy(PageKind::unknown), further, body, options);
}

// Whether a tag is open at that place, as far as "<" and ">" tell.
static bool isInTag(std::string_view message, std::size_t at) {
  const std::size_t mark = message.substr(0, at).find_last_of("<>");
  return mark != std::string_view::npos && message[mark] == '<';
}

std::string withoutConnections(std::string message) {
  // Each pair is of one length, so that nothing moves.
  constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kTags = {{
      {"<link", "<xink"},
      {"<iframe", "<xframe"},
      {"<frame", "<xrame"},
      {"<meta", "<xeta"},
      {"<base", "<xase"},
  }};
  for (const auto& [tag, harmless] : kTags) {
    for (std::size_t at = 0; (at = findNoCase(message, tag, at)) != std::string::npos; at += tag.size()) {
      message.replace(at, tag.size(), harmless);
    }
  }
  constexpr std::array<std::string_view, 3> kAttributes = {"referrerpolicy", "target", "ping"};
  for (const std::string_view name : kAttributes) {
    for (std::size_t at = 0; (at = findNoCase(message, name, at)) != std::string::npos; at += name.size()) {
      if (isInTag(message, at)) message[at] = 'x';
    }
  }
  return message;
}

}  // namespace vornelle

#include "web/preview.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/mail_address.h"
#include "mail/mail_component.h"
#include "mail/mime.h"
#include "mail/spambox_store.h"
#include "pages/Inbox.h"
#include "pages/Spambox.h"
#include "pages/browser_text.h"
#include "pages/known_senders.h"
#include "pages/message_actions.h"
#include "pages/message_listing.h"
#include "pages/message_page.h"
#include "pages/message_rows.h"
#include "pages/page_links.h"
#include "pages/safe_html.h"
#include "pages/template.h"
#include "web/message_views.h"
#include "web/request.h"

namespace vornelle {
namespace {

// The list that a message stands in.
struct Box {
  std::string_view name;   // as addresses have it
  std::string_view title;  // as pages have it
  std::string_view listPage;
  std::string_view ownView;  // the page that shows the message by itself
  std::int16_t (*count)();
  std::optional<std::string> (*key)(std::int16_t);
};

constexpr Box kBoxes[] = {
    {"spam", "SpamBox", "displayspambox.htm", "displayspam.cgi", spamboxCount, spamboxKey},
    {"inbox", "Inbox", "displayinbox.htm", "displayemail.cgi", inboxCount, inboxUidl},
};

const Box& boxOf(std::string_view name) {
  return name == kBoxes[1].name ? kBoxes[1] : kBoxes[0];
}

// Its place in the listing that is held; -1 when it is not in there.
int placeOf(const Box& box, std::string_view key) {
  for (std::int16_t i = 0; i < box.count(); ++i) {
    if (box.key(i) == key) return i;
  }
  return -1;
}

// The key of the message that many places further on; nullopt where there is none, and for place -1.
std::optional<std::string> keyBeside(const Box& box, int place, int further) {
  const int beside = place + further;
  if (place < 0 || beside < 0 || beside >= box.count()) return std::nullopt;
  return box.key(static_cast<std::int16_t>(beside));
}

std::string withSession(std::string address) {
  return std::move(address) + "&s=" + form1.sessionId;
}

std::unique_ptr<MailMessage> fetchMessage(const Box& box, const std::string& key, std::string_view& problem) {
  if (box.name == "inbox") return messageOnServer(key, Named::exactly, problem);
  problem = kNoSuchMessage;
  return isSpamKey(key) ? MailComponent::loadMessageFile(spamPath(key)) : nullptr;
}

// `"Bob" <bob@example.com>`: the name and the address apart.
std::string nameIn(std::string_view from, std::string_view address) {
  const std::size_t at = address.empty() ? std::string_view::npos : findNoCase(from, address);
  if (at == std::string_view::npos) return std::string(trim(from));
  std::string_view name = trim(from.substr(0, at));
  if (name.ends_with('<')) name = trim(name.substr(0, name.size() - 1));
  return std::string(trim(replaceAll(name, "\"", "")));
}

std::string attachmentItems(const std::vector<Attachment>& attachments) {
  std::string items;
  for (const Attachment& one : attachments) {
    items += "<li>" + browserText(one.name.empty() ? one.type : one.name) + " <small>" +
             bytes2KB(static_cast<double>(one.bytes)) + "</small></li>\r\n";
  }
  return items.empty() ? "" : "<ul class=\"attachments\" aria-label=\"Attachments\">\r\n" + items + "</ul>";
}

std::string picturesNote(int count) {
  if (count == 0) return "";
  return count == 1 ? "1 picture that the message would fetch from elsewhere is left out: fetching it would "
                      "tell the sender that you read this."
                    : std::to_string(count) +
                          " pictures that the message would fetch from elsewhere are left out: fetching them "
                          "would tell the sender that you read this.";
}

constexpr std::string_view kViewStyle =
    "<style>body { margin: 1rem; font: 1rem/1.5 'Segoe UI', system-ui, sans-serif; overflow-wrap: anywhere; "
    "background: #fff; color: #1b2524; } pre, .text { white-space: pre-wrap; font-family: inherit; } "
    "img { max-width: 100%; height: auto; }</style>";

struct Shown {
  std::string document;  // what stands in the frame
  int picturesLeftOut = 0;
};

Shown shownBody(const MailMessage& message, bool source) {
  const std::string start =
      "<!DOCTYPE html><html><head><title>Message</title>" + std::string(kViewStyle) + "</head><body>";
  if (!source && message.hasHtmlBody()) {
    SafeHtml safe = safeHtml(message.getHtmlBody());
    return {start + safe.html + "</body></html>", safe.picturesLeftOut};
  }
  const std::string& text = source                   ? message.getRawText()
                            : message.hasPlainBody() ? message.getPlainBody()
                                                     : message.getBodyText(0);
  return {start + "<div class=\"text\">" + browserText(text) + "</div></body></html>", 0};
}

// What stands beside the Restore button: what has been done already, and the offer to befriend the sender.
std::string restoreOffer(const Box& box, std::string_view key, std::string_view from) {
  if (box.name != "spam") return "";
  std::string offer;
  if (wasRestored(key)) offer += "<small class=\"mark\">restored</small> ";
  const std::string_view list = KnownSenders().listOf(from);
  if (list.empty() && !envelopeAddress(from).empty()) {
    offer +=
        "<label class=\"befriend\"><input type=\"checkbox\" name=\"befriend\" value=\"1\" checked> and put "
        "the sender on the FriendList</label>";
  } else if (list == "enemy") {
    offer +=
        "<span class=\"hint\">The sender is on the EnemyList, so the next run will catch it again.</span>";
  }
  if (form1.ckTestMode.checked())
    offer += " <span class=\"hint\">Test mode: what was caught in it is still in your mailbox.</span>";
  return offer;
}

// The link to the message that many places further on; plain words where there is none.
std::string neighbour(const Box& box, int place, int further, std::string_view words) {
  const std::optional<std::string> key = keyBeside(box, place, further);
  if (!key) return "<span>" + std::string(words) + "</span>";
  return "<a href=\"" + browserText(withSession(previewAddress(box.name, *key))) + "\">" +
         std::string(words) + "</a>";
}

}  // namespace

bool previewTakesMailbox(std::string_view path) {
  return queryValue(path, "b") == "inbox";
}

std::string previewPage() {
  const std::string path = form1.requestPath;
  const Box& box = boxOf(queryValue(path, "b"));
  const std::string key = queryValue(path, "k");
  const bool source = queryValue(path, "v") == "source";
  std::string_view problem;
  const std::unique_ptr<MailMessage> message = fetchMessage(box, key, problem);
  if (!message) return messagePage(problem);

  std::string page = readTemplate("preview.htm");
  Shown shown = shownBody(*message, source);
  const std::string& from = message->getFromDisplay();
  const std::string address = envelopeAddress(from);
  const std::string name = nameIn(from, address);
  const int place = placeOf(box, key);
  const std::string here = withSession(previewAddress(box.name, key));
  const std::string view = keepMessageView({std::move(shown.document), true});
  const std::string subject = trim(message->getSubject()).empty() ? "<none>" : message->getSubject();
  return fillPage(
      std::move(page),
      {{"<!--SSPAGEDESC-->", browserText(subject)},
       {"<!--SSBOX-->", std::string(box.name)},
       {"<!--SSBOXTITLE-->", std::string(box.title)},
       {"<!--SSBOXPAGE-->", std::string(box.listPage)},
       {"<!--SSBOXFIRST-->", std::to_string(pageStartOf(place))},
       {"<!--SSKEY-->", browserText(key)},
       {"<!--SSRESTORE-->", restoreOffer(box, key, from)},
       {"<!--SSFROMNAME-->", browserText(name.empty() ? "<none>" : name)},
       {"<!--SSFROMADDRESS-->", browserText(address.empty() ? "no address" : address)},
       {"<!--SSENTRY-->", browserText(toLower(address))},
       {"<!--SSDATE-->", browserText(formatListedDate(message->getDate()))},
       {"<!--SSSIZE-->", bytes2KB(static_cast<double>(message->getSize()))},
       {"<!--SSATTACHMENTS-->", attachmentItems(findTextParts(message->getRawText()).attachments)},
       {"<!--SSPICTURES-->", picturesNote(shown.picturesLeftOut)},
       {"<!--SSFRAME-->", view},
       {"<!--SSSWITCH-->", "<a href=\"" + browserText(source ? here : here + "&v=source") + "\">" +
                               (source ? "Show the message" : "Show the source") + "</a>"},
       {"<!--SSOWNVIEW-->", browserText(withSession(std::string(box.ownView) + "?k=" + formEncode(key)))},
       {"<!--SSPREV-->", neighbour(box, place, -1, "Previous")},
       {"<!--SSNEXT-->", neighbour(box, place, +1, "Next")}});
}

std::string previewAction() {
  const std::string boxName = formDecode(requestParam("b").value_or(""));
  const std::string key = formDecode(requestParam("k").value_or(""));
  const std::string act = requestParam("act").value_or("");
  const Box& box = boxOf(boxName);
  const int place = placeOf(box, key);
  // The listing as it stands now tells what comes next: the action leaves it alone.
  const std::optional<std::string> next = keyBeside(box, place, +1);
  const bool restore = act == "restore";
  if (restore && box.name == "spam") {
    // A box that is not ticked is not posted.
    const bool befriend = form1.requestText.find("&befriend=1&") != std::string::npos;
    actOnMessage("SPAMBOX", key, formDecode(requestParam("sender").value_or("")),
                 befriend ? MessageAct::restoreAndBefriend : MessageAct::restore);
  } else if (act == "delete") {
    actOnMessage(box.name == "spam" ? "SPAMBOX" : "INBOX", key,
                 formDecode(requestParam("sender").value_or("")), MessageAct::remove);
  }
  const std::string address = restore ? previewAddress(box.name, key)
                              : next  ? previewAddress(box.name, *next)
                                      : std::string(box.listPage) + "?x=";
  return "<script language='Javascript'>window.location='" + withSession(address) + "'</script>";
}

}  // namespace vornelle

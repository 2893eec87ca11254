#include "pages/settings_page.h"

#include <utility>
#include <vector>

#include "core/earlier_log_in.h"
#include "core/form1.h"
#include "core/settings_table.h"
#include "mail/mail_failure.h"
#include "mail/server_notes.h"
#include "pages/browser_text.h"
#include "pages/template.h"

namespace vornelle {
namespace {

// The offer to accept the refused certificate. Only pages behind the gateway have it, as only they have the
// action.
std::string certificateOffer(MailProtocol protocol) {
  const MailFailure* const refused = form1.requestByGateway ? refusedCertificate(protocol) : nullptr;
  if (!refused) return "";
  return "<form method=\"post\" class=\"offer\" data-wait=\"Trying to log onto the servers.\" "
         "action=\"acceptcertificate.cgi?s=<!--SSSESSION-->\">\r\n"
         "<p>If this is a server of your own, and you have compared the fingerprint with what the server "
         "itself shows, you can accept exactly this certificate. <strong>If it is a provider's server, do "
         "not: whoever is in between would get your password and read your mail.</strong></p>\r\n"
         "<input type=\"hidden\" name=\"SERVER\" value=\"" +
         std::string(protocol == MailProtocol::pop3 ? "POP3" : "SMTP") +
         "\"><input type=\"hidden\" name=\"FINGERPRINT\" value=\"" + browserText(refused->fingerprint) +
         "\"><input type=\"hidden\" name=\"END\" value=\"1\">\r\n"
         "<button>Accept exactly this certificate</button>\r\n</form>\r\n";
}

// Whoever saves a password that the mail server refuses has changed the log-in of these pages as well, and is
// told before the session ends.
std::string logInNote() {
  if (!isLogOnRefused(lastMailFailures.pop)) return "";
  std::string html =
      "<p id=\"log-in-note\">Account name and password are also your log-in to these pages, right or wrong. "
      "Correct them here before you are logged out. Otherwise log in with exactly what stands here now, or "
      "open Config in the menu of Vornelle's own window.</p>\r\n";
  if (!form1.requestByGateway || !earlierLogIn) return html;
  return html +
         "<form method=\"post\" class=\"offer\" data-wait=\"Trying to log onto the servers.\" "
         "action=\"earlierlogin.cgi?s=<!--SSSESSION-->\">\r\n"
         "<input type=\"hidden\" name=\"END\" value=\"1\">\r\n"
         "<button>Put the account name and password of before back</button>\r\n</form>\r\n";
}

std::string serverNotesHtml() {
  std::string html;
  for (const MailProtocol protocol : {MailProtocol::pop3, MailProtocol::smtp}) {
    const std::string note = serverNote(protocol);
    if (note.empty()) continue;
    const std::string name = protocol == MailProtocol::pop3 ? "POP3" : "SMTP";
    html.append("<div class=\"note\" id=\"")
        .append(name)
        .append("-note\" role=\"status\">\r\n<p><b>")
        .append(name);
    html.append(":</b> ").append(browserText(note)).append("</p>\r\n");
    html.append(certificateOffer(protocol));
    if (protocol == MailProtocol::pop3) html.append(logInNote());
    html.append("</div>\r\n");
  }
  return html;
}

}  // namespace

std::string pageSettings() {
  std::string page = readTemplate("config.htm");
  // Reading lets events in, and what is shown is what holds afterwards.
  std::vector<std::string> names;
  for (const Setting* setting : settingsOnPage())
    names.push_back("<!--" + std::string(setting->field) + "-->");
  std::vector<Marker> markers = {{"<!--SSPAGEDESC-->", "Config"}, {"<!--SERVER_NOTES-->", serverNotesHtml()}};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Setting& setting = *settingsOnPage()[i];
    const std::string checked = setting.isCheckBox() && isOn(setting) ? "CHECKED" : "";
    markers.emplace_back(names[i], setting.isCheckBox() ? checked : pageText(shownText(setting)));
  }
  return fillPage(std::move(page), markers);
}

}  // namespace vornelle

// Sends the gateway whatever comes, with everything behind it as in the program: the refusals, the queue, the
// page table, the status, the previews and the message views. A session is live; "@S@" in the input stands
// for its id and "@V@" for the name of a message view, so that what needs them is reached.
//
// Whatever was sent, the answers are whole ones of HTTP/1.1; nobody ends the program or logs out without
// saying that our page or the user has asked; what comes from elsewhere reads nothing behind the log-in and
// changes nothing.
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/module_state.h"
#include "base/text.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/filter_lists.h"
#include "pages/Spambox.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/sim/sim.h"
#include "web/gateway.h"
#include "web/listener.h"
#include "web/message_views.h"

namespace {

using namespace vornelle;

const std::string kSession = std::string(32, 'Q') + std::string(32, 'Z');

void put(std::string_view name, std::string_view content) {
  const std::string path = applicationFolder().append("\\").append(name);
  if (readFile(path) != content && !writeFileUnflushed(path, content)) std::abort();
}

// What must stand afterwards as before, where a foreign page has asked.
std::string kept() {
  std::string all = form1.sessionId + "|" + settings.POP_SERVER + settings.POP_ACCOUNT + "|";
  for (const char* name : {"data\\friendlist.txt", "data\\enemylist.txt", "spam\\one.txt", "spam\\two.txt"}) {
    all += readFile(applicationFolder().append("\\").append(name)).value_or("(gone)") + "|";
  }
  return all;
}

void setUp() {
  put("data\\friendlist.txt", "@friend.example\r\n");
  put("data\\enemylist.txt", "@enemy.example\r\n");
  put("data\\subjectlist.txt", "");
  put("spam\\one.txt", "From: Eve <eve@x.example>\r\nSubject: <b>one\r\n\r\nhello\r\n");
  put("spam\\two.txt",
      "From: <two@x.example>\r\nSubject: two\r\nContent-Type: text/html\r\n\r\n<img src=http://x/>hi\r\n");
  form1.sessionId = kSession;
  settings.POP_SERVER = "";
  settings.SMTP_SERVER = "";
  form1.LogWindow.setText("");
  static_cast<void>(deleteFile(applicationFolder() + "\\Vornelle.log"));
}

void start() {
  sim::reset();
  resetProgramState();
  if (!createFolder(applicationFolder() + "\\spam")) std::abort();
  assignConstants();
  settings.httpPort = 7000;
  for (const char* name :
       {"inbox.htm", "spambox.htm", "list.htm", "find.htm", "config.htm", "preview.htm", "progress.htm"}) {
    put(std::string("data\\") + name,
        "<html><head><title>x</title></"
        "head><!--SSTOP--><!--SSLIST--><!--SSSPAM--><!--SSINBOX--><!--SSFRAME-->"
        "<!--SSPAGEDESC--><!--SSFIND--><form></form>PRIVATE</html>");
  }
  put("data\\login.htm", "<html><form></form></html>");
  put("data\\top.inc", "");
  put("data\\vornelle.ico", "icon");
  listenerStart();
  gatewayStart();
}

// The header fields of the input's first request, as far as a line by line look tells.
std::string_view headerOf(std::string_view text) {
  return text.substr(0, text.find("\r\n\r\n"));
}

bool isOneOf(std::string_view text, std::string_view name, std::initializer_list<std::string_view> values) {
  for (const std::string_view value : values) {
    if (containsNoCase(text, std::string(name).append(": ").append(value))) return true;
  }
  return false;
}

// Takes whole answers from the front; what is left is no whole one.
std::string_view withoutWholeAnswers(std::string_view received, int& answers) {
  while (received.starts_with("HTTP/1.1 ")) {
    const std::size_t end = received.find("\r\n\r\n");
    if (end == std::string_view::npos) break;
    const std::string_view header = received.substr(0, end);
    ++answers;
    received.remove_prefix(end + 4);
    if (header.starts_with("HTTP/1.1 100")) continue;
    if (!header.starts_with("HTTP/1.1 2") && !header.starts_with("HTTP/1.1 303") &&
        !header.starts_with("HTTP/1.1 4") && !header.starts_with("HTTP/1.1 5")) {
      std::abort();
    }
    for (const char* field : {"\r\nContent-Security-Policy: ", "\r\nX-Content-Type-Options: nosniff\r\n",
                              "\r\nReferrer-Policy: no-referrer\r\n", "\r\nCache-Control: no-store\r\n"}) {
      if (header.find(field) == std::string_view::npos) std::abort();
    }
    constexpr std::string_view kLength = "\r\nContent-Length: ";
    const std::size_t at = header.find(kLength);
    if (at == std::string_view::npos) std::abort();
    std::size_t length = 0;
    std::from_chars(header.data() + at + kLength.size(), header.data() + header.size(), length);
    received.remove_prefix(received.size() < length ? 0 : length);
  }
  return received;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = (start(), true);
  static_cast<void>(started);
  setUp();
  std::string view = keepMessageView({"<p>view</p>", true});
  view.erase(0, std::min(view.size(), view.find('=') + 1));
  std::string text(reinterpret_cast<const char*>(data), size);
  text = replaceAll(replaceAll(text, "@S@", kSession), "@V@", view);
  const std::string before = kept();

  bool ended = false;
  std::string received;
  {
    sim::Client client;
    if (!client.connect(LoopbackAddress::ipv6, 7000)) std::abort();
    client.send(text);
    try {
      sim::advance(0);
    } catch (const sim::ProcessEnded&) {
      ended = true;
    }
    received = client.received();
  }
  sim::advance(0);

  const std::string_view header = headerOf(text);
  const bool asked = isOneOf(text, "Sec-Fetch-Site", {"same-origin", "none"}) ||
                     containsNoCase(text, "Sec-Fetch-Site:same") ||
                     containsNoCase(text, "Sec-Fetch-Site:none") ||
                     containsNoCase(text, "Sec-Fetch-Site:\t") || containsNoCase(text, "Sec-Fetch-Site:  ");
  const bool loggedOut = form1.sessionId.empty();
  if ((ended || loggedOut) && !asked) std::abort();
  // One foreign request alone, said in the usual way.
  const bool single = header.size() + 4 >= text.size() && text.ends_with("\r\n\r\n");
  const bool foreign = isOneOf(header, "\r\nSec-Fetch-Site", {"cross-site\r\n", "same-site\r\n"});
  if (single && foreign && !asked) {
    if (kept() != before) std::abort();
    for (const char* secret : {"PRIVATE", "eve@x", "underWay", "<p>view</p>"}) {
      if (received.find(secret) != std::string::npos) std::abort();
    }
  }
  int answers = 0;
  if (!ended) static_cast<void>(withoutWholeAnswers(received, answers));
  if (!received.empty() && !received.starts_with("HTTP/1.1 ")) std::abort();
  if (ended) start();
  return 0;
}

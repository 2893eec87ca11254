#include "desktop/frmAbout.h"

#include "core/settings.h"
#include "core/version.h"
#include "desktop/main_window.h"
#include "pages/browser_text.h"
#include "platform/files.h"

namespace vornelle {
namespace {

constexpr const char* kParagraphStart =
    "<p style='font-family: Verdana, Arial, Helvetica, sans-serif;font-size: 9pt;'>";
constexpr const char* kProgramName = "Vornelle";

}  // namespace

std::string frmAboutTitle() {
  return std::string("About ") + kProgramName;
}

std::vector<AboutParagraph> frmAboutParagraphs() {
  return {
      {kProgramName + (" v" + versionText()), ""},
      {"Vornelle is currently listening to port " + std::to_string(settings.httpPort) +
           ". To access on this PC use this URL: ",
       webInterfaceAddress()},
      {"The address is for a web browser on this computer. Other computers cannot reach it.", ""},
      {"You find the guide in the application folder: " + applicationFolder() + "\\data\\guide.htm", ""},
  };
}

std::string frmAboutHtml() {
  const std::string boldName = std::string("<b>") + kProgramName + "</b>";
  std::string html;
  for (const AboutParagraph& paragraph : frmAboutParagraphs()) {
    std::string text = browserText(paragraph.text);  // a folder's name may hold what means something in HTML
    if (html.empty()) text.replace(0, std::string(kProgramName).size(), boldName);
    html += kParagraphStart + text;
    if (!paragraph.link.empty()) {
      html += "<a href='" + paragraph.link + "' target='_blank'>" + paragraph.link + "</a>";
    }
    html += "</p>";
  }
  return html;
}

}  // namespace vornelle

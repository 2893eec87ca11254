#include "desktop/frmAbout.h"

#include "core/settings.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class About : public SimTest {
 protected:
  About() { assignConstants(); }
};

constexpr const char* kStart =
    "<p style='font-family: Verdana, Arial, Helvetica, sans-serif;font-size: 9pt;'>";

TEST_F(About, TheTitleNamesTheProgram) {
  EXPECT_EQ(frmAboutTitle(), "About Vornelle");
}

TEST_F(About, TheTextStartsWithVersionAndAddress) {
  settings.httpPort = 7000;
  EXPECT_THAT(frmAboutHtml(),
              StartsWith(std::string(kStart) + "<b>Vornelle</b> v1.0.0</p>" + kStart +
                         "Vornelle is currently listening to port 7000. To access on this PC use this URL: "
                         "<a href='http://localhost:7000' target='_blank'>http://localhost:7000</a></p>"));
}

TEST_F(About, TheLinkEndsWithColonAndPortAndOpensInANewBrowserWindow) {
  settings.httpPort = 7000;
  EXPECT_THAT(frmAboutHtml(), HasSubstr(":7000' target='_blank'>"));
  EXPECT_THAT(frmAboutHtml(), HasSubstr(":7000</a></p>"));
}

TEST_F(About, ThePortIsTheOneInUse) {
  settings.HTTP_PORT_CFG = "7000";
  settings.httpPort = 7004;
  EXPECT_THAT(frmAboutHtml(), HasSubstr("listening to port 7004."));
  EXPECT_THAT(frmAboutHtml(), HasSubstr("href='http://localhost:7004'"));
}

TEST_F(About, TheContactParagraphsNameBrowserAndDocumentation) {
  const std::string html = frmAboutHtml();
  EXPECT_THAT(html, HasSubstr("a web browser on this computer"));
  EXPECT_THAT(html, HasSubstr(applicationFolder() + "\\data\\guide.htm"));
}

TEST_F(About, EveryParagraphHasTheStyleOfTheFirst) {
  std::string html = frmAboutHtml();
  while (!html.empty()) {
    ASSERT_THAT(html, StartsWith(kStart));
    const std::size_t end = html.find("</p>");
    ASSERT_NE(end, std::string::npos);
    html.erase(0, end + 4);
  }
}

TEST_F(About, TheTextIsTheHtmlOfItsParagraphsWithTheNameInBold) {
  const std::vector<AboutParagraph> paragraphs = frmAboutParagraphs();
  EXPECT_THAT(frmAboutHtml(), HasSubstr(std::string(kStart) + paragraphs.back().text + "</p>"));
  EXPECT_EQ(frmAboutHtml().find("<b>"), std::string(kStart).size());
  EXPECT_EQ(frmAboutHtml().rfind("<b>"), std::string(kStart).size());
}

TEST_F(About, TheParagraphsHoldTheSameTextWithoutMarkup) {
  const std::vector<AboutParagraph> paragraphs = frmAboutParagraphs();
  ASSERT_GE(paragraphs.size(), 3u);
  EXPECT_EQ(paragraphs[0].text, "Vornelle v1.0.0");
  EXPECT_EQ(paragraphs[0].link, "");
  EXPECT_EQ(paragraphs[1].link, "http://localhost:7000");
  const std::string html = frmAboutHtml();
  std::size_t count = 0;
  for (std::size_t at = html.find(kStart); at != std::string::npos; at = html.find(kStart, at + 1)) ++count;
  EXPECT_EQ(count, paragraphs.size());
  for (const AboutParagraph& paragraph : paragraphs) EXPECT_EQ(paragraph.text.find('<'), std::string::npos);
}

}  // namespace
}  // namespace vornelle

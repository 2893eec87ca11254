#include "pages/browser_text.h"

#include "core/settings.h"
#include "pages/list_page.h"
#include "pages/settings_page.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(BrowserText, HoldsNoMarkup) {
  EXPECT_EQ(browserText("<a href=\"x\" title='y'>"), "&lt;a href=&quot;x&quot; title=&#39;y&#39;&gt;");
  EXPECT_EQ(browserText("<!--SSSESSION-->"), "&lt;!--SSSESSION--&gt;");
}

TEST(BrowserText, KeepsDecimalReferencesAndNoOthers) {
  EXPECT_EQ(browserText("&#1087;&#60;"), "&#1087;&#60;");
  EXPECT_EQ(browserText("& &amp; &lt; &#x41; &#; &#12 &#12345678;"),
            "&amp; &amp;amp; &amp;lt; &amp;#x41; &amp;#; &amp;#12 &amp;#12345678;");
}

class PagesInABrowser : public PageTest {
 protected:
  PagesInABrowser() {
    form1.requestByGateway = true;
    form1.sessionId = "LIVE";
    makeFile("\\data\\List.htm", "<!--SSLIST--><!--SSSESSION-->");
    makeFile("\\data\\find.htm", "<!--ssFINDINLISTS-->");
    makeFile("\\data\\config.htm", "value=\"<!--POP_SERVER-->\"");
    makeFile("\\data\\friendlist.txt", "</option><!--SSSESSION-->\r\n");
  }
};

TEST_F(PagesInABrowser, AListEntryIsTextAndGetsNoSession) {
  EXPECT_THAT(pageList("FriendList"), HasSubstr(">&lt;/option&gt;&lt;!--SSSESSION--&gt;</option>"));
  form1.requestByGateway = false;
  EXPECT_THAT(pageList("FriendList"), HasSubstr("></option>LIVE</option>"));
}

TEST_F(PagesInABrowser, ASearchTextAndWhatItFindsAreText) {
  const std::string page = pageFind("</option>");
  EXPECT_THAT(page, HasSubstr("Last search: </b>&lt;/option&gt;</p>"));
  EXPECT_THAT(page, HasSubstr("- &lt;/option&gt;&lt;!--SSSESSION--&gt;<br>"));
  EXPECT_THAT(page, Not(HasSubstr("</option>")));
}

TEST_F(PagesInABrowser, ASettingStaysInItsField) {
  settings.POP_SERVER = "a\"b'<c";
  EXPECT_THAT(pageSettings(), HasSubstr("value=\"a&quot;b&#39;&lt;c\""));
  form1.requestByGateway = false;
  EXPECT_THAT(pageSettings(), HasSubstr("value=\"a\"b'<c\""));
}

}  // namespace
}  // namespace vornelle

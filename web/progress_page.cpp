#include "web/progress_page.h"

#include "base/text.h"
#include "core/activity.h"
#include "core/form1.h"
#include "pages/browser_text.h"
#include "platform/files.h"

namespace vornelle {

std::string progressPage() {
  const std::optional<Progress> progress = underWay();
  const std::string text = progress ? progressText(*progress) : "One moment";
  // A template that is missing must not keep anybody waiting for ever.
  std::string page = readFile(applicationFolder() + "\\data\\progress.htm")
                         .value_or(
                             "<html><head><meta http-equiv='refresh' content='2'></head><body><p>"
                             "<!--SSPROGRESS--></p></body></html>\r\n");
  page = replaceAllNoCase(page, "<!--SSPROGRESS-->", browserText(text));
  return replaceAllNoCase(page, "<!--SSSESSION-->", form1.sessionId);
}

}  // namespace vornelle

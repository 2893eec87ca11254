#include "pages/modSGML.h"

#include "base/text.h"

namespace vornelle {

std::string& textToHtml(std::string& text) {
  text = replaceAll(text, "\"", "&quot;");
  text = replaceAll(text, "<", "&lt;");
  text = replaceAll(text, ">", "&gt;");
  text = replaceAll(text, kCrLf, "\r\n<br>");
  return text;
}

}  // namespace vornelle

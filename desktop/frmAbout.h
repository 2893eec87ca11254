// The about window: its title and its text, as HTML for a browser control and as paragraphs for a desktop
// that shows them in a control of its own.
#pragma once

#include <string>
#include <vector>

namespace vornelle {

// "About Vornelle"
[[nodiscard]] std::string frmAboutTitle();

// The whole text, to be written into a blank document.
[[nodiscard]] std::string frmAboutHtml();

// One paragraph: text, then (where it has one) a link, whose text is its address.
struct AboutParagraph {
  std::string text;
  std::string link;
};
// The same text without markup, paragraph by paragraph. The first one starts with the program's name, which
// the HTML text shows in bold.
[[nodiscard]] std::vector<AboutParagraph> frmAboutParagraphs();

}  // namespace vornelle

// Strangers' HTML written anew, so that nothing is left of it but words, their looks, and links.
//
// Not what is known to be bad is taken out, but what is known to be harmless is put in: a list of elements, a
// list of attributes, links to the web and to addresses (each opens a window of its own that knows nothing of
// this one), and pictures that the message brings itself. Of everything else only the words stay; scripts,
// style sheets, frames and the fields of forms go with what is in them. The result is well-formed enough to
// be read in one way only, whatever the source was.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

struct SafeHtml {
  std::string html;
  int picturesLeftOut = 0;  // those that would have been fetched from somewhere
};

[[nodiscard]] SafeHtml safeHtml(std::string_view source);

}  // namespace vornelle

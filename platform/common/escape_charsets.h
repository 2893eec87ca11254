// Character sets of eastern Asia that are other ways to write the characters of a code page.
#pragma once

#include <string>
#include <string_view>

#include "platform/common/code_page.h"

namespace vornelle {

// Escape sequences switch between sets until the end of the line (RFC 1468, RFC 1554). `japanese` is code
// page 932; `chinese` and `korean` may be null.
[[nodiscard]] std::u32string fromIso2022Jp(std::string_view bytes, const CodePage& japanese,
                                           const CodePage* chinese, const CodePage* korean);
// Shift-out and shift-in switch between ASCII and Korean (RFC 1557); code page 949.
[[nodiscard]] std::u32string fromIso2022Kr(std::string_view bytes, const CodePage& korean);
// "~{" and "~}" switch between ASCII and Chinese (RFC 1843); code page 936.
[[nodiscard]] std::u32string fromHz(std::string_view bytes, const CodePage& chinese);
// Code page 932. The supplementary characters (three bytes) are not known.
[[nodiscard]] std::u32string fromEucJp(std::string_view bytes, const CodePage& japanese);
// Code page 936, which it extends by all characters of Unicode.
[[nodiscard]] std::u32string fromGb18030(std::string_view bytes, const CodePage& chinese);

}  // namespace vornelle

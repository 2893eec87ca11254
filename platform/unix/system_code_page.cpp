#include "platform/common/system_code_page.h"

#include <iconv.h>

#include <string>

namespace vornelle {
namespace {

// NOLINTNEXTLINE(performance-no-int-to-ptr): that is how iconv says it.
iconv_t const kNoConverter = reinterpret_cast<iconv_t>(-1);

std::string iconvName(int number) {
  switch (number) {
    case 874:
      return "TIS-620";
    case 10000:
      return "MACINTOSH";
    case 10007:
      return "MAC-CYRILLIC";
    case 10029:
      return "MAC-CENTRALEUROPE";
    case 20866:
      return "KOI8-R";
    case 21866:
      return "KOI8-U";
    default:
      break;
  }
  if (number > 28590 && number < 28606) return "ISO-8859-" + std::to_string(number - 28590);
  return "CP" + std::to_string(number);
}

}  // namespace

SystemCodePage::SystemCodePage(int number) {
  const iconv_t converter = iconv_open("UTF-16LE", iconvName(number).c_str());
  converter_ = converter == kNoConverter ? nullptr : converter;
}

SystemCodePage::~SystemCodePage() {
  if (converter_ != nullptr) iconv_close(converter_);
}

bool SystemCodePage::known() const {
  return converter_ != nullptr;
}

std::optional<char16_t> SystemCodePage::character(std::string_view bytes) const {
  std::string source(bytes);
  char* in = source.data();
  std::size_t inLeft = source.size();
  unsigned char units[16];
  char* out = reinterpret_cast<char*>(units);
  std::size_t outLeft = sizeof units;
  iconv(converter_, nullptr, nullptr, nullptr, nullptr);
  if (iconv(converter_, &in, &inLeft, &out, &outLeft) != 0 || inLeft != 0) return std::nullopt;
  // A converter that joins letters with the accents behind them holds the last letter back.
  if (iconv(converter_, nullptr, nullptr, &out, &outLeft) != 0) return std::nullopt;
  if (sizeof units - outLeft != 2) return std::nullopt;
  return static_cast<char16_t>(units[0] | units[1] << 8);
}

}  // namespace vornelle

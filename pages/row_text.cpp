#include "pages/row_text.h"

#include "base/characters.h"
#include "base/text.h"
#include "mail/mail_address.h"
#include "pages/browser_text.h"

namespace vornelle {
namespace {

constexpr std::size_t kMostShown = 500;

bool isAddressLetter(char c) {
  return isAsciiLetter(c) || isDigit(c) || std::string_view("._-+;&").find(c) != std::string_view::npos ||
         static_cast<unsigned char>(c) >= 0x80;
}

// Something of an address on both sides of an "@", or of a sign that looks like one (the full-width and the
// small commercial at).
bool looksLikeAddress(std::string_view text) {
  for (const std::string_view at : {"@", "&#65312;", "&#65131;"}) {
    for (std::size_t place = 0; (place = text.find(at, place)) != std::string_view::npos;
         place += at.size()) {
      const std::size_t behind = place + at.size();
      if (place > 0 && behind < text.size() && isAddressLetter(text[place - 1]) &&
          isAddressLetter(text[behind]))
        return true;
    }
  }
  return false;
}

}  // namespace

std::string wholeTextAttribute(std::string_view whole, std::string_view shown) {
  if (shown.size() >= whole.size()) return "";
  return " title='" + browserText(firstCharacters(whole, kMostShown)) + "'";
}

std::string addressBehindName(std::string_view from) {
  std::string address = envelopeAddress(from);
  if (address.empty() || !looksLikeAddress(replaceAllNoCase(from, address, ""))) return "";
  return address;
}

}  // namespace vornelle

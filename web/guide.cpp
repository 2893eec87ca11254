#include "web/guide.h"

#include <algorithm>

#include "base/text.h"
#include "platform/files.h"

namespace vornelle {
namespace {

constexpr std::string_view kGuidePage = "/guide.htm";
constexpr std::string_view kPictures = "/guide/";
constexpr std::string_view kPictureEnding = ".webp";

std::string_view withoutQuery(std::string_view target) {
  return target.substr(0, target.find('?'));
}

bool isPlainLetter(char c) {
  return isAsciiLetter(c) || isDigit(c) || c == '-';
}

// The name comes from a request and becomes part of a path: nothing that could lead elsewhere may pass.
bool isPictureName(std::string_view name) {
  if (name.size() <= kPictureEnding.size() || !name.ends_with(kPictureEnding)) return false;
  name.remove_suffix(kPictureEnding.size());
  return std::all_of(name.begin(), name.end(), isPlainLetter);
}

}  // namespace

bool isGuide(std::string_view target) {
  return equalsNoCase(withoutQuery(target), kGuidePage) || isGuidePicture(target);
}

bool isGuidePicture(std::string_view target) {
  return startsWithNoCase(target, kPictures);
}

std::optional<std::string> readGuide(std::string_view target) {
  const std::string data = applicationFolder() + "\\data\\guide";
  if (!isGuidePicture(target)) return readFile(data + ".htm");
  const std::string_view name = withoutQuery(target).substr(kPictures.size());
  if (!isPictureName(name)) return std::nullopt;
  return readFile(data + "\\" + std::string(name));
}

}  // namespace vornelle

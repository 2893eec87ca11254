#include "platform/common/temporary_name.h"

#include "base/text.h"

namespace vornelle::files {
namespace {

constexpr std::string_view kStart = ".vornelle-";
constexpr std::string_view kEnd = ".tmp";

}  // namespace

std::string temporaryName(std::uint64_t hashOfName) {
  std::string result(kStart);
  for (int shift = 60; shift >= 0; shift -= 4) result += kSmallHexDigits[hashOfName >> shift & 15];
  return result.append(kEnd);
}

bool isTemporaryName(std::string_view name) {
  return name.starts_with(kStart) && name.ends_with(kEnd);
}

}  // namespace vornelle::files

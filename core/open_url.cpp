#include "core/open_url.h"

#include "platform/download.h"
#include "platform/files.h"

namespace vornelle {

void openUrl(const std::string& url, const std::string& path) {
  const std::string body = downloadUrl(url);
  // The old file goes first: a text that is out of date must not be shown when the new one cannot be written.
  if (fileExists(path)) static_cast<void>(deleteFile(path));
  static_cast<void>(writeFile(path, body));
}

}  // namespace vornelle

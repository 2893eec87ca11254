#include "platform/download.h"

#include "platform/sim/sim.h"

namespace vornelle {

std::string downloadUrl(const std::string& url) {
  sim::shell().downloadedUrls.push_back(url);
  const auto found = sim::shell().downloads.find(url);
  return found == sim::shell().downloads.end() ? "" : found->second;
}

}  // namespace vornelle

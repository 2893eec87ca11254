#include "platform/common/blocking.h"

#include <utility>

namespace vornelle {
namespace {

// Never destroyed: the program may block until its very end.
std::function<void()>& beforeBlocking() {
  static auto* const handler = new std::function<void()>;
  return *handler;
}

}  // namespace

void setBeforeBlocking(std::function<void()> handler) {
  beforeBlocking() = std::move(handler);
}

void aboutToBlock() {
  if (beforeBlocking()) beforeBlocking()();
}

}  // namespace vornelle

// Handles of the kernel: one that is closed at the end of its scope, and waiting for one.
#pragma once

#include <windows.h>

#include <cstdint>
#include <utility>

#include "platform/common/blocking.h"

namespace vornelle::win32 {

// For the event to be set.
[[nodiscard]] inline Waited waitForEvent(HANDLE event, std::int64_t milliseconds) {
  const DWORD waited = WaitForSingleObject(event, static_cast<DWORD>(milliseconds));
  if (waited == WAIT_OBJECT_0) return Waited::come;
  return waited == WAIT_TIMEOUT ? Waited::timeOver : Waited::failed;
}

class Handle {
 public:
  explicit Handle(HANDLE handle = nullptr) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  ~Handle() {
    if (handle_) CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  explicit operator bool() const { return handle_ != nullptr; }
  [[nodiscard]] HANDLE get() const { return handle_; }
  [[nodiscard]] bool close() { return CloseHandle(std::exchange(handle_, nullptr)) != FALSE; }

 private:
  HANDLE handle_;
};

}  // namespace vornelle::win32

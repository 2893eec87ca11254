// A handle of the kernel, closed at the end of its scope.
#pragma once

#include <windows.h>

#include <utility>

namespace vornelle::win32 {

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
  HANDLE release() { return std::exchange(handle_, nullptr); }

 private:
  HANDLE handle_;
};

}  // namespace vornelle::win32

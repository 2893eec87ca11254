// A counted reference to an object of the component model.
#pragma once

#include <windows.h>
// After windows.h.
#include <ole2.h>

#include <utility>

namespace vornelle::win32 {

template <typename Interface>
class ComPointer {
 public:
  ComPointer() = default;
  ~ComPointer() { reset(); }
  ComPointer(ComPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPointer& operator=(ComPointer&& other) noexcept {
    if (this != &other) {
      reset();
      object_ = std::exchange(other.object_, nullptr);
    }
    return *this;
  }

  explicit operator bool() const { return object_ != nullptr; }
  Interface* operator->() const { return object_; }
  [[nodiscard]] Interface* get() const { return object_; }
  // Where a function puts a reference that it hands over.
  [[nodiscard]] void** receive() {
    reset();
    return reinterpret_cast<void**>(&object_);
  }
  void reset() {
    if (object_) std::exchange(object_, nullptr)->Release();
  }

 private:
  Interface* object_ = nullptr;
};

// Prepares the thread for the component model, once.
inline void startCom() {
  static const HRESULT started = OleInitialize(nullptr);
  static_cast<void>(started);
}

// Null where the system has no such object.
template <typename Interface>
[[nodiscard]] ComPointer<Interface> createComObject(REFCLSID classId, REFIID interfaceId) {
  startCom();
  ComPointer<Interface> object;
  if (FAILED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, interfaceId, object.receive())))
    object.reset();
  return object;
}

}  // namespace vornelle::win32

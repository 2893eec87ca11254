// The main window's controls as portable objects. A desktop implementation mirrors them on the screen: it
// sets the observers below and calls the operations for what the user does.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace vornelle {

// A check box. It counts as on when its value is 1. Setting a value that differs from the present one runs
// the click handler, whoever sets it.
class CheckBox {
 public:
  [[nodiscard]] int value() const { return value_; }
  [[nodiscard]] bool checked() const { return value_ == 1; }
  void setValue(int value) {
    if (value == value_) return;
    value_ = value;
    if (onShow) onShow();
    if (onClick) onClick();
  }
  void setChecked(bool checked) { setValue(checked ? 1 : 0); }

  std::function<void()> onClick;
  std::function<void()> onShow;  // the desktop's mirror

 private:
  int value_ = 0;
};

// A multi-line text box that a program writes and a person reads.
class TextBox {
 public:
  [[nodiscard]] const std::string& text() const { return text_; }
  // Replaces everything. Runs the change handler.
  void setText(std::string text) {
    text_ = std::move(text);
    if (onReplace) onReplace();
    if (onChange) onChange();
  }
  // Adds to the end. Runs the change handler.
  void append(std::string_view piece) {
    text_.append(piece);
    if (onAppend) onAppend(piece);
    if (onChange) onChange();
  }

  std::function<void()> onChange;
  std::function<void(std::string_view)> onAppend;  // the desktop's mirror
  std::function<void()> onReplace;                 // the desktop's mirror

 private:
  std::string text_;
};

}  // namespace vornelle

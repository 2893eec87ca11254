// A dialog put together while the program runs, for rows that stand in a table and not in the resources. What
// it makes is what the resource compiler makes of a DIALOGEX, in dialog units.
#pragma once

#include <windows.h>

#include <string_view>
#include <vector>

namespace vornelle::win32 {

class DialogTemplate {
 public:
  struct Place {
    int x, y, width, height;
  };

  DialogTemplate(std::wstring_view caption, int width, int height);

  // In the order in which the Tab key goes through them. A label stands before the box that it belongs to:
  // that is where a screen reader takes the box's name from.
  void addLabel(int id, Place place);
  // Text that may hold any character, breaks into lines, and can be scrolled.
  void addText(int id, Place place);
  void addTextBox(int id, Place place, DWORD style);  // ES_PASSWORD, or 0
  void addCheckBox(int id, Place place);
  void addButton(int id, Place place, bool isDefault);

  // For CreateDialogIndirectParam, which copies it. Valid until the next control is added.
  [[nodiscard]] const DLGTEMPLATE* get() const { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }

 private:
  void addControl(WORD windowClass, int id, Place place, DWORD style);
  void put(DWORD value);
  void putPlace(Place place);
  void putText(std::wstring_view text);

  std::vector<WORD> words_;
};

}  // namespace vornelle::win32

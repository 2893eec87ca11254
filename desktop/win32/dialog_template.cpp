#include "desktop/win32/dialog_template.h"

namespace vornelle::win32 {
namespace {

constexpr WORD kVersion = 1;
constexpr WORD kExtended = 0xFFFF;  // an extended template; before a class, one that is told by its number
constexpr WORD kButton = 0x0080, kEdit = 0x0081, kStatic = 0x0082;
constexpr std::size_t kControlCount = 8;  // the word that counts the controls

constexpr DWORD kDialogStyle = DS_SHELLFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU;

}  // namespace

DialogTemplate::DialogTemplate(std::wstring_view caption, int width, int height) {
  words_ = {kVersion, kExtended};
  put(0);  // help
  put(0);  // extended style
  put(kDialogStyle);
  words_.push_back(0);  // controls
  putPlace({0, 0, width, height});
  words_.insert(words_.end(), {0, 0});  // no menu, the class of dialogs
  putText(caption);
  words_.insert(words_.end(), {9, FW_NORMAL, DEFAULT_CHARSET << 8});  // points, weight, not italic
  putText(L"Segoe UI");
}

void DialogTemplate::addLabel(int id, Place place) {
  addControl(kStatic, id, place, SS_LEFT | WS_GROUP);
}

void DialogTemplate::addText(int id, Place place) {
  addControl(kEdit, id, place, ES_LEFT | ES_MULTILINE | ES_READONLY | WS_VSCROLL | WS_GROUP);
}

void DialogTemplate::addTextBox(int id, Place place, DWORD style) {
  addControl(kEdit, id, place, ES_LEFT | ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP | style);
}

void DialogTemplate::addCheckBox(int id, Place place) {
  addControl(kButton, id, place, BS_AUTOCHECKBOX | WS_TABSTOP);
}

void DialogTemplate::addButton(int id, Place place, bool isDefault) {
  addControl(kButton, id, place, (isDefault ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON) | WS_TABSTOP);
}

void DialogTemplate::addControl(WORD windowClass, int id, Place place, DWORD style) {
  if (words_.size() % 2 != 0) words_.push_back(0);  // each begins at a multiple of four bytes
  put(0);                                           // help
  put(0);                                           // extended style
  put(WS_CHILD | WS_VISIBLE | style);
  putPlace(place);
  put(static_cast<DWORD>(id));
  words_.insert(words_.end(), {kExtended, windowClass});
  putText({});
  words_.push_back(0);  // no data of its own
  ++words_[kControlCount];
}

void DialogTemplate::put(DWORD value) {
  words_.insert(words_.end(), {LOWORD(value), HIWORD(value)});
}

void DialogTemplate::putPlace(Place place) {
  for (const int number : {place.x, place.y, place.width, place.height})
    words_.push_back(static_cast<WORD>(number));
}

void DialogTemplate::putText(std::wstring_view text) {
  words_.insert(words_.end(), text.begin(), text.end());
  words_.push_back(0);
}

}  // namespace vornelle::win32

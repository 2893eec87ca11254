#include "desktop/win32/import_dialog.h"

#include <windows.h>
// After windows.h.
#include <commdlg.h>

#include "desktop/dlgImport.h"
#include "desktop/win32/dialog_text.h"
#include "desktop/win32/keyboard.h"
#include "desktop/win32/modal.h"
#include "desktop/win32/resource.h"
#include "desktop/win32/tool_tips.h"

namespace vornelle::win32 {
namespace {

struct Caption {
  int control;
  int captionControl;  // the label before the control, or the control itself
  const DlgImportControl& text;
};
const Caption kCaptions[] = {
    {IDC_FIELD_POS, IDC_FIELD_POS_LABEL, kTxtFieldPos},
    {IDC_OPT_TAB, IDC_OPT_TAB, kOptTab},
    {IDC_OPT_COMMA, IDC_OPT_COMMA, kOptComma},
    {IDC_IMPORT_LIST, IDC_IMPORT_LIST_LABEL, kTxtImportList},
    {IDC_IMPORT_BUTTON, IDC_IMPORT_BUTTON, kImportButton},
    {IDC_LOAD_BUTTON, IDC_LOAD_BUTTON, kLoadButton},
};

void initialize(HWND dialog) {
  setWindowText(dialog, kDlgImportCaption);
  const HWND toolTips = makeToolTips(dialog);
  for (const Caption& entry : kCaptions) {
    setWindowText(GetDlgItem(dialog, entry.captionControl), entry.text.caption);
    addToolTip(toolTips, GetDlgItem(dialog, entry.control), entry.text.toolTip);
  }
  SendDlgItemMessageW(dialog, IDC_IMPORT_LIST, EM_SETLIMITTEXT, 0, 0);  // as much as the system can hold
  const DlgImport first;
  setWindowText(GetDlgItem(dialog, IDC_FIELD_POS), first.txtFieldPos);
  CheckRadioButton(dialog, IDC_OPT_TAB, IDC_OPT_COMMA, first.OptComma ? IDC_OPT_COMMA : IDC_OPT_TAB);
}

DlgImport readControls(HWND dialog) {
  DlgImport controls;
  controls.txtFieldPos = windowText(GetDlgItem(dialog, IDC_FIELD_POS));
  controls.OptComma = IsDlgButtonChecked(dialog, IDC_OPT_COMMA) == BST_CHECKED;
  controls.txtImportList = windowText(GetDlgItem(dialog, IDC_IMPORT_LIST));
  return controls;
}

// "" when the user cancels.
std::string chooseFile(HWND dialog) {
  std::wstring filter;
  for (const char* part : kDlgImportFileFilter) filter += widen(part) + L'\0';
  const std::wstring title = widen(kDlgImportFileTitle);
  std::wstring path(32768, L'\0');
  OPENFILENAMEW question{};
  question.lStructSize = sizeof question;
  question.hwndOwner = dialog;
  question.lpstrFilter = filter.c_str();
  question.nFilterIndex = 1;
  question.lpstrFile = path.data();
  question.nMaxFile = static_cast<DWORD>(path.size());
  question.lpstrTitle = title.c_str();
  question.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  if (!GetOpenFileNameW(&question)) return {};
  return narrowPath(path.c_str());
}

void loadFile(HWND dialog) {
  DlgImport controls = readControls(dialog);
  if (LoadButtonClick(controls, [dialog] { return chooseFile(dialog); })) {
    setWindowText(GetDlgItem(dialog, IDC_IMPORT_LIST), controls.txtImportList);
  }
}

void command(HWND dialog, WPARAM wParam) {
  constexpr int kFromAccelerator = 1;
  const int id = LOWORD(wParam);
  if (HIWORD(wParam) == kFromAccelerator) {
    useAccessKey(dialog, id);
    return;
  }
  if (HIWORD(wParam) != BN_CLICKED) return;
  if (id == IDC_LOAD_BUTTON) loadFile(dialog);
  if (id == IDC_IMPORT_BUTTON) ImportButtonClick(readControls(dialog));
  if (id == IDCANCEL) closeModal(dialog);  // the Escape key and the close button
}

INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      initialize(dialog);
      return TRUE;
    case WM_COMMAND:
      command(dialog, wParam);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

void showImportDialog() {
  runModal(IDD_IMPORT, IDA_IMPORT, procedure, 0);
}

}  // namespace vornelle::win32

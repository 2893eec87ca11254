#include "desktop/win32/dialogs.h"

#include <windows.h>
// After windows.h.
#include <commdlg.h>

#include "desktop/dlgImport.h"
#include "desktop/win32/dialog_text.h"
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
    {IDC_txtFieldPos, IDC_txtFieldPosLabel, kTxtFieldPos},
    {IDC_OptTab, IDC_OptTab, kOptTab},
    {IDC_OptComma, IDC_OptComma, kOptComma},
    {IDC_txtImportList, IDC_txtImportListLabel, kTxtImportList},
    {IDC_ImportButton, IDC_ImportButton, kImportButton},
    {IDC_LoadButton, IDC_LoadButton, kLoadButton},
};

void fillImport(HWND dialog) {
  setWindowText(dialog, kDlgImportCaption);
  const HWND toolTips = makeToolTips(dialog);
  for (const Caption& entry : kCaptions) {
    setWindowText(GetDlgItem(dialog, entry.captionControl), entry.text.caption);
    addToolTip(toolTips, GetDlgItem(dialog, entry.control), entry.text.toolTip);
  }
  SendDlgItemMessageW(dialog, IDC_txtImportList, EM_SETLIMITTEXT, 0, 0);  // as much as the system can hold
  const DlgImport first;
  setWindowText(GetDlgItem(dialog, IDC_txtFieldPos), first.txtFieldPos);
  CheckRadioButton(dialog, IDC_OptTab, IDC_OptComma, first.OptComma ? IDC_OptComma : IDC_OptTab);
}

DlgImport readControls(HWND dialog) {
  DlgImport controls;
  controls.txtFieldPos = windowText(GetDlgItem(dialog, IDC_txtFieldPos));
  controls.OptComma = IsDlgButtonChecked(dialog, IDC_OptComma) == BST_CHECKED;
  controls.txtImportList = windowText(GetDlgItem(dialog, IDC_txtImportList));
  return controls;
}

// The open-file dialog; "" when the user cancels.
std::string CommonDialog1(HWND dialog) {
  std::wstring filter;
  for (const char* part : kCommonDialog1Filter) filter += widen(part) + L'\0';
  const std::wstring title = widen(kCommonDialog1Title);
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
  return narrowPath(path.substr(0, path.find(L'\0')));
}

void loadFile(HWND dialog) {
  DlgImport controls = readControls(dialog);
  if (LoadButtonClick(controls, [dialog] { return CommonDialog1(dialog); })) {
    setWindowText(GetDlgItem(dialog, IDC_txtImportList), controls.txtImportList);
  }
}

void importCommand(HWND dialog, int control, int notification) {
  if (notification != BN_CLICKED) return;
  if (control == IDC_LoadButton) loadFile(dialog);
  if (control == IDC_ImportButton) ImportButtonClick(readControls(dialog));
  if (control == IDCANCEL) closeModal(dialog);  // the Escape key and the close button
}

}  // namespace

void showImportDialog() {
  runModal(IDD_IMPORT, IDA_IMPORT, {fillImport, importCommand});
}

}  // namespace vornelle::win32

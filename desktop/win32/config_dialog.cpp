#include "desktop/win32/config_dialog.h"

#include <windows.h>

#include <iterator>

#include "desktop/dlgConfig.h"
#include "desktop/win32/dialog_text.h"
#include "desktop/win32/keyboard.h"
#include "desktop/win32/modal.h"
#include "desktop/win32/resource.h"
#include "desktop/win32/tool_tips.h"

namespace vornelle::win32 {
namespace {

constexpr int kRows = static_cast<int>(std::size(kDlgConfigRows));

HWND box(HWND dialog, int row) {
  return GetDlgItem(dialog, IDC_CONFIG_BOX + row);
}

// A text box has its label before it, a check box without one beside it is labelled by its own caption.
void showCaptions(HWND dialog) {
  const HWND toolTips = makeToolTips(dialog);
  for (int row = 0; row < kRows; ++row) {
    const DlgConfigRow& entry = kDlgConfigRows[row];
    const HWND label = GetDlgItem(dialog, IDC_CONFIG_LABEL + row);
    setWindowText(label ? label : box(dialog, row), entry.label);
    if (const HWND unit = GetDlgItem(dialog, IDC_CONFIG_UNIT + row)) setWindowText(unit, entry.unit);
    addToolTip(toolTips, box(dialog, row), entry.toolTip);
  }
  setWindowText(GetDlgItem(dialog, IDOK), kDlgConfigSaveCaption);
  setWindowText(GetDlgItem(dialog, IDCANCEL), kDlgConfigCancelCaption);
}

void fillBoxes(HWND dialog, const DlgConfig& boxes) {
  for (int row = 0; row < kRows; ++row) {
    const DlgConfigRow& entry = kDlgConfigRows[row];
    if (entry.text) setWindowText(box(dialog, row), boxes.*entry.text);
    if (entry.check)
      CheckDlgButton(dialog, IDC_CONFIG_BOX + row, boxes.*entry.check ? BST_CHECKED : BST_UNCHECKED);
  }
}

DlgConfig readBoxes(HWND dialog) {
  DlgConfig boxes;
  for (int row = 0; row < kRows; ++row) {
    const DlgConfigRow& entry = kDlgConfigRows[row];
    if (entry.text) boxes.*entry.text = windowText(box(dialog, row));
    if (entry.check) boxes.*entry.check = IsDlgButtonChecked(dialog, IDC_CONFIG_BOX + row) == BST_CHECKED;
  }
  return boxes;
}

void focusBox(HWND dialog, std::string DlgConfig::*wanted) {
  for (int row = 0; row < kRows; ++row) {
    if (!wanted || kDlgConfigRows[row].text != wanted) continue;
    SetFocus(box(dialog, row));
    SendMessageW(box(dialog, row), EM_SETSEL, 0, -1);
  }
}

void update(HWND dialog) {
  const DlgConfigResult result = SaveButtonClick(readBoxes(dialog));
  if (result.close) {
    closeModal(dialog);
  } else {
    focusBox(dialog, result.focus);
  }
}

void command(HWND dialog, WPARAM wParam) {
  constexpr int kFromAccelerator = 1;
  const int id = LOWORD(wParam);
  if (HIWORD(wParam) == kFromAccelerator) {
    useAccessKey(dialog, id);
  } else if (id == IDOK && HIWORD(wParam) == BN_CLICKED) {
    update(dialog);
  } else if (id == IDCANCEL && HIWORD(wParam) == BN_CLICKED) {
    closeModal(dialog);
  }
}

INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      showCaptions(dialog);
      fillBoxes(dialog, dlgConfigLoad());
      return TRUE;
    case WM_COMMAND:
      command(dialog, wParam);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

void showConfigDialog() {
  runModal(IDD_CONFIG, IDA_CONFIG, procedure, 0);
}

}  // namespace vornelle::win32

#include "desktop/win32/dialogs.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"
#include "desktop/dlgConfig.h"
#include "desktop/win32/dialog_template.h"
#include "desktop/win32/dialog_text.h"
#include "desktop/win32/modal.h"
#include "desktop/win32/resource.h"
#include "desktop/win32/tool_tips.h"

namespace vornelle::win32 {
namespace {

// With the numbers that the Enter key and the Escape key have in a dialog.
constexpr int SaveButton = IDOK;
constexpr int CancelButton = IDCANCEL;

// Two columns, so that it fits low screens at high resolution: down the left one, then down the right one.
// All in dialog units.
constexpr int kLinesPerColumn = 9;
constexpr int kLineHeight = 17;
constexpr int kTop = 8;
constexpr int kWidth = 460;
struct Column {
  int labelLeft, labelWidth, boxLeft;
};
constexpr Column kColumns[] = {{8, 88, 98}, {206, 92, 300}};
constexpr int kTextWidth = 100, kNumberWidth = 36, kTextHeight = 13, kLabelHeight = 9;
constexpr int kUnitWidth = 68, kTickWidth = 12, kCaptionWidth = 42, kTickHeight = 11;
constexpr int kBesideLeft = 112;  // of a box beside the row above, from that row's box on
constexpr int kButtonWidth = 54, kButtonHeight = 15;
constexpr int kNotesHeight = 50;  // above the buttons; two notes of some 250 characters, longer ones scroll

const std::vector<const Setting*>& rows() {
  return settingsInDialog();
}

bool isShort(const Setting& setting) {
  return setting.kind != SettingKind::text && setting.kind != SettingKind::secret;
}

void addRow(DialogTemplate& dialog, int row, const Column& column, int top) {
  const Setting& setting = *rows()[static_cast<std::size_t>(row)];
  const int box = IDC_CONFIG_BOX + row;
  if (setting.besideRowAbove) {
    return dialog.addCheckBox(box, {column.boxLeft + kBesideLeft, top + 1, kCaptionWidth, kTickHeight});
  }
  dialog.addLabel(IDC_CONFIG_LABEL + row, {column.labelLeft, top + 2, column.labelWidth, kLabelHeight});
  if (setting.isCheckBox()) {
    return dialog.addCheckBox(box, {column.boxLeft, top + 1, kTickWidth, kTickHeight});
  }
  const int width = isShort(setting) ? kNumberWidth : kTextWidth;
  dialog.addTextBox(box, {column.boxLeft, top, width, kTextHeight},
                    setting.kind == SettingKind::secret ? ES_PASSWORD : 0);
  if (*setting.unit) {
    dialog.addLabel(IDC_CONFIG_UNIT + row, {column.boxLeft + width + 4, top + 2, kUnitWidth, kLabelHeight});
  }
}

DialogTemplate makeDialog() {
  std::vector<int> lines;  // of each row, over both columns
  for (const Setting* setting : rows()) {
    lines.push_back(lines.empty() ? 0 : lines.back() + (setting->besideRowAbove ? 0 : 1));
  }
  const int linesBelow = std::max(kLinesPerColumn, lines.back() + 1 - kLinesPerColumn);
  const int notesTop = kTop + linesBelow * kLineHeight + 4;
  const int buttonTop = notesTop + kNotesHeight + 4;
  DialogTemplate dialog(L"Config", kWidth, buttonTop + kButtonHeight + 8);
  for (int row = 0; row < static_cast<int>(lines.size()); ++row) {
    const int line = lines[static_cast<std::size_t>(row)];
    const bool left = line < kLinesPerColumn;
    addRow(dialog, row, kColumns[left ? 0 : 1], kTop + (left ? line : line - kLinesPerColumn) * kLineHeight);
  }
  dialog.addText(IDC_CONFIG_NOTES, {kTop, notesTop, kWidth - 2 * kTop, kNotesHeight});
  dialog.addButton(SaveButton, {kWidth - 122, buttonTop, kButtonWidth, kButtonHeight}, true);
  dialog.addButton(CancelButton, {kWidth - 62, buttonTop, kButtonWidth, kButtonHeight}, false);
  return dialog;
}

// Made once, and never taken away while a key of it may be under way.
HACCEL configAccessKeys() {
  static const HACCEL table = [] {
    std::vector<ACCEL> keys = {{FVIRTKEY | FALT, 'U', SaveButton}, {FVIRTKEY | FALT, 'C', CancelButton}};
    for (std::size_t row = 0; row < rows().size(); ++row) {
      keys.push_back({FVIRTKEY | FALT, static_cast<WORD>(rows()[row]->accessKey),
                      static_cast<WORD>(IDC_CONFIG_BOX + row)});
    }
    return CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size()));
  }();
  return table;
}

// Calls `visit` with each row's setting, the number of its box and its number.
template <typename Visit>
void forEachRow(Visit visit) {
  for (std::size_t row = 0; row < rows().size(); ++row)
    visit(*rows()[row], IDC_CONFIG_BOX + static_cast<int>(row), static_cast<int>(row));
}

// A text box has its label before it, a check box without one beside it is labelled by its own caption.
void showCaptions(HWND dialog) {
  const HWND toolTips = makeToolTips(dialog);
  forEachRow([&](const Setting& setting, int box, int row) {
    const HWND label = GetDlgItem(dialog, IDC_CONFIG_LABEL + row);
    setWindowText(label ? label : GetDlgItem(dialog, box), setting.label);
    if (const HWND unit = GetDlgItem(dialog, IDC_CONFIG_UNIT + row)) setWindowText(unit, setting.unit);
    addToolTip(toolTips, GetDlgItem(dialog, box), setting.toolTip);
  });
  setWindowText(GetDlgItem(dialog, SaveButton), kDlgConfigSaveCaption);
  setWindowText(GetDlgItem(dialog, CancelButton), kDlgConfigCancelCaption);
}

bool fits(HWND text) {
  RECT shown = {};
  SendMessageW(text, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&shown));
  const auto last = static_cast<WPARAM>(SendMessageW(text, WM_GETTEXTLENGTH, 0, 0));
  const LRESULT place = last == 0 ? 0 : SendMessageW(text, EM_POSFROMCHAR, last - 1, 0);
  const HDC screen = GetDC(text);
  const HGDIOBJ before =
      SelectObject(screen, reinterpret_cast<HGDIOBJ>(SendMessageW(text, WM_GETFONT, 0, 0)));
  TEXTMETRICW font = {};
  GetTextMetricsW(screen, &font);
  SelectObject(screen, before);
  ReleaseDC(text, screen);
  return static_cast<SHORT>(HIWORD(place)) + font.tmHeight <= shown.bottom;
}

// What a server says may be long: notes that do not fit are scrolled, and reached by the Tab key for that.
void showNotes(HWND dialog) {
  const HWND notes = GetDlgItem(dialog, IDC_CONFIG_NOTES);
  ShowScrollBar(notes, SB_VERT, FALSE);
  setWindowText(notes, replaceAll(dlgConfigNotes(), "\n", "\r\n"));
  const bool scrolls = !fits(notes);
  if (scrolls) ShowScrollBar(notes, SB_VERT, TRUE);
  const LONG_PTR style = GetWindowLongPtrW(notes, GWL_STYLE);
  SetWindowLongPtrW(notes, GWL_STYLE,
                    scrolls ? style | WS_TABSTOP : style & ~static_cast<LONG_PTR>(WS_TABSTOP));
}

void fillBoxes(HWND dialog, const DlgConfig& boxes) {
  forEachRow([&](const Setting& setting, int box, int) {
    const DlgConfigBox& holds = boxes.at(dlgConfigBoxName(setting));
    if (setting.isCheckBox()) {
      CheckDlgButton(dialog, box, holds.checked ? BST_CHECKED : BST_UNCHECKED);
    } else {
      setWindowText(GetDlgItem(dialog, box), holds.text);
    }
  });
}

DlgConfig readBoxes(HWND dialog) {
  DlgConfig boxes;
  forEachRow([&](const Setting& setting, int box, int) {
    DlgConfigBox& holds = boxes[dlgConfigBoxName(setting)];
    if (setting.isCheckBox()) {
      holds.checked = IsDlgButtonChecked(dialog, box) == BST_CHECKED;
    } else {
      holds.text = windowText(GetDlgItem(dialog, box));
    }
  });
  return boxes;
}

void focusBox(HWND dialog, const std::string& wanted) {
  forEachRow([&](const Setting& setting, int box, int) {
    if (dlgConfigBoxName(setting) != wanted) return;
    SetFocus(GetDlgItem(dialog, box));
    SendDlgItemMessageW(dialog, box, EM_SETSEL, 0, -1);
  });
}

void update(HWND dialog) {
  const DlgConfigResult result = SaveButtonClick(readBoxes(dialog));
  showNotes(dialog);
  if (result.close) {
    closeModal(dialog);
  } else {
    focusBox(dialog, result.focus);
  }
}

void fillConfig(HWND dialog) {
  showCaptions(dialog);
  fillBoxes(dialog, dlgConfigLoad());
  showNotes(dialog);
}

void configCommand(HWND dialog, int control, int notification) {
  if (control == SaveButton && notification == BN_CLICKED) {
    update(dialog);
  } else if (control == CancelButton && notification == BN_CLICKED) {
    closeModal(dialog);
  } else if (control == IDC_CONFIG_NOTES && notification == EN_SETFOCUS) {
    // Shown from the beginning: the Tab key chooses the whole text, and so scrolls to its end, behind this.
    const HWND notes = GetDlgItem(dialog, IDC_CONFIG_NOTES);
    PostMessageW(notes, EM_SETSEL, 0, 0);
    PostMessageW(notes, EM_SCROLLCARET, 0, 0);
  }
}

}  // namespace

void showConfigDialog() {
  runModal(makeDialog(), configAccessKeys(), {fillConfig, configCommand});
}

}  // namespace vornelle::win32

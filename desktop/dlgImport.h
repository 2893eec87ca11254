// The import dialog: fills the FriendList from a delimited text file, such as an address book export.
#pragma once

#include <functional>
#include <string>

namespace vornelle {

inline constexpr const char* kDlgImportCaption = "Import Addresses to FriendList";
// CommonDialog1, the open-file dialog. Name and pattern of each filter entry in turn; the first one is
// selected.
inline constexpr const char* kCommonDialog1Title = "Select comma delimited text file.";
inline constexpr const char* kCommonDialog1Filter[] = {"Text Files (*.txt)", "*.txt", "(*.csv)", "*.csv",
                                                       "(All files)",        "*.*"};

// The controls' captions (or the label before them) and tool tips.
struct DlgImportControl {
  const char* caption;
  const char* toolTip;
};
inline constexpr DlgImportControl kTxtFieldPos = {"Field position:", "Position of e-mail address field"};
inline constexpr DlgImportControl kOptTab = {"Tab delimited", "Select if fields separated by tabs"};
inline constexpr DlgImportControl kOptComma = {"Comma delimited", "Select if fields separated by commas"};
inline constexpr DlgImportControl kTxtImportList = {"Import List:", "Editable list to be imported"};
inline constexpr DlgImportControl kImportButton = {"Import into Vornelle",
                                                   "Import list into Vornelle FriendList"};
inline constexpr DlgImportControl kLoadButton = {"Load File",
                                                 "Load a delimited text file containing e-mail addresses"};

// What the controls hold; these are the values when the dialog opens.
struct DlgImport {
  std::string txtFieldPos = "1";
  bool OptComma = true;  // otherwise OptTab
  std::string txtImportList;
};

// The Load File button. `chooseFile` shows CommonDialog1 and returns the chosen path, "" when the user
// cancels. A field position that is not a number of 1 or more is refused with a message box before a file is
// asked for. True when dialog.txtImportList has been replaced.
bool LoadButtonClick(DlgImport& dialog, const std::function<std::string()>& chooseFile);

// The import button. Adds what the list box holds to the FriendList file and tells the counts in a message
// box.
void ImportButtonClick(const DlgImport& dialog);

}  // namespace vornelle

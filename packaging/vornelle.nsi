; The installer of the Windows program, for one user and without administrator rights. Called by script/package with
; VERSION, STAGE (the folder with what is installed) and OUTPUT.
;
; Settings, lists, saved spam and the log belong to the user: installing over them leaves them alone, and removing the
; program asks before it takes them along (silently: it keeps them). A running copy is never replaced or removed.
;
; Silent mode: /S, folder with /D=..., autostart with /AUTOSTART. Exit code 2: a copy is running.

Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel user
ManifestDPIAware true

!include "MUI2.nsh"
!include "FileFunc.nsh"
!include "LogicLib.nsh"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Vornelle"
!define RUNNING_TEXT "Vornelle is running. Please end it first: menu entry Exit of its window. Nothing has been changed."

Name "Vornelle"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Vornelle"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
BrandingText "Vornelle ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "Vornelle"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Vornelle Setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

!define MUI_ICON "${STAGE}\data\vornelle.ico"
!define MUI_UNICON "${STAGE}\data\vornelle.ico"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\vornelle.exe"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; The system lets nobody write to the file of a program that runs.
!macro RefuseWhileRunning
  ${If} ${FileExists} "$INSTDIR\vornelle.exe"
    ClearErrors
    FileOpen $0 "$INSTDIR\vornelle.exe" a
    ${If} ${Errors}
      MessageBox MB_OK|MB_ICONINFORMATION "${RUNNING_TEXT}" /SD IDOK
      SetErrorLevel 2
      Quit
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend

!macro RemoveGuidePictures
  Delete "$INSTDIR\data\guide\*.webp"
!macroend

; What earlier versions installed for developers, and nothing else: the folder may hold files of the user's.
!macro RemoveOldDocument NAME
  Delete "$INSTDIR\docs\${NAME}"
!macroend
!macro RemoveOldDocuments
  !insertmacro RemoveOldDocument "README.md"
  !insertmacro RemoveOldDocument "CHANGELOG.md"
  !insertmacro RemoveOldDocument "architecture.md"
  !insertmacro RemoveOldDocument "formats.md"
  !insertmacro RemoveOldDocument "hacking.md"
  !insertmacro RemoveOldDocument "performance.json"
  !insertmacro RemoveOldDocument "performance.md"
  !insertmacro RemoveOldDocument "performance.svg"
  !insertmacro RemoveOldDocument "security.md"
  !insertmacro RemoveOldDocument "guide.html"
  !insertmacro RemoveOldDocument "inbox-dark.png"
  !insertmacro RemoveOldDocument "main-window.png"
  !insertmacro RemoveOldDocument "settings-dialog.png"
  !insertmacro RemoveOldDocument "spambox-phone.png"
  !insertmacro RemoveOldDocument "spambox.png"
  RMDir "$INSTDIR\docs"
!macroend

Section "Vornelle" Program
  SectionIn RO
  !insertmacro RefuseWhileRunning
  SetOutPath "$INSTDIR"
  File "${STAGE}\vornelle.exe"
  SetOutPath "$INSTDIR\data"
  File "${STAGE}\data\*.htm"
  File "${STAGE}\data\top.inc"
  File "${STAGE}\data\vornelle.ico"
  ; Lists are the user's from the first day on.
  SetOverwrite off
  File "${STAGE}\data\*.txt"
  SetOverwrite on
  ; The guide's pictures: those of an older version that are gone go here, too.
  !insertmacro RemoveGuidePictures
  SetOutPath "$INSTDIR\data\guide"
  File "${STAGE}\data\guide\*.webp"
  !insertmacro RemoveOldDocuments

  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "Vornelle"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\vornelle.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" "$0"
SectionEnd

Section "Start menu entries" StartMenu
  CreateShortcut "$SMPROGRAMS\Vornelle.lnk" "$INSTDIR\vornelle.exe"
  CreateShortcut "$SMPROGRAMS\Vornelle guide.lnk" "$INSTDIR\data\guide.htm"
SectionEnd

; The same shortcut that the window's box Autostart makes and removes.
Section /o "Start with Windows" Autostart
  CreateShortcut "$SMSTARTUP\Vornelle.lnk" "$INSTDIR\vornelle.exe"
SectionEnd

LangString DESC_Program ${LANG_ENGLISH} "The program, its page templates and the guide."
LangString DESC_StartMenu ${LANG_ENGLISH} "The program and the guide in the Start menu."
LangString DESC_Autostart ${LANG_ENGLISH} "Vornelle starts when you log on. The box Autostart in its window changes it later."
!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${Program} $(DESC_Program)
  !insertmacro MUI_DESCRIPTION_TEXT ${StartMenu} $(DESC_StartMenu)
  !insertmacro MUI_DESCRIPTION_TEXT ${Autostart} $(DESC_Autostart)
!insertmacro MUI_FUNCTION_DESCRIPTION_END

Function .onInit
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/AUTOSTART" $1
  ${IfNot} ${Errors}
    SectionSetFlags ${Autostart} ${SF_SELECTED}
  ${EndIf}
FunctionEnd

Section "Uninstall"
  !insertmacro RefuseWhileRunning
  Delete "$SMPROGRAMS\Vornelle.lnk"
  Delete "$SMPROGRAMS\Vornelle guide.lnk"
  Delete "$SMSTARTUP\Vornelle.lnk"
  Delete "$INSTDIR\data\*.htm"
  Delete "$INSTDIR\data\top.inc"
  Delete "$INSTDIR\data\vornelle.ico"
  Delete "$INSTDIR\message.txt"
  !insertmacro RemoveGuidePictures
  RMDir "$INSTDIR\data\guide"
  !insertmacro RemoveOldDocuments
  Delete "$INSTDIR\vornelle.exe"
  Delete "$INSTDIR\uninstall.exe"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"

  MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "Remove your settings, your lists and the saved spam, too?" /SD IDNO IDNO keep
  Delete "$INSTDIR\Vornelle.ini"
  Delete "$INSTDIR\Vornelle.log"
  Delete "$INSTDIR\tls-certificates.txt"
  Delete "$INSTDIR\data\friendlist.txt"
  Delete "$INSTDIR\data\subjectlist.txt"
  Delete "$INSTDIR\data\enemylist.txt"
  Delete "$INSTDIR\spam\*.txt"
  RMDir "$INSTDIR\spam"
keep:
  ; Folders go when they are empty.
  RMDir "$INSTDIR\data"
  RMDir "$INSTDIR"
SectionEnd

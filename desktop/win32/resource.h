// Numbers of the resources and controls; a control with a name of its own has it behind "IDC_". Read by the
// compiler and by the resource compiler, which knows no C++.
#pragma once

#define IDI_VORNELLE 1

#define IDM_MAIN 10
#define IDA_MAIN 11
#define IDA_IMPORT 13

#define IDD_IMPORT 21
#define IDD_ABOUT 22

/* The main window. */
#define IDC_cmdOpenBrowser 101
#define IDC_ckStartMinimized 102
#define IDC_ckAutostart 103
#define IDC_cmdFilterMail 104
#define IDC_ckTestMode 105
#define IDC_ckActive 106
#define IDC_LogWindow 107
#define IDC_Label1 108
#define IDC_mnuImport 111
#define IDC_mnuConfig 112
#define IDC_mnuAbout 113
#define IDC_mnuExit 114

/* The settings dialog: row n has its box, its label and its unit text. */
#define IDC_CONFIG_BOX 200
#define IDC_CONFIG_LABEL 230
#define IDC_CONFIG_UNIT 260
#define IDC_CONFIG_NOTES 290

/* The import dialog. */
#define IDC_txtFieldPosLabel 301
#define IDC_txtFieldPos 302
#define IDC_OptTab 303
#define IDC_OptComma 304
#define IDC_txtImportListLabel 305
#define IDC_txtImportList 306
#define IDC_ImportButton 307
#define IDC_LoadButton 308

/* The about window. */
#define IDC_ABOUT_TEXT 401

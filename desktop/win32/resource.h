// Numbers of the resources and controls. Read by the compiler and by the resource compiler, which knows no
// C++.
#pragma once

#define IDI_VORNELLE 1

#define IDM_MAIN 10
#define IDA_MAIN 11
#define IDA_IMPORT 13

#define IDD_IMPORT 21
#define IDD_ABOUT 22

/* The main window. */
#define IDC_CMD_OPEN_BROWSER 101
#define IDC_CK_START_MINIMIZED 102
#define IDC_CK_AUTOSTART 103
#define IDC_CMD_FILTER_MAIL 104
#define IDC_CK_TEST_MODE 105
#define IDC_CK_ACTIVE 106
#define IDC_LOG_WINDOW 107
#define IDC_LABEL1 108
#define IDC_MNU_IMPORT 111
#define IDC_MNU_CONFIG 112
#define IDC_MNU_ABOUT 113
#define IDC_MNU_EXIT 114

/* The settings dialog: row n has its box, its label and its unit text. */
#define IDC_CONFIG_BOX 200
#define IDC_CONFIG_LABEL 230
#define IDC_CONFIG_UNIT 260
#define IDC_CONFIG_NOTES 290

/* The import dialog. */
#define IDC_FIELD_POS_LABEL 301
#define IDC_FIELD_POS 302
#define IDC_OPT_TAB 303
#define IDC_OPT_COMMA 304
#define IDC_IMPORT_LIST_LABEL 305
#define IDC_IMPORT_LIST 306
#define IDC_IMPORT_BUTTON 307
#define IDC_LOAD_BUTTON 308

/* The about window. */
#define IDC_ABOUT_TEXT 401

#pragma once

// Identifiers shared by the resource script and the code. Numbers, as the resource compiler reads
// them too.

#define IDR_FOLIVOPLUGIN 100
#define IDR_IEDOWNLOAD 101
#define IDR_FOLIVOPLUGINVERSION 102
#define IDR_QDCDOWNLOAD 103

#define IDI_FOLIVO 110

#define IDC_PROGRESS 205
#define IDC_OPEN_FILE 206
#define IDC_PROGRESS_TEXT 207
#define IDC_OPEN_FOLDER 208

#define IDD_FILE_DOWNLOAD 206

#define IDC_COLLECTION_TITLE 210
#define IDC_COLLECTION_SUBTITLE 211
#define IDC_COLLECTION_PROGRESS 212

#define IDD_COLLECTION_DOWNLOAD 211

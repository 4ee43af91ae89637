#pragma once

// Identifiers of resources.rc.
#define IDS_PLAIN 10
#define IDS_ACCENTED 11
#define IDS_MISSING 12
#define IDD_PLAIN 20
#define IDC_EDIT 21
#define IDD_WITH_CONTROL 22
#define IDD_MISSING 23

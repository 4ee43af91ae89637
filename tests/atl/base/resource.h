#pragma once

// Identifiers of resources.rc.
#define IDD_PLAIN 20
#define IDC_EDIT 21
#define IDD_WITH_CONTROL 22
#define IDD_MISSING 23

// What nearly every source of the product includes, read once.
#pragma once

#include "tools/lint/windows_stand_ins/sdk.h"

// clang-format off: before the headers that need it
#include <windows.h>
// clang-format on
#include <atlbase.h>
#include <atlcom.h>
#include <atlctl.h>
#include <atlhost.h>
#include <atlstr.h>
#include <atlwin.h>
#include <commctrl.h>
#include <commdlg.h>
#include <exdisp.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <tinyxml.h>
#include <wininet.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>
#include <memory>
#include <optional>
#include <string_view>

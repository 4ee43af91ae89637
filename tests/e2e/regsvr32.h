#pragma once

#include <windows.h>

#include <string>

/// Runs the system's regsvr32 on the built DLL, with these options, and gives its exit code.
DWORD RunRegsvr32(const std::wstring& options);

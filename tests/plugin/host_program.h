#pragma once

#include <windows.h>

#include <string>

/// The version of the host program, from its own version resource.
constexpr wchar_t kHostVersion[] = L"9.8.7.65535";

/// Where the built host program is.
std::wstring BuiltHostPath();

/// Runs a copy of the host program under this name (a path below a folder of its own), which loads
/// the DLL; with `version`, it also compares what the DLL's version control tells. Exit code: 0,
/// the loader's error, or ERROR_INVALID_DATA for another version.
DWORD RunHost(const std::wstring& hostName, const std::wstring& library,
              const std::wstring& version = L"");

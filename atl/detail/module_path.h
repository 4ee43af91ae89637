#pragma once

#include <atlexcept.h>

#include <string>

namespace ATL::detail {

/// Full path of a loaded module, however long; null names the host executable.
/// Throws CAtlException for a handle that is no module's.
inline std::wstring ModulePath(HINSTANCE hInst) {
  for (std::wstring path(MAX_PATH, L'\0');; path.resize(path.size() * 2)) {
    const DWORD length = ::GetModuleFileNameW(hInst, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) {
      AtlThrowLastWin32();
    }
    // A full buffer means that the path was cut.
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
  }
}

/// The folder of a full path, without the separator at its end.
inline std::wstring FolderOf(const std::wstring& path) {
  return path.substr(0, path.find_last_of(L"\\/"));
}

/// The text as it is written between the single quotes of a registry script.
inline std::wstring WithDoubledQuotes(const std::wstring& text) {
  std::wstring result;
  for (const wchar_t c : text) {
    result.append(c == L'\'' ? 2 : 1, c);
  }
  return result;
}

}  // namespace ATL::detail

#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <string>

#include "tests/support/import_patch.h"

/// Decides, for its scope, what the shell answers about the user's Documents folder. Takes no
/// memory for that, as tests may be out of it. One at a time.
class CDocumentsFolder {
 public:
  /// The folder; empty: the shell does not know it.
  explicit CDocumentsFolder(const std::wstring& path)
      : m_patch("shell32.dll", "SHGetFolderPathW", &GetFolderPath) {
    s_path = path;
    s_count = 0;
  }

  /// How often it was asked for.
  int Count() const { return s_count; }

 private:
  static HRESULT WINAPI GetFolderPath(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
    ++s_count;
    EXPECT_EQ(folder, CSIDL_PERSONAL);
    EXPECT_EQ(token, nullptr);
    EXPECT_EQ(flags, 0u);
    std::copy_n(s_path.c_str(), s_path.size() + 1, path);
    return s_path.empty() ? E_FAIL : S_OK;
  }

  static inline std::wstring s_path;
  static inline int s_count;

  CImportPatch m_patch;
};

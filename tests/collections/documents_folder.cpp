#include "tests/collections/documents_folder.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <algorithm>

namespace {

std::wstring g_path;
int g_count;

HRESULT WINAPI GetFolderPath(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
  ++g_count;
  EXPECT_EQ(folder, CSIDL_PERSONAL);
  EXPECT_EQ(token, nullptr);
  EXPECT_EQ(flags, 0u);
  if (g_path.empty()) {
    return E_FAIL;
  }
  std::copy_n(g_path.c_str(), g_path.size() + 1, path);
  return S_OK;
}

}  // namespace

CDocumentsFolder::CDocumentsFolder(const std::wstring& path)
    : m_patch("shell32.dll", "SHGetFolderPathW", &GetFolderPath) {
  g_path = path;
  g_count = 0;
}

int CDocumentsFolder::Count() const { return g_count; }

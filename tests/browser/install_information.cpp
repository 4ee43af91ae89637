#include "tests/browser/install_information.h"

#include <atlbase.h>
#include <gtest/gtest.h>

namespace {

constexpr REGSAM kAccess = KEY_ALL_ACCESS | KEY_WOW64_32KEY;
constexpr wchar_t kCompanyKey[] = L"Software\\MERLO Technologies";
constexpr wchar_t kValue[] = L"FolivoExePath";

LPCWSTR KeyPath(CInstallInformation::Key key) {
  return key == CInstallInformation::Key::kApplication
             ? L"Software\\MERLO Technologies\\Folivo Software\\Install Information"
             : L"Software\\MERLO Technologies\\MERLO Panel Drivers\\Install Information";
}

void Remove() {
  CRegKey software;
  ASSERT_EQ(software.Open(HKEY_LOCAL_MACHINE, L"Software", kAccess), ERROR_SUCCESS);
  CRegKey company;
  if (company.Open(HKEY_LOCAL_MACHINE, kCompanyKey, kAccess) == ERROR_SUCCESS) {
    EXPECT_EQ(RegDeleteTreeW(company, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyExW(software, L"MERLO Technologies", KEY_WOW64_32KEY, 0), ERROR_SUCCESS);
  }
}

}  // namespace

CInstallInformation::CInstallInformation() { Remove(); }

CInstallInformation::~CInstallInformation() { Remove(); }

void CInstallInformation::Create(Key key) const {
  CRegKey created;
  EXPECT_EQ(created.Create(HKEY_LOCAL_MACHINE, KeyPath(key), nullptr, 0, kAccess), ERROR_SUCCESS);
}

void CInstallInformation::SetFolder(const std::wstring& folder, Key key) const {
  SetValue(REG_SZ, folder.c_str(), static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)), key);
}

void CInstallInformation::SetValue(DWORD type, const void* data, DWORD size, Key key) const {
  Create(key);
  CRegKey opened;
  EXPECT_EQ(opened.Open(HKEY_LOCAL_MACHINE, KeyPath(key), kAccess), ERROR_SUCCESS);
  EXPECT_EQ(RegSetValueExW(opened, kValue, 0, type, static_cast<const BYTE*>(data), size),
            ERROR_SUCCESS);
}

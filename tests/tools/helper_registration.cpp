#include "tests/tools/helper_registration.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/tools/helper_double.h"
#include "tests/tools/tool_process.h"

namespace {

std::wstring ClassKey() {
  return std::wstring(L"Software\\Classes\\CLSID\\") + kHelperDoubleClsidText;
}

std::wstring HelperKey() {
  return std::wstring(
             L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects\\") +
         kHelperDoubleClsidText;
}

void SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, text.c_str(),
                            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
}

}  // namespace

CHelperRegistration::CHelperRegistration() {
  const std::wstring server = ClassKey() + L"\\InprocServer32";
  SetText(server, nullptr, TestFilePath(L"helper_double.dll"));
  SetText(server, L"ThreadingModel", L"Apartment");
  SetText(HelperKey(), nullptr, L"Helper double");
}

CHelperRegistration::~CHelperRegistration() {
  EXPECT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassKey().c_str()), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, HelperKey().c_str()), ERROR_SUCCESS);
}

#include "com/class_registration.h"

#include <atlbase.h>
#include <gtest/gtest.h>

#include <string>

#include "resources/resource.h"
#include "tests/support/test_module.h"

namespace {

CTestModule g_module;

constexpr wchar_t kScratch[] = L"Software\\FolivoTestScratch";
constexpr wchar_t kClassKey[] = L"CLSID\\{69402495-68F6-4342-B726-0659FADD1883}";

/// An empty registry tree that stands in for HKEY_CLASSES_ROOT while it lives.
class CScratchClasses {
 public:
  CScratchClasses() {
    RegDeleteTreeW(HKEY_CURRENT_USER, kScratch);
    m_key.Create(HKEY_CURRENT_USER, kScratch);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, m_key);
  }
  ~CScratchClasses() {
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    m_key.Close();
    RegDeleteTreeW(HKEY_CURRENT_USER, kScratch);
  }
  CScratchClasses(const CScratchClasses&) = delete;
  CScratchClasses& operator=(const CScratchClasses&) = delete;

  std::wstring Value(const std::wstring& key, LPCWSTR name = nullptr) const {
    wchar_t text[MAX_PATH] = {};
    DWORD size = sizeof(text);
    return RegGetValueW(m_key, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) ==
                   ERROR_SUCCESS
               ? text
               : L"(missing)";
  }
  bool Has(LPCWSTR key) const {
    CRegKey opened;
    return opened.Open(m_key, key, KEY_READ) == ERROR_SUCCESS;
  }

 private:
  CRegKey m_key;
};

TEST(ClassRegistration, EveryTokenIsReplacedAndRemovalTakesAwayWhatWasWritten) {
  const CScratchClasses classes;
  ASSERT_EQ(UpdateClassRegistry(IDR_IEDOWNLOAD, L"Friendly", TRUE), S_OK);
  const std::wstring key = kClassKey;
  EXPECT_EQ(classes.Value(key), L"Friendly");
  EXPECT_EQ(classes.Value(L"FolivoDownloadPlugin.IEDownload"), L"Friendly");
  wchar_t module[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, module, MAX_PATH);
  EXPECT_NE(classes.Value(key + L"\\InprocServer32").find(module), std::wstring::npos);
  EXPECT_EQ(classes.Value(key + L"\\InprocServer32", L"ThreadingModel"), L"apartment");
  EXPECT_EQ(classes.Value(key + L"\\TypeLib").front(), L'{');
  EXPECT_EQ(classes.Value(key, L"AppID").find(L'%'), std::wstring::npos);

  EXPECT_EQ(UpdateClassRegistry(IDR_IEDOWNLOAD, L"Friendly", FALSE), S_OK);
  EXPECT_FALSE(classes.Has(kClassKey));
  EXPECT_FALSE(classes.Has(L"FolivoDownloadPlugin.IEDownload"));
  EXPECT_TRUE(classes.Has(L"CLSID"));
}

TEST(ClassRegistration, MissingScriptIsAFailure) {
  EXPECT_TRUE(FAILED(UpdateClassRegistry(9999, L"Friendly", TRUE)));
}

}  // namespace

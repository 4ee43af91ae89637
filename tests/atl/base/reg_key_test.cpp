#include <gtest/gtest.h>

#include <atlregkey.h>

#include <string>

using namespace ATL;

namespace {

/// A key of the test's own below HKEY_CURRENT_USER, gone at the end.
class RegKey : public testing::Test {
 protected:
  void SetUp() override {
    m_name = L"Software\\AtlRegKeyTest-" + std::to_wstring(::GetCurrentProcessId());
    ASSERT_EQ(ERROR_SUCCESS, m_key.Create(HKEY_CURRENT_USER, m_name.c_str()));
  }
  void TearDown() override {
    m_key.Close();
    CRegKey user(HKEY_CURRENT_USER);
    EXPECT_EQ(ERROR_SUCCESS, user.RecurseDeleteKey(m_name.c_str()));
    user.Detach();
  }
  void CreateSubkey(const wchar_t* name) {
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(m_key, name));
  }

  std::wstring m_name;
  CRegKey m_key;
};

TEST_F(RegKey, OpenAndCreate) {
  CRegKey key;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(m_key, L"sub"));
  EXPECT_EQ(nullptr, key.m_hKey);
  DWORD disposition = 0;
  EXPECT_EQ(ERROR_SUCCESS, key.Create(m_key, L"sub", nullptr, REG_OPTION_NON_VOLATILE,
                                      KEY_READ | KEY_WRITE, nullptr, &disposition));
  EXPECT_EQ(static_cast<DWORD>(REG_CREATED_NEW_KEY), disposition);
  const HKEY held = key;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(m_key, L"missing"));
  EXPECT_EQ(held, key.m_hKey);
  EXPECT_EQ(ERROR_SUCCESS, key.Open(m_key, L"sub", KEY_READ));
  EXPECT_EQ(ERROR_SUCCESS, key.Close());
  EXPECT_EQ(nullptr, key.m_hKey);
  EXPECT_EQ(ERROR_SUCCESS, key.Close());
}

TEST_F(RegKey, StringValues) {
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetStringValue(L"name", L"value"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetStringValue(nullptr, L"text"));
  EXPECT_EQ(ERROR_INVALID_DATA, m_key.SetStringValue(nullptr, nullptr));
  for (const auto& [name, text] :
       {std::pair<LPCWSTR, LPCWSTR>(L"name", L"value"), {nullptr, L"text"}}) {
    wchar_t read[8] = {};
    DWORD size = sizeof(read);
    EXPECT_EQ(ERROR_SUCCESS,
              ::RegGetValueW(m_key, nullptr, name, RRF_RT_REG_SZ, nullptr, read, &size));
    EXPECT_STREQ(text, read);
  }
}

TEST_F(RegKey, Deletion) {
  CreateSubkey(L"a\\b\\c");
  CreateSubkey(L"a\\d");
  EXPECT_NE(ERROR_SUCCESS, m_key.DeleteSubKey(L"a"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.DeleteSubKey(L"a\\d"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.RecurseDeleteKey(L"a"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.RecurseDeleteKey(L"a"));
}

}  // namespace

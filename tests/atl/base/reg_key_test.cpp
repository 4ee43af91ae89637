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

TEST_F(RegKey, Values) {
  const DWORD number = 0xFFFFFFFF;
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetValue(L"number", REG_DWORD, &number, sizeof(number)));
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetValue(nullptr, REG_SZ, L"text", 5 * sizeof(wchar_t)));
  DWORD read = 0;
  DWORD size = sizeof(read);
  EXPECT_EQ(ERROR_SUCCESS,
            ::RegGetValueW(m_key, nullptr, L"number", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(number, read);
  wchar_t text[8] = {};
  size = sizeof(text);
  EXPECT_EQ(ERROR_SUCCESS,
            ::RegGetValueW(m_key, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, text, &size));
  EXPECT_STREQ(L"text", text);
}

TEST_F(RegKey, Deletion) {
  CreateSubkey(L"a\\b\\c");
  CreateSubkey(L"a\\d");
  EXPECT_NE(ERROR_SUCCESS, m_key.DeleteSubKey(L"a"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.DeleteSubKey(L"a\\d"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.RecurseDeleteKey(L"a"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.RecurseDeleteKey(L"a"));
}

TEST_F(RegKey, Enumeration) {
  CreateSubkey(L"one");
  CreateSubkey(L"two");
  wchar_t name[8];
  DWORD length = 8;
  EXPECT_EQ(ERROR_SUCCESS, m_key.EnumKey(0, name, &length));
  EXPECT_STREQ(L"one", name);
  EXPECT_EQ(3U, length);
  length = 8;
  EXPECT_EQ(ERROR_SUCCESS, m_key.EnumKey(1, name, &length));
  EXPECT_STREQ(L"two", name);
  length = 8;
  EXPECT_EQ(ERROR_NO_MORE_ITEMS, m_key.EnumKey(2, name, &length));
}

}  // namespace

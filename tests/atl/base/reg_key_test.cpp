#include <gtest/gtest.h>

#include <atlregkey.h>
#include <atlstr.h>

namespace {

/// A key of the test's own below HKEY_CURRENT_USER, gone at the end.
class RegKey : public testing::Test {
 protected:
  void SetUp() override {
    m_name.Format(L"Software\\AtlRegKeyTest-%lu", ::GetCurrentProcessId());
    ASSERT_EQ(ERROR_SUCCESS, m_key.Create(HKEY_CURRENT_USER, m_name));
  }
  void TearDown() override {
    m_key.Close();
    CRegKey user(HKEY_CURRENT_USER);
    EXPECT_EQ(ERROR_SUCCESS, user.RecurseDeleteKey(m_name));
    user.Detach();
  }
  CString m_name;
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

TEST_F(RegKey, OwnershipMoves) {
  CRegKey first;
  ASSERT_EQ(ERROR_SUCCESS, first.Create(m_key, L"sub"));
  const HKEY raw = first;
  CRegKey second(std::move(first));
  // NOLINTNEXTLINE(bugprone-use-after-move): that is what is tested
  EXPECT_EQ(nullptr, first.m_hKey);
  EXPECT_EQ(raw, second.Detach());
  first.Attach(raw);
  EXPECT_EQ(ERROR_SUCCESS, first.SetDWORDValue(L"v", 1));
}

TEST_F(RegKey, Strings) {
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetStringValue(L"name", L"v\x00e4lue"));
  wchar_t buffer[32];
  ULONG chars = 32;
  EXPECT_EQ(ERROR_SUCCESS, m_key.QueryStringValue(L"name", buffer, &chars));
  EXPECT_STREQ(L"v\x00e4lue", buffer);
  EXPECT_EQ(6U, chars);
  chars = 3;
  EXPECT_EQ(ERROR_MORE_DATA, m_key.QueryStringValue(L"name", buffer, &chars));
  EXPECT_EQ(6U, chars);
  chars = 0;
  EXPECT_EQ(ERROR_SUCCESS, m_key.QueryStringValue(L"name", nullptr, &chars));
  EXPECT_EQ(6U, chars);
  EXPECT_EQ(ERROR_INVALID_PARAMETER, m_key.QueryStringValue(L"name", buffer, nullptr));
  EXPECT_EQ(ERROR_INVALID_DATA, m_key.SetStringValue(L"name", nullptr));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.QueryStringValue(L"missing", buffer, &chars));
}

TEST_F(RegKey, DefaultValueAndSetKeyValue) {
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetStringValue(nullptr, L"default"));
  wchar_t buffer[32];
  ULONG chars = 32;
  EXPECT_EQ(ERROR_SUCCESS, m_key.QueryStringValue(nullptr, buffer, &chars));
  EXPECT_STREQ(L"default", buffer);
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetKeyValue(L"sub", L"text", L"named"));
  CRegKey sub;
  ASSERT_EQ(ERROR_SUCCESS, sub.Open(m_key, L"sub"));
  chars = 32;
  EXPECT_EQ(ERROR_SUCCESS, sub.QueryStringValue(L"named", buffer, &chars));
  EXPECT_STREQ(L"text", buffer);
}

TEST_F(RegKey, StringWithoutTerminatorGetsOne) {
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetValue(L"raw", REG_SZ, L"abcd", 3 * sizeof(wchar_t)));
  wchar_t buffer[4] = {L'?', L'?', L'?', L'?'};
  ULONG chars = 4;
  EXPECT_EQ(ERROR_SUCCESS, m_key.QueryStringValue(L"raw", buffer, &chars));
  EXPECT_STREQ(L"abc", buffer);
  EXPECT_EQ(4U, chars);
  chars = 3;
  EXPECT_EQ(ERROR_MORE_DATA, m_key.QueryStringValue(L"raw", buffer, &chars));
  EXPECT_EQ(4U, chars);
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetValue(L"empty", REG_SZ, nullptr, 0));
  chars = 4;
  EXPECT_EQ(ERROR_SUCCESS, m_key.QueryStringValue(L"empty", buffer, &chars));
  EXPECT_STREQ(L"", buffer);
}

TEST_F(RegKey, TypesAreChecked) {
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetDWORDValue(L"number", 0xFFFFFFFF));
  EXPECT_EQ(ERROR_SUCCESS, m_key.SetStringValue(L"text", L"abc"));
  DWORD value = 0;
  EXPECT_EQ(ERROR_SUCCESS, m_key.QueryDWORDValue(L"number", value));
  EXPECT_EQ(0xFFFFFFFFU, value);
  EXPECT_NE(ERROR_SUCCESS, m_key.QueryDWORDValue(L"text", value));
  EXPECT_EQ(0xFFFFFFFFU, value);
  wchar_t buffer[8];
  ULONG chars = 8;
  EXPECT_EQ(ERROR_INVALID_DATA, m_key.QueryStringValue(L"number", buffer, &chars));
}

TEST_F(RegKey, Deletion) {
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetKeyValue(L"a\\b\\c", L"deep"));
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetKeyValue(L"a\\d", L"flat"));
  EXPECT_NE(ERROR_SUCCESS, m_key.DeleteSubKey(L"a"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.DeleteSubKey(L"a\\d"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.RecurseDeleteKey(L"a"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.RecurseDeleteKey(L"a"));
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetDWORDValue(L"v", 1));
  EXPECT_EQ(ERROR_SUCCESS, m_key.DeleteValue(L"v"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.DeleteValue(L"v"));
}

TEST_F(RegKey, Enumeration) {
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetKeyValue(L"one", L""));
  ASSERT_EQ(ERROR_SUCCESS, m_key.SetKeyValue(L"two", L""));
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

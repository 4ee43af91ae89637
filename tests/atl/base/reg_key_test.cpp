#include <gtest/gtest.h>

#include <atlregkey.h>

#include <string>

using namespace ATL;

namespace {

/// A key of the test's own below HKEY_CURRENT_USER, gone at the end.
class RegKey : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ERROR_SUCCESS, m_key.Create(HKEY_CURRENT_USER, kName)); }
  void TearDown() override {
    m_key.Close();
    CRegKey user(HKEY_CURRENT_USER);
    EXPECT_EQ(ERROR_SUCCESS, user.RecurseDeleteKey(kName));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, user.RecurseDeleteKey(kName));
    user.Detach();
  }

  static constexpr wchar_t kName[] = L"Software\\AtlRegKeyTest";
  CRegKey m_key;
};

TEST_F(RegKey, FailedOpenKeepsTheKeyThatWasOpen) {
  CRegKey key;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(m_key, L"sub"));
  EXPECT_EQ(nullptr, key.m_hKey);
  EXPECT_EQ(ERROR_SUCCESS, key.Create(m_key, L"sub"));
  const HKEY held = key;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.Open(m_key, L"missing"));
  EXPECT_EQ(held, key.m_hKey);
  EXPECT_EQ(ERROR_SUCCESS, key.Open(m_key, L"sub", KEY_READ));
  EXPECT_EQ(ERROR_SUCCESS, key.Close());
  EXPECT_EQ(nullptr, key.m_hKey);
  EXPECT_EQ(ERROR_SUCCESS, key.Close());
}

TEST_F(RegKey, SetStringValueWritesTextWithTerminator) {
  EXPECT_EQ(ERROR_INVALID_DATA, m_key.SetStringValue(nullptr, nullptr));
  for (const LPCWSTR name : {L"name", static_cast<LPCWSTR>(nullptr)}) {
    EXPECT_EQ(ERROR_SUCCESS, m_key.SetStringValue(name, L"text"));
    wchar_t read[8] = {};
    DWORD size = sizeof(read);
    EXPECT_EQ(ERROR_SUCCESS, ::RegQueryValueExW(m_key, name, nullptr, nullptr,
                                                reinterpret_cast<BYTE*>(read), &size));
    EXPECT_EQ(10U, size);
    EXPECT_STREQ(L"text", read);
  }
}

TEST_F(RegKey, OnlyRecurseDeleteKeyDeletesSubkeys) {
  for (const LPCWSTR name : {L"a\\b\\c", L"a\\d"}) {
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Create(m_key, name));
  }
  EXPECT_NE(ERROR_SUCCESS, m_key.DeleteSubKey(L"a"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.DeleteSubKey(L"a\\d"));
  EXPECT_EQ(ERROR_SUCCESS, m_key.RecurseDeleteKey(L"a"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.RecurseDeleteKey(L"a"));
}

}  // namespace

#include <gtest/gtest.h>

#include "atl_test_module.h"
#include "registry_sandbox.h"

namespace {

constexpr CLSID kClass = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x41}};
constexpr CATID kFirst = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x42}};
constexpr CATID kSecond = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x43}};
constexpr CATID kRequired = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x44}};

const std::wstring kClassKey = L"CLSID\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E41}";
const std::wstring kImplementedKey = kClassKey + L"\\Implemented Categories";
const std::wstring kRequiredKey = kClassKey + L"\\Required Categories";

struct CBoth {
  BEGIN_CATEGORY_MAP(CBoth)
  IMPLEMENTED_CATEGORY(kFirst)
  IMPLEMENTED_CATEGORY(kSecond)
  REQUIRED_CATEGORY(kRequired)
  END_CATEGORY_MAP()
};

class Categories : public testing::Test {
 protected:
  static std::wstring Classes() { return CRegistrySandbox::Dump(HKEY_CLASSES_ROOT); }

  const std::wstring m_written = Lines({
      L"CLSID",
      kClassKey,
      kImplementedKey,
      kImplementedKey + L"\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E42}",
      kImplementedKey + L"\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E43}",
      kRequiredKey,
      kRequiredKey + L"\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E44}",
  });
  CRegistrySandbox m_sandbox;
};

TEST_F(Categories, AreWrittenAndRemoved) {
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, CBoth::GetCategoryMap(), TRUE));
  EXPECT_EQ(m_written, Classes());
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, CBoth::GetCategoryMap(), TRUE));
  EXPECT_EQ(m_written, Classes());
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, CBoth::GetCategoryMap(), FALSE));
  EXPECT_EQ(Lines({L"CLSID", kClassKey}), Classes()) << "the class itself has its own script";
}

TEST_F(Categories, OtherCategoriesStay) {
  CRegistrySandbox::Put(HKEY_CLASSES_ROOT, (kImplementedKey + L"\\{other}").c_str());
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, CBoth::GetCategoryMap(), TRUE));
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, CBoth::GetCategoryMap(), FALSE));
  EXPECT_EQ(Lines({L"CLSID", kClassKey, kImplementedKey, kImplementedKey + L"\\{other}",
                   kImplementedKey + L"\\{other} = s:"}),
            Classes());
}

TEST_F(Categories, NothingIsRemovedThatWasNotWritten) {
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, CBoth::GetCategoryMap(), FALSE));
  EXPECT_EQ(S_OK, AtlRegisterClassCategoriesHelper(kClass, nullptr, TRUE));
  EXPECT_EQ(L"", Classes());
}

}  // namespace

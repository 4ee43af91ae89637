#include "plugin/folivo_plugin.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// Takes down the replacements that it is given.
class CRecordingRegistrar final : public IRegistrarBase {
 public:
  STDMETHODIMP AddReplacement(LPCOLESTR key, LPCOLESTR item) override {
    m_added.push_back(std::wstring(key) + L"=" + item);
    return S_OK;
  }

  std::vector<std::wstring> m_added;
};

TEST(PluginModule, HasNoReplacementsForAllScripts) {
  // The module's script runs a second time, without the application identifier: that is given to
  // the first run and to each class by name.
  CFolivoPluginClass module;
  CRecordingRegistrar registrar;
  EXPECT_EQ(module.AddCommonRGSReplacements(&registrar), S_OK);
  EXPECT_EQ(registrar.m_added, std::vector<std::wstring>());
}

TEST(PluginModule, KnowsItsIdentifiers) {
  const CFolivoPluginClass module;
  EXPECT_EQ(CFolivoPluginClass::m_libid, LIBID_MERLOFolivoIEPlugin);
  EXPECT_STREQ(CFolivoPluginClass::GetAppId(), L"" FOLIVO_APPLICATION_ID);
}

}  // namespace

// The product's fixed identifiers.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "com/class_registration.h"
#include "folivo_plugin_h.h"

namespace {

TEST(Identifiers, AreAllDifferent) {
  GUID applicationId = GUID_NULL;
  ASSERT_EQ(CLSIDFromString(L"" FOLIVO_APPLICATION_ID, &applicationId), S_OK);
  std::set<std::wstring> texts;
  for (const GUID& guid :
       {CLSID_CIEDownload, CLSID_CFolivoPluginVersion, CLSID_CQDCDownload, IID_IIEDownload,
        IID_IFolivoPluginVersion, IID_IQDCDownload, LIBID_MERLOFolivoIEPlugin, applicationId}) {
    wchar_t text[39] = {};
    StringFromGUID2(guid, text, ARRAYSIZE(text));
    EXPECT_NE(guid, GUID_NULL);
    texts.insert(text);
  }
  EXPECT_EQ(texts.size(), 8u);
}

}  // namespace

#include "ui/gui_lang.h"

#include <gtest/gtest.h>

namespace {

class CMirroredLang : public CGenericGUILang {
 public:
  bool IsRightToLeft() const override { return true; }
};

TEST(GUILang, GenericLanguageAnswersAsDocumented) {
  CGenericGUILang language;
  EXPECT_FALSE(language.IsRightToLeft());
  language.Activate();
  EXPECT_TRUE(language.IsAvailable());
  EXPECT_EQ(language.GetVariant(), 0);
  EXPECT_STREQ(language.GetLocaleNameNarrow(), "en_CA");
  EXPECT_STREQ(language.GetLocaleNameWide(), L"en_CA");
}

TEST(GUILang, GenericLanguageIsCurrentByItself) {
  IGUILang& first = GetGUILang();
  EXPECT_NE(dynamic_cast<CGenericGUILang*>(&first), nullptr);
  EXPECT_FALSE(first.IsRightToLeft());
  EXPECT_EQ(&first, &GetGUILang());
}

TEST(GUILang, AnotherLanguageCanBeSetAndTakenBack) {
  CMirroredLang mirrored;
  SetGUILang(&mirrored);
  EXPECT_EQ(&GetGUILang(), &mirrored);
  EXPECT_TRUE(GetGUILang().IsRightToLeft());
  SetGUILang(nullptr);
  EXPECT_NE(&GetGUILang(), &mirrored);
  EXPECT_FALSE(GetGUILang().IsRightToLeft());
}

}  // namespace

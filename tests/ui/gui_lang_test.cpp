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

/// An operation by its place in the table: host products may be built by another compiler.
template <typename Result>
Result CallSlot(CGenericGUILang& language, int slot) {
  using Operation = Result (*)(void*);
  const void* const* const table = *reinterpret_cast<const void* const* const*>(&language);
  return reinterpret_cast<Operation>(const_cast<void*>(table[slot]))(&language);
}

class CMarkedLang : public CGenericGUILang {
 public:
  bool IsRightToLeft() const override { return true; }
  void Activate() override { ++activations; }
  bool IsAvailable() const override { return false; }
  int GetVariant() const override { return 5; }
  int activations = 0;
};

TEST(GUILang, OperationsHaveTheirPlacesBehindTheDestructor) {
#ifdef _MSC_VER
  constexpr int kFirst = 1;  // one place for the virtual destructor
#else
  constexpr int kFirst = 2;  // GCC: one that destroys, and one that also frees
#endif
  CMarkedLang language;
  EXPECT_TRUE(CallSlot<bool>(language, kFirst));
  CallSlot<void>(language, kFirst + 1);
  EXPECT_EQ(language.activations, 1);
  EXPECT_FALSE(CallSlot<bool>(language, kFirst + 2));
  EXPECT_EQ(CallSlot<int>(language, kFirst + 3), 5);
  EXPECT_STREQ(CallSlot<const char*>(language, kFirst + 4), "en_CA");
  EXPECT_STREQ(CallSlot<const wchar_t*>(language, kFirst + 5), L"en_CA");
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

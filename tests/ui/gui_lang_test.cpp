#include "ui/gui_lang.h"

#include <gtest/gtest.h>

namespace {

class CMarkedLang : public CGenericGUILang {
 public:
  bool IsRightToLeft() const override { return true; }
  void Activate() override { ++activations; }
  bool IsAvailable() const override { return false; }
  int GetVariant() const override { return 5; }
  int activations = 0;
};

TEST(GuiLang, GenericLanguageIsCurrentUntilAnotherIsSet) {
  IGUILang& generic = GetGUILang();
  EXPECT_NE(dynamic_cast<CGenericGUILang*>(&generic), nullptr);
  EXPECT_FALSE(generic.IsRightToLeft());
  EXPECT_TRUE(generic.IsAvailable());
  EXPECT_EQ(generic.GetVariant(), 0);
  CMarkedLang other;
  SetGUILang(&other);
  EXPECT_EQ(&GetGUILang(), &other);
  SetGUILang(nullptr);
  EXPECT_EQ(&GetGUILang(), &generic);
}

/// Calls a virtual function by its place in the table, as a host of another compiler does.
template <typename Result>
Result CallSlot(CGenericGUILang& language, int slot) {
  using Function = Result (*)(void*);
  const void* const* const table = *reinterpret_cast<const void* const* const*>(&language);
  return reinterpret_cast<Function>(const_cast<void*>(table[slot]))(&language);
}

TEST(GuiLang, VtableOrderIsFixed) {
#ifdef _MSC_VER
  constexpr int kFirst = 1;  // one entry for the virtual destructor
#else
  constexpr int kFirst = 2;  // GCC has two entries: one destroys, one also frees
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

}  // namespace

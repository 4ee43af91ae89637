#include <gtest/gtest.h>

#include <atlwinmodule.h>

using namespace ATL;

namespace {

TEST(WinModule, AnnouncementsBelongToTheirThread) {
  CAtlWinModule module;
  int first = 0;
  int second = 0;
  _AtlCreateWndData outer;
  _AtlCreateWndData inner;
  module.AddCreateWndData(&outer, &first);
  module.AddCreateWndData(&inner, &second);
  CHandle other(::CreateThread(
      nullptr, 0,
      [](void* context) -> DWORD {
        return static_cast<CAtlWinModule*>(context)->ExtractCreateWndData() == nullptr;
      },
      &module, 0, nullptr));
  ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(other, INFINITE));
  DWORD code = 0;
  ASSERT_TRUE(::GetExitCodeThread(other, &code));
  EXPECT_EQ(1U, code);
  // A window created while another is being created comes first.
  EXPECT_EQ(&second, module.ExtractCreateWndData());
  EXPECT_EQ(&first, module.ExtractCreateWndData());
  EXPECT_EQ(nullptr, module.ExtractCreateWndData());
}

TEST(WinModule, AnnouncementCanBeWithdrawn) {
  CAtlWinModule module;
  int first = 0;
  int second = 0;
  _AtlCreateWndData outer;
  _AtlCreateWndData inner;
  module.AddCreateWndData(&outer, &first);
  module.AddCreateWndData(&inner, &second);
  module.RemoveCreateWndData(&outer);
  module.RemoveCreateWndData(&outer);
  EXPECT_EQ(&second, module.ExtractCreateWndData());
  EXPECT_EQ(nullptr, module.ExtractCreateWndData());
}

TEST(WinModule, WindowsAreFoundUntilTheyAreRemoved) {
  CAtlWinModule module;
  int first = 0;
  int second = 0;
  const auto hFirst = reinterpret_cast<HWND>(0x10);
  const auto hSecond = reinterpret_cast<HWND>(0x20);
  CWindowLink firstLink;
  CWindowLink secondLink;
  EXPECT_EQ(nullptr, module.FindWindowObject(hFirst));
  module.AddWindow(&firstLink, hFirst, &first);
  module.AddWindow(&secondLink, hSecond, &second);
  EXPECT_EQ(&first, module.FindWindowObject(hFirst));
  EXPECT_EQ(&second, module.FindWindowObject(hSecond));
  module.RemoveWindow(&firstLink);
  module.RemoveWindow(&firstLink);
  EXPECT_EQ(nullptr, module.FindWindowObject(hFirst));
  EXPECT_EQ(&second, module.FindWindowObject(hSecond));
  module.RemoveWindow(&secondLink);
}

/// A class that an earlier load of the module has left behind has the same name.
TEST(WinModule, StaleWindowClassIsReplaced) {
  CAtlWinModule module;
  static CWndClassInfo info(&::DefWindowProc);
  WNDCLASSEX stale = info.m_wc;
  stale.lpfnWndProc = [](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 0; };
  ASSERT_NE(0, ::RegisterClassEx(&stale));
  EXPECT_NE(0, module.RegisterClassOnce(info));
  WNDCLASSEX found = {};
  found.cbSize = sizeof(found);
  EXPECT_TRUE(::GetClassInfoEx(info.m_wc.hInstance, info.m_szName, &found));
  EXPECT_EQ(info.m_wc.lpfnWndProc, found.lpfnWndProc);
}

}  // namespace

#include <gtest/gtest.h>

#include <atlstr.h>
#include <atlwin.h>

#include <memory>

namespace {

/// A message-only window that writes down what happens to it.
class CLoggedWindow : public CWindowImpl<CLoggedWindow, CWindow, CWinTraits<WS_POPUP>> {
 public:
  explicit CLoggedWindow(CString& log) : m_log(log) {}

  DECLARE_WND_CLASS(L"AtlLoggedWindow")

  // clang-format off
  BEGIN_MSG_MAP(CLoggedWindow)
    MESSAGE_HANDLER(WM_NCCREATE, OnNcCreate)
    MESSAGE_HANDLER(WM_CREATE, OnCreate)
    MESSAGE_HANDLER(WM_USER, OnUser)
    MESSAGE_HANDLER(WM_USER + 1, OnDestroySelf)
    MESSAGE_HANDLER(WM_SETTEXT, OnSetText)
    MESSAGE_HANDLER(WM_NCDESTROY, OnNcDestroy)
  END_MSG_MAP()
  // clang-format on

  void OnFinalMessage(HWND hWnd) override {
    EXPECT_NE(nullptr, hWnd);
    EXPECT_EQ(nullptr, m_hWnd);
    EXPECT_EQ(nullptr, GetCurrentMessage());
    m_log += L"final;";
    if (m_deleteSelf) {
      delete this;
    }
  }

  LRESULT OnNcCreate(UINT, WPARAM, LPARAM, BOOL& handled) {
    EXPECT_NE(nullptr, m_hWnd);
    m_log += L"nccreate;";
    handled = FALSE;
    return 0;
  }
  LRESULT OnCreate(UINT, WPARAM, LPARAM lParam, BOOL&) {
    m_log += L"create;";
    return reinterpret_cast<CREATESTRUCT*>(lParam)->lpCreateParams == this ? 0 : -1;
  }
  LRESULT OnUser(UINT message, WPARAM wParam, LPARAM, BOOL&) {
    EXPECT_EQ(message, GetCurrentMessage()->message);
    EXPECT_EQ(wParam, GetCurrentMessage()->wParam);
    return static_cast<LRESULT>(wParam) + 1;
  }
  LRESULT OnDestroySelf(UINT, WPARAM, LPARAM, BOOL&) {
    m_log += L"destroy(";
    DestroyWindow();
    EXPECT_EQ(nullptr, m_hWnd);
    EXPECT_EQ(static_cast<UINT>(WM_USER + 1), GetCurrentMessage()->message);
    m_log += L");";
    return 5;
  }
  LRESULT OnSetText(UINT, WPARAM, LPARAM, BOOL&) { return DefWindowProc(); }
  LRESULT OnNcDestroy(UINT, WPARAM, LPARAM, BOOL& handled) {
    m_log += L"ncdestroy;";
    handled = m_swallowLast;
    return 0;
  }

  bool m_deleteSelf = false;
  BOOL m_swallowLast = FALSE;

 private:
  CString& m_log;
};

TEST(WindowImpl, LifeFromTheFirstMessageToTheLast) {
  CString log;
  CLoggedWindow window(log);
  ASSERT_NE(nullptr, window.Create(HWND_MESSAGE, nullptr, L"t", 0, 0, 0U, &window));
  EXPECT_EQ(static_cast<DWORD>(WS_POPUP), window.GetStyle() & WS_POPUP);
  EXPECT_STREQ(L"nccreate;create;", log);
  EXPECT_EQ(8, window.SendMessage(WM_USER, 7));
  EXPECT_EQ(nullptr, window.GetCurrentMessage());
  const HWND handle = window;
  EXPECT_TRUE(window.DestroyWindow());
  EXPECT_STREQ(L"nccreate;create;ncdestroy;final;", log);
  EXPECT_EQ(nullptr, window.m_hWnd);
  EXPECT_EQ(nullptr, _AtlWinModule.FindWindowObject(handle));
}

TEST(WindowImpl, FinalMessageComesAlsoWhenTheHandlerKeepsTheLastMessage) {
  CString log;
  CLoggedWindow window(log);
  window.m_swallowLast = TRUE;
  ASSERT_NE(nullptr, window.Create(HWND_MESSAGE, nullptr, nullptr, 0, 0, 0U, &window));
  log.Empty();
  ::DestroyWindow(window);
  EXPECT_STREQ(L"ncdestroy;final;", log);
}

TEST(WindowImpl, FinalMessageWaitsForTheHandlerThatDestroyedTheWindow) {
  CString log;
  CLoggedWindow window(log);
  ASSERT_NE(nullptr, window.Create(HWND_MESSAGE, nullptr, nullptr, 0, 0, 0U, &window));
  log.Empty();
  EXPECT_EQ(5, window.SendMessage(WM_USER + 1));
  EXPECT_STREQ(L"destroy(ncdestroy;);final;", log);
}

TEST(WindowImpl, FinalMessageMayDeleteTheObject) {
  CString log;
  auto owned = std::make_unique<CLoggedWindow>(log);
  owned->m_deleteSelf = true;
  ASSERT_NE(nullptr, owned->Create(HWND_MESSAGE, nullptr, nullptr, 0, 0, 0U, owned.get()));
  CLoggedWindow* const window = owned.release();
  EXPECT_TRUE(window->DestroyWindow());
  EXPECT_STREQ(L"nccreate;create;ncdestroy;final;", log);
}

TEST(WindowImpl, RefusedCreationLeavesTheObjectReadyForAnother) {
  CString log;
  CLoggedWindow window(log);
  EXPECT_EQ(nullptr, window.Create(HWND_MESSAGE));
  EXPECT_EQ(nullptr, window.m_hWnd);
  EXPECT_STREQ(L"nccreate;create;ncdestroy;final;", log);
  EXPECT_NE(nullptr, window.Create(HWND_MESSAGE, nullptr, nullptr, 0, 0, 0U, &window));
  window.DestroyWindow();
}

TEST(WindowImpl, WindowOutlivesItsObjectWithoutHarm) {
  CString log;
  HWND handle = nullptr;
  {
    CLoggedWindow window(log);
    handle = window.Create(HWND_MESSAGE, nullptr, nullptr, 0, 0, 0U, &window);
    ASSERT_NE(nullptr, handle);
    log.Empty();
  }
  EXPECT_EQ(0, ::SendMessageW(handle, WM_USER, 7, 0));
  EXPECT_TRUE(::DestroyWindow(handle));
  EXPECT_STREQ(L"", log);
}

TEST(WindowImpl, DefaultProcessingIsAvailableToHandlers) {
  CString log;
  CLoggedWindow window(log);
  ASSERT_NE(nullptr, window.Create(HWND_MESSAGE, nullptr, L"old", 0, 0, 0U, &window));
  EXPECT_TRUE(window.SetWindowText(L"new"));
  CString text;
  window.GetWindowText(text);
  EXPECT_STREQ(L"new", text);
  window.DestroyWindow();
}

/// Without DECLARE_WND_CLASS: the name of the window class is made up.
class CUnnamedWindow : public CWindowImpl<CUnnamedWindow, CWindow, CNullTraits> {
 public:
  // clang-format off
  BEGIN_MSG_MAP(CUnnamedWindow)
  END_MSG_MAP()
  // clang-format on
};
class COtherUnnamedWindow : public CWindowImpl<COtherUnnamedWindow, CWindow, CNullTraits> {
 public:
  // clang-format off
  BEGIN_MSG_MAP(COtherUnnamedWindow)
  END_MSG_MAP()
  // clang-format on
};

TEST(WindowImpl, UnnamedClassesAreDistinct) {
  CUnnamedWindow first;
  CUnnamedWindow second;
  COtherUnnamedWindow other;
  ASSERT_NE(nullptr, first.Create(HWND_MESSAGE));
  ASSERT_NE(nullptr, second.Create(HWND_MESSAGE));
  ASSERT_NE(nullptr, other.Create(HWND_MESSAGE));
  EXPECT_EQ(::GetClassLongPtrW(first, GCW_ATOM), ::GetClassLongPtrW(second, GCW_ATOM));
  EXPECT_NE(::GetClassLongPtrW(first, GCW_ATOM), ::GetClassLongPtrW(other, GCW_ATOM));
  first.DestroyWindow();
  second.DestroyWindow();
  other.DestroyWindow();
}

}  // namespace

#include <gtest/gtest.h>

#include <atlhost.h>

#include <functional>
#include <string>

#include "resource.h"

namespace {

// Not WM_USER: dialogs give its first numbers a meaning of their own (DM_GETDEFID).
constexpr UINT kAsk = WM_APP + 1;
constexpr UINT kRun = WM_APP + 2;
constexpr UINT kUnhandled = WM_APP + 3;

std::wstring TextOf(HWND window) {
  wchar_t text[32] = {};
  ::GetWindowTextW(window, text, 32);
  return text;
}

/// A dialog whose behaviour each test supplies as functions.
template <UINT nTemplate>
class CTestDialogOf : public CAxDialogImpl<CTestDialogOf<nTemplate>> {
  using Base = CAxDialogImpl<CTestDialogOf>;

 public:
  enum : UINT { IDD = nTemplate };

  // clang-format off
  BEGIN_MSG_MAP(CTestDialogOf)
    MESSAGE_HANDLER(WM_INITDIALOG, OnInit)
    MESSAGE_HANDLER(WM_CTLCOLORDLG, OnColor)
    MESSAGE_HANDLER(kAsk, OnAsk)
    MESSAGE_HANDLER(kRun, OnRun)
    MESSAGE_HANDLER(WM_DESTROY, OnDestroy)
    MESSAGE_HANDLER(WM_NCDESTROY, OnDestroy)
    COMMAND_HANDLER(IDOK, 0, OnOk)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnInit(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
    m_log += L"init;";
    EXPECT_NE(nullptr, this->m_hWnd);
    EXPECT_EQ(0, lParam);
    EXPECT_EQ(TRUE, Base::OnInitDialog(message, wParam, lParam, handled));
    EXPECT_FALSE(handled);
    if (m_init) {
      m_init();
    }
    handled = TRUE;
    return TRUE;
  }
  LRESULT OnColor(UINT, WPARAM, LPARAM, BOOL&) {
    return reinterpret_cast<LRESULT>(::GetStockObject(BLACK_BRUSH));
  }
  LRESULT OnAsk(UINT, WPARAM wParam, LPARAM, BOOL&) { return static_cast<LRESULT>(wParam) * 2; }
  LRESULT OnRun(UINT, WPARAM, LPARAM, BOOL&) {
    m_log += L"run(";
    m_run();
    m_log += L");";
    return 77;
  }
  // Leaves a result behind but does not handle the message.
  LRESULT OnDestroy(UINT message, WPARAM, LPARAM, BOOL& handled) {
    m_log += message == WM_DESTROY ? L"destroy;" : L"ncdestroy;";
    handled = FALSE;
    return 1;
  }
  LRESULT OnOk(WORD, WORD, HWND, BOOL&) {
    this->EndDialog(42);
    return 0;
  }

  std::function<void()> m_init;
  std::function<void()> m_run;
  std::wstring m_log;
};

using CTestDialog = CTestDialogOf<IDD_PLAIN>;

TEST(Dialog, DoModalReturnsTheCodeOfEndDialog) {
  CTestDialog dialog;
  std::wstring title;
  std::wstring typed;
  dialog.m_init = [&] {
    title = TextOf(dialog);
    typed = TextOf(dialog.GetDlgItem(IDC_EDIT));
    dialog.PostMessage(WM_COMMAND, IDOK);
  };
  for (int run = 0; run < 2; ++run) {
    dialog.m_log.clear();
    EXPECT_EQ(42, dialog.DoModal(nullptr));
    EXPECT_EQ(L"init;destroy;ncdestroy;", dialog.m_log);
    EXPECT_EQ(nullptr, dialog.m_hWnd);
  }
  EXPECT_EQ(L"Plain", title);
  EXPECT_EQ(L"typed", typed);
}

TEST(Dialog, ResultsReachTheSender) {
  CTestDialog dialog;
  dialog.m_init = [&] {
    EXPECT_EQ(246, ::SendMessageW(dialog, kAsk, 123, 0));
    EXPECT_EQ(0, ::SendMessageW(dialog, kUnhandled, 0, 0));
    // One of the messages whose result is taken directly.
    const HDC dc = ::GetDC(dialog);
    EXPECT_EQ(reinterpret_cast<LRESULT>(::GetStockObject(BLACK_BRUSH)),
              ::SendMessageW(dialog, WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc),
                             reinterpret_cast<LPARAM>(dialog.m_hWnd)));
    ::ReleaseDC(dialog, dc);
    dialog.EndDialog(1);
  };
  EXPECT_EQ(1, dialog.DoModal(nullptr));
}

TEST(Dialog, MayRunInsideAnother) {
  CTestDialog outer;
  CTestDialog inner;
  inner.m_init = [&] {
    EXPECT_NE(outer.m_hWnd, inner.m_hWnd);
    inner.EndDialog(2);
  };
  outer.m_init = [&] { outer.PostMessage(kRun); };
  outer.m_run = [&] {
    EXPECT_EQ(2, inner.DoModal(outer));
    outer.EndDialog(1);
  };
  EXPECT_EQ(1, outer.DoModal(nullptr));
  EXPECT_EQ(L"init;destroy;ncdestroy;", inner.m_log);
  EXPECT_EQ(L"init;run();destroy;ncdestroy;", outer.m_log);
}

TEST(Dialog, HandlerMayDestroyTheWindow) {
  CTestDialog dialog;
  dialog.m_init = [&] { dialog.PostMessage(kRun); };
  dialog.m_run = [&] {
    dialog.DestroyWindow();
    EXPECT_EQ(nullptr, dialog.m_hWnd);
  };
  EXPECT_NE(42, dialog.DoModal(nullptr));
  EXPECT_EQ(L"init;run(destroy;ncdestroy;);", dialog.m_log);
}

TEST(Dialog, WindowThatOutlivesItsObjectHasTheDefaultProcedure) {
  HWND handle = nullptr;
  {
    CTestDialog dialog;
    handle = dialog.Create(nullptr);
    ASSERT_NE(nullptr, handle);
  }
  EXPECT_EQ(0, ::SendMessageW(handle, kAsk, 5, 0));
  EXPECT_TRUE(::DestroyWindow(handle));
}

template <class D>
void ExpectNoDialog() {
  D dialog;
  EXPECT_EQ(-1, dialog.DoModal(nullptr));
  EXPECT_EQ(nullptr, dialog.Create(nullptr));
  EXPECT_EQ(nullptr, dialog.m_hWnd);
  EXPECT_EQ(L"", dialog.m_log);
}
TEST(Dialog, MissingTemplateReturnsMinusOne) { ExpectNoDialog<CTestDialogOf<IDD_MISSING>>(); }
TEST(Dialog, ActiveXControlInTemplateReturnsMinusOne) {
  ExpectNoDialog<CTestDialogOf<IDD_WITH_CONTROL>>();
}

}  // namespace

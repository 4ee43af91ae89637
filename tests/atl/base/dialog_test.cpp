#include <gtest/gtest.h>

#include <atlhost.h>
#include <atlstr.h>

#include <functional>
#include <memory>

#include "resource.h"

namespace {

// Not WM_USER: dialogs give its first numbers a meaning of their own (DM_GETDEFID).
constexpr UINT kAsk = WM_APP + 1;
constexpr UINT kRun = WM_APP + 2;
constexpr UINT kUnhandled = WM_APP + 3;

/// A dialog on either dialog class, whose behaviour each test supplies as functions.
template <template <class, class> class Impl, UINT nTemplate>
class CTestDialog : public Impl<CTestDialog<Impl, nTemplate>, CWindow> {
  using Base = Impl<CTestDialog, CWindow>;

 public:
  enum : UINT { IDD = nTemplate };

  // clang-format off
  BEGIN_MSG_MAP(CTestDialog)
    MESSAGE_HANDLER(WM_SETFONT, OnSetFont)
    MESSAGE_HANDLER(WM_INITDIALOG, OnInit)
    MESSAGE_HANDLER(WM_CTLCOLORDLG, OnColor)
    MESSAGE_HANDLER(kAsk, OnAsk)
    MESSAGE_HANDLER(kRun, OnRun)
    MESSAGE_HANDLER(WM_DESTROY, OnDestroy)
    MESSAGE_HANDLER(WM_NCDESTROY, OnNcDestroy)
    COMMAND_HANDLER(IDOK, 0, OnOk)
  END_MSG_MAP()
  // clang-format on

  void OnFinalMessage(HWND hWnd) override {
    EXPECT_NE(nullptr, hWnd);
    EXPECT_EQ(nullptr, this->m_hWnd);
    m_log += L"final;";
    if (m_final) {
      m_final();
    }
  }

  LRESULT OnSetFont(UINT, WPARAM, LPARAM, BOOL& handled) {
    EXPECT_NE(nullptr, this->m_hWnd);
    m_log += L"font;";
    handled = FALSE;
    return 0;
  }
  LRESULT OnInit(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
    m_log += L"init;";
    m_initParam = lParam;
    if constexpr (std::is_same_v<Base, CAxDialogImpl<CTestDialog, CWindow>>) {
      EXPECT_EQ(TRUE, Base::OnInitDialog(message, wParam, lParam, handled));
      EXPECT_FALSE(handled);
    }
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
  LRESULT OnDestroy(UINT, WPARAM, LPARAM, BOOL& handled) {
    m_log += L"destroy;";
    handled = FALSE;
    return 1;
  }
  LRESULT OnNcDestroy(UINT, WPARAM, LPARAM, BOOL& handled) {
    m_log += L"ncdestroy;";
    handled = FALSE;
    return 0;
  }
  LRESULT OnOk(WORD, WORD, HWND, BOOL&) {
    this->EndDialog(42);
    return 0;
  }

  std::function<void()> m_init;
  std::function<void()> m_run;
  std::function<void()> m_final;
  LPARAM m_initParam = 0;
  CString m_log;
};

template <class D>
class Dialog : public testing::Test {};
using DialogTypes =
    testing::Types<CTestDialog<CDialogImpl, IDD_PLAIN>, CTestDialog<CAxDialogImpl, IDD_PLAIN>>;
TYPED_TEST_SUITE(Dialog, DialogTypes);

TYPED_TEST(Dialog, ModalRunReturnsTheCodeAndSeesEveryMessage) {
  TypeParam dialog;
  dialog.m_init = [&] { dialog.PostMessage(WM_COMMAND, IDOK); };
  EXPECT_EQ(42, dialog.DoModal(nullptr, 1234));
  EXPECT_EQ(1234, dialog.m_initParam);
  EXPECT_STREQ(L"font;init;destroy;ncdestroy;final;", dialog.m_log);
  EXPECT_EQ(nullptr, dialog.m_hWnd);
}

TYPED_TEST(Dialog, ObjectCanRunAgain) {
  TypeParam dialog;
  dialog.m_init = [&] { dialog.EndDialog(6); };
  EXPECT_EQ(6, dialog.DoModal(nullptr));
  EXPECT_EQ(6, dialog.DoModal(nullptr));
}

TYPED_TEST(Dialog, ControlsComeFromTheTemplate) {
  TypeParam dialog;
  CString title;
  CString typed;
  RECT units = {0, 0, 186, 73};
  dialog.m_init = [&] {
    dialog.GetWindowText(title);
    dialog.GetDlgItem(IDC_EDIT).GetWindowText(typed);
    EXPECT_TRUE(dialog.MapDialogRect(&units));
    RECT client;
    dialog.GetClientRect(&client);
    EXPECT_EQ(client.right, units.right);
    EXPECT_EQ(client.bottom, units.bottom);
    dialog.EndDialog(1);
  };
  EXPECT_EQ(1, dialog.DoModal(nullptr));
  EXPECT_STREQ(L"Plain", title);
  EXPECT_STREQ(L"typed", typed);
}

TYPED_TEST(Dialog, ResultsReachTheSender) {
  TypeParam dialog;
  dialog.m_init = [&] {
    EXPECT_EQ(246, dialog.SendMessage(kAsk, 123));
    EXPECT_EQ(0, dialog.SendMessage(kUnhandled));
    // One of the messages whose result is taken directly.
    const HDC dc = dialog.GetDC();
    EXPECT_EQ(reinterpret_cast<LRESULT>(::GetStockObject(BLACK_BRUSH)),
              dialog.SendMessage(WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc),
                                 reinterpret_cast<LPARAM>(dialog.m_hWnd)));
    dialog.ReleaseDC(dc);
    dialog.EndDialog(1);
  };
  EXPECT_EQ(1, dialog.DoModal(nullptr));
}

TYPED_TEST(Dialog, MayRunInsideAnother) {
  TypeParam outer;
  TypeParam inner;
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
  EXPECT_STREQ(L"font;init;destroy;ncdestroy;final;", inner.m_log);
  EXPECT_STREQ(L"font;init;run();destroy;ncdestroy;final;", outer.m_log);
}

// What a host does that closes its windows under a modal dialog.
TYPED_TEST(Dialog, WindowDestroyedFromOutsideLeavesNoTrace) {
  HWND handle = nullptr;
  {
    TypeParam dialog;
    dialog.m_init = [&] {
      handle = dialog;
      ::SetTimer(handle, 1, 1, [](HWND hWnd, UINT, UINT_PTR, DWORD) { ::DestroyWindow(hWnd); });
    };
    EXPECT_NE(42, dialog.DoModal(nullptr));
    EXPECT_EQ(nullptr, dialog.m_hWnd);
    EXPECT_STREQ(L"font;init;destroy;ncdestroy;final;", dialog.m_log);
  }
  EXPECT_FALSE(::IsWindow(handle));
  EXPECT_EQ(nullptr, _AtlWinModule.FindWindowObject(handle));
}

TYPED_TEST(Dialog, FinalMessageWaitsForTheHandlerThatDestroyedTheWindow) {
  TypeParam dialog;
  ASSERT_NE(nullptr, dialog.Create(nullptr));
  dialog.m_run = [&] { dialog.DestroyWindow(); };
  dialog.m_log.Empty();
  dialog.SendMessage(kRun);
  EXPECT_STREQ(L"run(destroy;ncdestroy;);final;", dialog.m_log);
}

TYPED_TEST(Dialog, FinalMessageMayDeleteTheObject) {
  auto dialog = std::make_unique<TypeParam>();
  bool gone = false;
  dialog->m_final = [&] {
    gone = true;
    dialog.reset();  // last: this function lives in the object
  };
  const HWND handle = dialog->Create(nullptr);
  ASSERT_NE(nullptr, handle);
  EXPECT_TRUE(dialog->DestroyWindow());
  EXPECT_TRUE(gone);
  EXPECT_EQ(nullptr, dialog);
}

TYPED_TEST(Dialog, WindowOutlivesItsObjectWithoutHarm) {
  HWND handle = nullptr;
  {
    TypeParam dialog;
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
  EXPECT_EQ(nullptr, dialog.m_hWnd);
  EXPECT_EQ(nullptr, dialog.Create(nullptr));
  // Nothing is left for the next window of this thread to be mistaken for.
  EXPECT_EQ(nullptr, _AtlWinModule.ExtractCreateWndData());
}
TEST(DialogFailure, MissingTemplate) {
  ExpectNoDialog<CTestDialog<CDialogImpl, IDD_MISSING>>();
  ExpectNoDialog<CTestDialog<CAxDialogImpl, IDD_MISSING>>();
}
TEST(DialogFailure, ActiveXControlsAreNotHosted) {
  ExpectNoDialog<CTestDialog<CAxDialogImpl, IDD_WITH_CONTROL>>();
}

}  // namespace

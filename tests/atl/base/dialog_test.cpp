#include <gtest/gtest.h>

#include <atlhost.h>

#include <functional>
#include <string>

#include "resource.h"

namespace {

// Not WM_USER: dialogs give its first numbers a meaning of their own (DM_GETDEFID).
constexpr UINT kAsk = WM_APP + 1;
constexpr UINT kUnhandled = WM_APP + 2;

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
    MESSAGE_HANDLER(WM_NCDESTROY, OnNcDestroy)
    COMMAND_HANDLER(IDOK, 0, OnOk)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnInit(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
    EXPECT_NE(nullptr, this->m_hWnd);
    EXPECT_EQ(0, lParam);
    EXPECT_EQ(TRUE, Base::OnInitDialog(message, wParam, lParam, handled));
    EXPECT_FALSE(handled);
    m_log += "init;";
    m_init();
    handled = TRUE;
    return TRUE;
  }
  LRESULT OnColor(UINT, WPARAM, LPARAM, BOOL&) {
    return reinterpret_cast<LRESULT>(::GetStockObject(BLACK_BRUSH));
  }
  LRESULT OnAsk(UINT, WPARAM wParam, LPARAM, BOOL&) { return static_cast<LRESULT>(wParam) * 2; }
  LRESULT OnNcDestroy(UINT, WPARAM, LPARAM, BOOL&) {
    m_log += "ncdestroy;";
    return 0;
  }
  LRESULT OnOk(WORD, WORD, HWND, BOOL&) {
    m_log += "ok;";
    this->EndDialog(42);
    return 0;
  }

  std::function<void()> m_init = [] {};
  std::string m_log;
};

using CTestDialog = CTestDialogOf<IDD_PLAIN>;

TEST(Dialog, DoModalReturnsTheCodeOfEndDialog) {
  CTestDialog dialog;
  wchar_t text[32] = {};
  dialog.m_init = [&] {
    ::GetDlgItemTextW(dialog, IDC_EDIT, text, 32);
    dialog.PostMessage(WM_COMMAND, IDOK);
  };
  for (int run = 0; run < 2; ++run) {
    dialog.m_log.clear();
    EXPECT_EQ(42, dialog.DoModal(nullptr));
    EXPECT_EQ("init;ok;ncdestroy;", dialog.m_log);
    EXPECT_EQ(nullptr, dialog.m_hWnd);
  }
  EXPECT_STREQ(L"typed", text);
}

TEST(Dialog, SendMessageReturnsResultOfHandler) {
  CTestDialog dialog;
  const HWND window = dialog.Create(nullptr);
  EXPECT_EQ(246, ::SendMessageW(window, kAsk, 123, 0));
  EXPECT_EQ(0, ::SendMessageW(window, kUnhandled, 0, 0));
  ::SendMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, 1), 0);
  ::SendMessageW(window, WM_COMMAND, MAKEWPARAM(IDC_EDIT, 0), 0);
  EXPECT_EQ("init;", dialog.m_log) << "neither the command's code nor its identifier may differ";
  // A message whose result the dialog procedure returns itself, not by DWLP_MSGRESULT.
  const HDC dc = ::GetDC(window);
  EXPECT_EQ(reinterpret_cast<LRESULT>(::GetStockObject(BLACK_BRUSH)),
            ::SendMessageW(window, WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc),
                           reinterpret_cast<LPARAM>(window)));
  ::ReleaseDC(window, dc);
  EXPECT_TRUE(dialog.DestroyWindow());
}

template <class D>
void ExpectNoDialog() {
  D dialog;
  EXPECT_EQ(-1, dialog.DoModal(nullptr));
  EXPECT_EQ(nullptr, dialog.Create(nullptr));
  EXPECT_EQ(nullptr, dialog.m_hWnd);
  EXPECT_EQ("", dialog.m_log);
}

TEST(Dialog, MissingTemplateOrActiveXControlReturnsMinusOne) {
  ExpectNoDialog<CTestDialogOf<IDD_MISSING>>();
  ExpectNoDialog<CTestDialogOf<IDD_WITH_CONTROL>>();
}

}  // namespace

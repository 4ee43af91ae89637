#include "tests/e2e/browser_session.h"

#include <gtest/gtest.h>

#include "tests/support/dialogs.h"
#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_actions.h"
#include "tools/dialog_driver/window_query.h"
#include "tools/support/utf8.h"

namespace {

constexpr wchar_t kDialogClass[] = L"#32770";
constexpr int kSaveNameField = 0x47C;

}  // namespace

CBrowserSession::CBrowserSession()
    : m_process(ToolPath(L"browser_host.exe"), L"--show --commands-from-stdin") {
  const auto helper = m_process.WaitForLine("helper ");
  EXPECT_TRUE(helper) << "no helper object is registered";
  EXPECT_NE(helper.value_or("").find(" hr=0x00000000"), std::string::npos) << *helper;
}

CBrowserSession::~CBrowserSession() {
  if (!m_closed) {
    CloseWindow();
  }
}

void CBrowserSession::Navigate(const std::wstring& url) {
  m_process.WriteLine("navigate " + ToUtf8(url));
}

bool CBrowserSession::WaitForEvent() {
  const auto line = m_process.WaitForLine("event BeforeNavigate2 ");
  EXPECT_TRUE(line) << "no end of the event";
  return line && line->find(" cancel=1") != std::string::npos;
}

DWORD CBrowserSession::CloseWindow() {
  m_closed = true;
  m_process.WriteLine("close");
  return m_process.WaitForExit();
}

HWND CBrowserSession::WaitForDialog(const std::wstring& title) const {
  HWND dialog = nullptr;
  const WindowFilter filter = {title, kDialogClass, m_process.ProcessId()};
  EXPECT_TRUE(PollUntil(kToolTimeout, [&] {
    dialog = FindVisibleWindow(filter);
    return dialog != nullptr;
  })) << ToUtf8(title);
  return dialog;
}

void CBrowserSession::Press(const std::wstring& dialog, int button) const {
  const HWND window = WaitForDialog(dialog);
  EXPECT_EQ(Click(window, button, kToolTimeout), ActionResult::kDone) << ToUtf8(dialog);
  EXPECT_EQ(WaitGone(window, kToolTimeout), ActionResult::kDone) << ToUtf8(dialog);
}

void CBrowserSession::SaveAs(const std::wstring& path) const {
  const HWND dialog = WaitForDialog(kSaveTitle);
  EXPECT_EQ(SetControlText(dialog, kSaveNameField, path, kToolTimeout), ActionResult::kDone);
  EXPECT_EQ(SendCommand(dialog, IDOK), ActionResult::kDone);
}

bool CBrowserSession::HasDialog() const {
  return FindVisibleWindow({std::nullopt, kDialogClass, m_process.ProcessId()}) != nullptr;
}

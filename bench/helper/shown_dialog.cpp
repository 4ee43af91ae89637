#include "bench/helper/shown_dialog.h"

#include "bench/support/program.h"

namespace {

constexpr UINT kFirstMessage = WM_APP + 0x100;

CShownDialog* g_current = nullptr;

bool IsDialog(HWND window) {
  wchar_t name[16] = {};
  GetClassNameW(window, name, ARRAYSIZE(name));
  return lstrcmpW(name, L"#32770") == 0;
}

}  // namespace

CShownDialog::CShownDialog()
    : m_sentHook(SetWindowsHookExW(WH_CALLWNDPROCRET, &OnSent, nullptr, GetCurrentThreadId())),
      m_takenHook(SetWindowsHookExW(WH_GETMESSAGE, &OnTaken, nullptr, GetCurrentThreadId())) {
  g_current = this;
}

CShownDialog::~CShownDialog() {
  UnhookWindowsHookEx(m_takenHook);
  UnhookWindowsHookEx(m_sentHook);
  g_current = nullptr;
}

double CShownDialog::TimeUntilShown() const {
  Demand(m_time > 0, "no dialog was shown");
  return m_time;
}

LRESULT CALLBACK CShownDialog::OnSent(int code, WPARAM wParam, LPARAM lParam) {
  const auto* const sent = reinterpret_cast<const CWPRETSTRUCT*>(lParam);
  if (code == HC_ACTION && sent->message == WM_WINDOWPOSCHANGED && g_current->m_dialog == nullptr) {
    const auto* const position = reinterpret_cast<const WINDOWPOS*>(sent->lParam);
    if ((position->flags & SWP_SHOWWINDOW) != 0 && IsDialog(sent->hwnd)) {
      g_current->m_dialog = sent->hwnd;
      PostMessageW(sent->hwnd, kFirstMessage, 0, 0);
    }
  }
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK CShownDialog::OnTaken(int code, WPARAM wParam, LPARAM lParam) {
  const auto* const message = reinterpret_cast<const MSG*>(lParam);
  if (code == HC_ACTION && wParam == PM_REMOVE && message->message == kFirstMessage &&
      message->hwnd == g_current->m_dialog) {
    g_current->m_time = g_current->m_stopwatch.Elapsed();
    PostMessageW(message->hwnd, WM_COMMAND, IDCANCEL, 0);
  }
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

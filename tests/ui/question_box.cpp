#include "tests/ui/question_box.h"

#include "tests/support/parallel.h"
#include "tests/support/user.h"
#include "ui/message_box.h"

namespace {

ATOM RegisterOwnerClass(WNDPROC procedure) {
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = procedure;
  windowClass.lpszClassName = L"FolivoTestOwner";
  windowClass.hInstance = GetModuleHandleW(nullptr);
  return RegisterClassW(&windowClass);
}

}  // namespace

int Show(const CQuestion& question) {
  return ShowCustomMessageBox(question.owner, question.title, question.text, question.iconId,
                              question.labels[0], question.labels[1], question.labels[2],
                              question.labels[3], question.checkLabel, question.checkState);
}

int ShowTo(const CQuestion& question, const std::function<void(HWND box)>& user) {
  const std::wstring title = question.title != nullptr ? question.title : L"";
  const CParallel thread([&] {
    const HWND box = WaitForDialog(title);
    if (box != nullptr) {
      user(box);
      PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
    }
  });
  return Show(question);
}

COwnerWindow::COwnerWindow(bool visible, WNDPROC procedure)
    : m_class(RegisterOwnerClass(procedure)),
      m_window(CreateWindowExW(0, MAKEINTATOM(m_class), L"Owner",
                               WS_POPUP | (visible ? WS_VISIBLE : 0), 300, 400, 200, 100, nullptr,
                               nullptr, GetModuleHandleW(nullptr), nullptr)) {}

COwnerWindow::~COwnerWindow() {
  DestroyWindow(m_window);
  UnregisterClassW(MAKEINTATOM(m_class), GetModuleHandleW(nullptr));
}

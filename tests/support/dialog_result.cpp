#include "tests/support/dialog_result.h"

#include <utility>

namespace {

INT_PTR g_result;
int g_count;
UINT g_template;
HWND g_parent;
LPARAM g_parameter;
std::function<void()> g_action;

INT_PTR WINAPI Run(HINSTANCE, LPCWSTR name, HWND parent, DLGPROC, LPARAM parameter) {
  ++g_count;
  g_template = static_cast<UINT>(reinterpret_cast<ULONG_PTR>(name));
  g_parent = parent;
  g_parameter = parameter;
  if (g_action) {
    g_action();
  }
  return g_result;
}

}  // namespace

CDialogResult::CDialogResult(INT_PTR result) : m_patch("user32.dll", "DialogBoxParamW", &Run) {
  g_result = result;
  g_count = 0;
  g_action = nullptr;
}

int CDialogResult::Count() const { return g_count; }

UINT CDialogResult::Template() const { return g_template; }

HWND CDialogResult::Parent() const { return g_parent; }

LPARAM CDialogResult::Parameter() { return g_parameter; }

void CDialogResult::WhileRunning(std::function<void()> action) const {
  g_action = std::move(action);
}

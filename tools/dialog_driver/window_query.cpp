#include "tools/dialog_driver/window_query.h"

#include <array>

namespace {

std::vector<HWND> Collect(HWND parent) {
  std::vector<HWND> windows;
  const auto add = [](HWND window, LPARAM list) -> BOOL {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
  };
  const LPARAM list = reinterpret_cast<LPARAM>(&windows);
  if (parent) {
    EnumChildWindows(parent, add, list);
  } else {
    EnumWindows(add, list);
  }
  return windows;
}

/// The title that the system keeps: even a program that answers nobody just now has one.
std::wstring Title(HWND window) {
  std::array<wchar_t, 512> text{};
  const int length = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  return {text.data(), static_cast<size_t>(length)};
}

bool Matches(HWND window, const WindowFilter& filter) {
  if (!IsWindowVisible(window)) {
    return false;
  }
  DWORD processId = 0;
  GetWindowThreadProcessId(window, &processId);
  if (filter.processId != 0 && filter.processId != processId) {
    return false;
  }
  if (filter.className && lstrcmpiW(filter.className->c_str(), WindowClass(window).c_str()) != 0) {
    return false;
  }
  return !filter.title || *filter.title == WindowText(window);
}

}  // namespace

std::wstring WindowText(HWND window) {
  if (!(GetWindowLongW(window, GWL_STYLE) & WS_CHILD)) {
    return Title(window);
  }
  DWORD_PTR length = 0;
  if (!SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, kAnswerTimeout,
                           &length)) {
    return {};
  }
  std::wstring text(length + 1, L'\0');
  DWORD_PTR copied = 0;
  if (!SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                           SMTO_ABORTIFHUNG, kAnswerTimeout, &copied)) {
    return {};
  }
  text.resize(copied);
  return text;
}

std::wstring WindowClass(HWND window) {
  std::array<wchar_t, 256> name{};
  const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return {name.data(), static_cast<size_t>(length)};
}

WindowFacts ReadWindow(HWND window) {
  WindowFacts facts;
  facts.window = window;
  GetWindowThreadProcessId(window, &facts.processId);
  if (GetWindowLongW(window, GWL_STYLE) & WS_CHILD) {
    facts.id = GetDlgCtrlID(window);
  }
  facts.className = WindowClass(window);
  facts.text = WindowText(window);
  facts.visible = IsWindowVisible(window);
  facts.enabled = IsWindowEnabled(window);
  GetWindowRect(window, &facts.rect);
  return facts;
}

std::vector<WindowFacts> VisibleTopLevelWindows() {
  std::vector<WindowFacts> result;
  for (const HWND window : Collect(nullptr)) {
    if (IsWindowVisible(window)) {
      result.push_back(ReadWindow(window));
    }
  }
  return result;
}

std::vector<WindowFacts> ChildWindows(HWND parent) {
  std::vector<WindowFacts> result;
  for (const HWND window : Collect(parent)) {
    result.push_back(ReadWindow(window));
  }
  return result;
}

HWND FindVisibleWindow(const WindowFilter& filter) {
  for (const HWND window : Collect(nullptr)) {
    if (Matches(window, filter)) {
      return window;
    }
  }
  return nullptr;
}

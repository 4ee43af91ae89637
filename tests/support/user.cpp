#include "tests/support/user.h"
#include "tests/support/dialog_texts.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD kPollMs = 10;
constexpr int kMessageTextId = 0xFFFF;
constexpr int kSaveFileNameId = 0x47C;

std::wstring ClassOf(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, ARRAYSIZE(name));
  return name;
}

/// A window's title without a message to its thread, which may be held up in a call.
std::wstring TitleOf(HWND window) {
  wchar_t title[256] = {};
  InternalGetWindowText(window, title, ARRAYSIZE(title));
  return title;
}

BOOL CALLBACK CollectDialog(HWND window, LPARAM dialogs) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process == GetCurrentProcessId() && IsWindowVisible(window) && ClassOf(window) == L"#32770") {
    reinterpret_cast<std::vector<HWND>*>(dialogs)->push_back(window);
  }
  return TRUE;
}

}  // namespace

bool WaitUntil(const char* what, const std::function<bool()>& condition, DWORD timeoutMs) {
  const ULONGLONG deadline = GetTickCount64() + timeoutMs;
  while (!condition()) {
    if (GetTickCount64() >= deadline) {
      ADD_FAILURE() << "waited in vain for: " << what;
      return false;
    }
    Sleep(kPollMs);
  }
  return true;
}

std::vector<HWND> VisibleDialogs() {
  std::vector<HWND> dialogs;
  EnumWindows(&CollectDialog, reinterpret_cast<LPARAM>(&dialogs));
  return dialogs;
}

HWND FindDialog(const std::wstring& title) {
  for (const HWND dialog : VisibleDialogs()) {
    if (TitleOf(dialog) == title && IsWindowEnabled(dialog)) {
      return dialog;
    }
  }
  return nullptr;
}

HWND WaitForDialog(const std::wstring& title, DWORD timeoutMs) {
  HWND dialog = nullptr;
  const std::string what = "dialog \"" + std::string(title.begin(), title.end()) + "\"";
  WaitUntil(what.c_str(), [&] { return (dialog = FindDialog(title)) != nullptr; }, timeoutMs);
  return dialog;
}

bool WaitUntilGone(HWND window, DWORD timeoutMs) {
  return WaitUntil("a window to go", [=] { return !IsWindowVisible(window); }, timeoutMs);
}

void Click(HWND dialog, int id) {
  const HWND button = GetDlgItem(dialog, id);
  EXPECT_NE(button, nullptr) << "no button " << id;
  PostMessageW(button, BM_CLICK, 0, 0);
}

void Close(HWND window) { PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0); }

std::wstring TextOf(HWND window) {
  std::wstring text(static_cast<size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
  const LRESULT length =
      SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<size_t>(length));
  return text;
}

std::wstring ChildText(HWND dialog, int id) { return TextOf(GetDlgItem(dialog, id)); }

std::wstring MessageText(HWND box) { return ChildText(box, kMessageTextId); }

void SaveAs(const std::wstring& path) {
  const HWND dialog = WaitForDialog(kSaveTitle);
  if (!path.empty()) {
    SendDlgItemMessageW(dialog, kSaveFileNameId, WM_SETTEXT, 0,
                        reinterpret_cast<LPARAM>(path.c_str()));
  }
  PostMessageW(dialog, WM_COMMAND, IDOK, 0);
}

#include "download/shell_open.h"

#include <shellapi.h>

void OpenInShell(HWND owner, LPCWSTR file, LPCWSTR parameters) {
  SHELLEXECUTEINFOW info = {};
  info.cbSize = sizeof(info);
  info.fMask = SEE_MASK_UNICODE | SEE_MASK_NOASYNC;
  info.hwnd = owner;
  info.lpVerb = L"open";
  info.lpFile = file;
  info.lpParameters = parameters;
  info.nShow = SW_SHOWNORMAL;
  ShellExecuteExW(&info);
}

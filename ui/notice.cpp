#include "ui/notice.h"

#include "base/product_texts.h"

int ShowFormatted(HWND owner, UINT style, LPCWSTR format, const CStringW& subject) {
  CStringW text;
  text.Format(format, subject.GetString());
  return MessageBoxW(owner, text, kProductName, style);
}

void ShowNotice(HWND owner, LPCWSTR format, const CStringW& subject) {
  ShowFormatted(owner, MB_OK, format, subject);
}

bool ConfirmWarning(HWND owner, LPCWSTR format, const CStringW& subject) {
  return ShowFormatted(owner, MB_YESNO | MB_ICONWARNING, format, subject) == IDYES;
}

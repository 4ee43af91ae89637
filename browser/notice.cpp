#include "browser/notice.h"

#include "base/product_texts.h"

namespace {

int ShowMessage(HWND owner, LPCWSTR format, const CStringW& subject, UINT style) {
  CStringW text;
  text.Format(format, subject.GetString());
  return MessageBoxW(owner, text, kProductName, style);
}

}  // namespace

void ShowNotice(HWND owner, LPCWSTR format, const CStringW& subject) {
  ShowMessage(owner, format, subject, MB_OK);
}

bool ConfirmWarning(HWND owner, LPCWSTR format, const CStringW& subject) {
  return ShowMessage(owner, format, subject, MB_YESNO | MB_ICONWARNING) == IDYES;
}

#include "browser/notice.h"

#include "ui/product_texts.h"

void ShowNotice(HWND owner, LPCWSTR format, const CStringW& subject) {
  CStringW text;
  text.Format(format, subject.GetString());
  MessageBoxW(owner, text, kProductName, MB_OK);
}

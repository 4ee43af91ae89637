#include "tests/browser/common_dialog.h"

namespace {

std::wstring g_choice;
int g_calls;
OPENFILENAMEW g_given;
std::wstring g_name;
std::wstring g_filter;

/// Reads up to the second of two NULs.
std::wstring FilterText(LPCWSTR filter) {
  if (filter == nullptr) {
    return L"none";
  }
  std::wstring text;
  for (; *filter != L'\0'; filter += wcslen(filter) + 1) {
    text += std::wstring(filter) + L"|";
  }
  return text;
}

BOOL WINAPI Choose(OPENFILENAMEW* dialog) {
  ++g_calls;
  g_given = *dialog;
  g_name = dialog->lpstrFile;
  g_filter = FilterText(dialog->lpstrFilter);
  if (g_choice.empty()) {
    return FALSE;
  }
  wcscpy(dialog->lpstrFile, g_choice.c_str());
  return TRUE;
}

}  // namespace

CCommonDialog::CCommonDialog(const std::wstring& choice) : m_patch("GetSaveFileNameW", &Choose) {
  g_choice = choice;
  g_calls = 0;
}

int CCommonDialog::Calls() const { return g_calls; }

const OPENFILENAMEW& CCommonDialog::Given() const { return g_given; }

const std::wstring& CCommonDialog::GivenName() const { return g_name; }

const std::wstring& CCommonDialog::GivenFilter() const { return g_filter; }

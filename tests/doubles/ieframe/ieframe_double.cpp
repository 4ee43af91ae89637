// Double of ieframe.dll with all the functions for saving outside the browser's protected mode.

#include <objbase.h>
#include <windows.h>

#include <algorithm>
#include <cwchar>

#include "tests/doubles/ieframe/ieframe_record.h"

namespace {

CIeFrameRecord g_record;

template <size_t N>
void Keep(wchar_t (&target)[N], LPCWSTR source) {
  target[0] = 0;
  if (source != nullptr) {
    lstrcpynW(target, source, N);
  }
}

LONGLONG SizeOf(LPCWSTR path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (!GetFileAttributesExW(path, GetFileExInfoStandard, &data)) {
    return -1;
  }
  return (static_cast<LONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

}  // namespace

extern "C" {

__declspec(dllexport) CIeFrameRecord* ResetIeFrameRecord() {
  g_record = {};
  return &g_record;
}

__declspec(dllexport) HRESULT STDAPICALLTYPE IEIsProtectedModeProcess(BOOL* result) {
  *result = g_record.isProtectedMode;
  return g_record.protectedModeResult;
}

__declspec(dllexport) HRESULT STDAPICALLTYPE IEShowSaveFileDialog(HWND owner, LPCWSTR fileName,
                                                                  LPCWSTR folder, LPCWSTR filter,
                                                                  LPCWSTR extension,
                                                                  DWORD filterIndex, DWORD flags,
                                                                  LPWSTR* path, HANDLE* state) {
  ++g_record.saveDialogCalls;
  g_record.saveDialogOwner = owner;
  Keep(g_record.saveDialogFileName, fileName);
  g_record.saveDialogHasFolder = folder != nullptr;
  g_record.saveDialogHasFilter = filter != nullptr;
  Keep(g_record.saveDialogFilter, filter);
  g_record.saveDialogHasExtension = extension != nullptr;
  g_record.saveDialogFilterIndex = filterIndex;
  g_record.saveDialogFlags = flags;
  if (g_record.saveDialogPath[0] != 0) {
    const size_t bytes = (std::wcslen(g_record.saveDialogPath) + 1) * sizeof(wchar_t);
    *path = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    std::copy_n(g_record.saveDialogPath, bytes / sizeof(wchar_t), *path);
  }
  *state = g_record.saveDialogState;
  return g_record.saveDialogResult;
}

__declspec(dllexport) HRESULT STDAPICALLTYPE IECancelSaveFile(HANDLE state) {
  ++g_record.cancelCalls;
  g_record.cancelledState = state;
  return g_record.cancelResult;
}

__declspec(dllexport) HRESULT STDAPICALLTYPE IESaveFile(HANDLE state, LPCWSTR source) {
  ++g_record.saveCalls;
  g_record.savedState = state;
  Keep(g_record.savedSource, source);
  g_record.savedSize = SizeOf(source);
  return g_record.saveResult;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
}

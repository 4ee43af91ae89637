#pragma once

#include <windows.h>

#include "ui/dynamic_dll.h"

/// The browser's functions for saving a file from protected mode, in "ieframe.dll". Loaded at run
/// time, as older browsers do not have them; the destructor frees the library.
class CIeFrameLibrary : private CDynamicDll {
 public:
  CIeFrameLibrary();

  /// Whether this process runs in the browser's protected mode. False when the library or the
  /// function is missing, or when it fails.
  bool IsProtectedModeProcess() const;

  /// Calls IEShowSaveFileDialog and returns its result; E_NOTIMPL when the function is missing. The
  /// caller frees `path` with CoTaskMemFree and passes `state` to SaveFile or CancelSaveFile.
  HRESULT ShowSaveFileDialog(HWND owner, LPCWSTR fileName, LPCWSTR filter, DWORD filterIndex,
                             DWORD flags, LPWSTR* path, HANDLE* state) const;

  /// Calls IECancelSaveFile. Does nothing when the function is missing.
  void CancelSaveFile(HANDLE state) const;

  /// Calls IESaveFile and ignores its result. Returns false when the function is missing.
  bool SaveFile(HANDLE state, LPCWSTR sourceFile) const;

 private:
  void Bind(HMODULE module) override;

  // Each is null when the library does not export it.
  HRESULT(STDAPICALLTYPE* m_IEIsProtectedModeProcess)(BOOL*) = nullptr;
  HRESULT(STDAPICALLTYPE* m_IEShowSaveFileDialog)(HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, DWORD,
                                                  DWORD, LPWSTR*, HANDLE*) = nullptr;
  HRESULT(STDAPICALLTYPE* m_IECancelSaveFile)(HANDLE) = nullptr;
  HRESULT(STDAPICALLTYPE* m_IESaveFile)(HANDLE, LPCWSTR) = nullptr;
};

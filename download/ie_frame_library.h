#pragma once

#include <windows.h>

#include "base/scoped_handle.h"

/// The browser's functions for saving a file from protected mode. Loads "ieframe.dll" and looks
/// them up at run time, as older browsers do not have them; the destructor frees the library.
class CIeFrameLibrary {
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
  template <typename Function>
  Function Find(const char* name) const;

  CScopedLibrary m_library;
};

#pragma once

#include <windows.h>

#include "base/scoped_handle.h"

/// The browser's functions for saving outside its protected mode, bound at run time from
/// "ieframe.dll" since older browsers lack them. The library is freed with the object.
class CIeFrameLibrary {
 public:
  CIeFrameLibrary();

  /// Whether this process runs in the browser's protected mode; false where nobody can tell.
  bool IsProtectedModeProcess() const;

  /// IEShowSaveFileDialog's arguments and answer, as documented for it. E_NOTIMPL when missing.
  /// The caller frees `path` with CoTaskMemFree and hands `state` to SaveFile or CancelSaveFile.
  HRESULT ShowSaveFileDialog(HWND owner, LPCWSTR fileName, LPCWSTR filter, DWORD filterIndex,
                             DWORD flags, LPWSTR* path, HANDLE* state) const;

  /// Ends a save that was not confirmed; nothing when the function is missing.
  void CancelSaveFile(HANDLE state) const;

  /// False when the library or its save function is missing. How the save itself went is not told.
  bool SaveFile(HANDLE state, LPCWSTR sourceFile) const;

 private:
  template <typename Function>
  Function Find(const char* name) const;

  CScopedLibrary m_library;
};

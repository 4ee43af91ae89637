#pragma once

#include <windows.h>

/// What a test tells the double of ieframe.dll, and what the double tells the test. Texts are kept
/// up to the length of their buffers.
struct CIeFrameRecord {
  // The answers. `saveDialogPath` empty: no path is given.
  HRESULT protectedModeResult;
  BOOL isProtectedMode;
  HRESULT saveDialogResult;
  wchar_t saveDialogPath[1024];
  HANDLE saveDialogState;
  HRESULT cancelResult;
  HRESULT saveResult;

  // The calls so far, and what the last one of each function was given.
  int saveDialogCalls;
  HWND saveDialogOwner;
  wchar_t saveDialogFileName[1024];
  BOOL saveDialogHasFolder;
  BOOL saveDialogHasFilter;
  wchar_t saveDialogFilter[1024];  // one text with bars, not the common dialog's zeros
  BOOL saveDialogHasExtension;
  DWORD saveDialogFilterIndex;
  DWORD saveDialogFlags;

  int cancelCalls;
  HANDLE cancelledState;

  int saveCalls;
  HANDLE savedState;
  wchar_t savedSource[1024];
  LONGLONG savedSize;  // of the source at the time of the call, -1 when it cannot be read
};

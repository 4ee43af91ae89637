#include "download/ie_frame_library.h"

#include "ui/bind_function.h"

namespace {

using IsProtectedModeProcessFn = HRESULT(STDAPICALLTYPE*)(BOOL*);
using ShowSaveFileDialogFn = HRESULT(STDAPICALLTYPE*)(HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR,
                                                      DWORD, DWORD, LPWSTR*, HANDLE*);
using CancelSaveFileFn = HRESULT(STDAPICALLTYPE*)(HANDLE);
using SaveFileFn = HRESULT(STDAPICALLTYPE*)(HANDLE, LPCWSTR);

}  // namespace

CIeFrameLibrary::CIeFrameLibrary() : m_library(LoadLibraryW(L"ieframe.dll")) {}

template <typename Function>
Function CIeFrameLibrary::Find(const char* name) const {
  Function function = nullptr;
  if (m_library) {
    BindFunction(m_library.Get(), name, function);
  }
  return function;
}

bool CIeFrameLibrary::IsProtectedModeProcess() const {
  const auto function = Find<IsProtectedModeProcessFn>("IEIsProtectedModeProcess");
  BOOL isProtected = FALSE;
  return function != nullptr && SUCCEEDED(function(&isProtected)) && isProtected != FALSE;
}

HRESULT CIeFrameLibrary::ShowSaveFileDialog(HWND owner, LPCWSTR fileName, LPCWSTR filter,
                                            DWORD filterIndex, DWORD flags, LPWSTR* path,
                                            HANDLE* state) const {
  *path = nullptr;
  *state = nullptr;
  const auto function = Find<ShowSaveFileDialogFn>("IEShowSaveFileDialog");
  if (function == nullptr) {
    return E_NOTIMPL;
  }
  return function(owner, fileName, nullptr, filter, nullptr, filterIndex, flags, path, state);
}

void CIeFrameLibrary::CancelSaveFile(HANDLE state) const {
  if (const auto function = Find<CancelSaveFileFn>("IECancelSaveFile")) {
    function(state);
  }
}

bool CIeFrameLibrary::SaveFile(HANDLE state, LPCWSTR sourceFile) const {
  const auto function = Find<SaveFileFn>("IESaveFile");
  if (function == nullptr) {
    return false;
  }
  function(state, sourceFile);
  return true;
}

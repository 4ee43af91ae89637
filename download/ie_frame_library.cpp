#include "download/ie_frame_library.h"

#include "ui/bind_function.h"

CIeFrameLibrary::CIeFrameLibrary() { Load(L"ieframe.dll"); }

void CIeFrameLibrary::Bind(HMODULE module) {
  BindFunction(module, "IEIsProtectedModeProcess", m_IEIsProtectedModeProcess);
  BindFunction(module, "IEShowSaveFileDialog", m_IEShowSaveFileDialog);
  BindFunction(module, "IECancelSaveFile", m_IECancelSaveFile);
  BindFunction(module, "IESaveFile", m_IESaveFile);
}

bool CIeFrameLibrary::IsProtectedModeProcess() const {
  BOOL isProtected = FALSE;
  return m_IEIsProtectedModeProcess != nullptr &&
         SUCCEEDED(m_IEIsProtectedModeProcess(&isProtected)) && isProtected != FALSE;
}

HRESULT CIeFrameLibrary::ShowSaveFileDialog(HWND owner, LPCWSTR fileName, LPCWSTR filter,
                                            DWORD filterIndex, DWORD flags, LPWSTR* path,
                                            HANDLE* state) const {
  *path = nullptr;
  *state = nullptr;
  return m_IEShowSaveFileDialog != nullptr
             ? m_IEShowSaveFileDialog(owner, fileName, nullptr, filter, nullptr, filterIndex, flags,
                                      path, state)
             : E_NOTIMPL;
}

void CIeFrameLibrary::CancelSaveFile(HANDLE state) const {
  if (m_IECancelSaveFile != nullptr) {
    m_IECancelSaveFile(state);
  }
}

bool CIeFrameLibrary::SaveFile(HANDLE state, LPCWSTR sourceFile) const {
  if (m_IESaveFile == nullptr) {
    return false;
  }
  m_IESaveFile(state, sourceFile);
  return true;
}

#include "ui/dynamic_dll.h"

CDynamicDll::~CDynamicDll() {
  if (m_module != nullptr) {
    FreeLibrary(m_module);
  }
}

DWORD CDynamicDll::Load(LPCWSTR name) {
  const HMODULE module = LoadLibraryW(name);
  if (module == nullptr) {
    // Quirk 85: the library held before stays.
    m_error = GetLastError();
    return m_error;
  }
  Unload();
  m_error = ERROR_SUCCESS;
  m_module = module;
  Bind(module);
  return m_error;
}

void CDynamicDll::Unload() {
  if (m_module != nullptr) {
    FreeLibrary(m_module);
    m_module = nullptr;
  }
  Release();
}

void CDynamicDll::Bind(HMODULE) {}

void CDynamicDll::Release() {}

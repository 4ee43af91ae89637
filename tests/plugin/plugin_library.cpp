#include "tests/plugin/plugin_library.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>

#include "folivo_plugin_h.h"

std::wstring CPluginLibrary::BuiltPath() {
  wchar_t path[1024] = {};
  EXPECT_NE(GetEnvironmentVariableW(L"FOLIVO_PLUGIN_DLL", path, ARRAYSIZE(path)), 0u);
  return path;
}

CPluginLibrary::CPluginLibrary(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {
  if (m_module == nullptr) {
    ADD_FAILURE() << "the DLL does not load, error " << GetLastError();
    TerminateProcess(GetCurrentProcess(), EXIT_FAILURE);
  }
}

std::wstring CPluginLibrary::Path() const {
  wchar_t path[1024] = {};
  GetModuleFileNameW(m_module, path, ARRAYSIZE(path));
  return path;
}

void CPluginLibrary::Free() {
  if (m_module != nullptr) {
    FreeLibrary(m_module);
    m_module = nullptr;
  }
}

HRESULT CPluginLibrary::GetClassObject(REFCLSID clsid, REFIID iid, void** out) const {
  return std::bit_cast<decltype(&DllGetClassObject)>(GetProcAddress(m_module, "DllGetClassObject"))(
      clsid, iid, out);
}

HRESULT CPluginLibrary::Call(const char* name) const {
  return std::bit_cast<HRESULT(WINAPI*)()>(GetProcAddress(m_module, name))();
}

CComPtr<IClassFactory> CPluginLibrary::Factory(REFCLSID clsid) const {
  CComPtr<IClassFactory> factory;
  EXPECT_EQ(GetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
  return factory;
}

CComPtr<IClassFactory> CPluginLibrary::HelperFactory() const { return Factory(CLSID_CIEDownload); }

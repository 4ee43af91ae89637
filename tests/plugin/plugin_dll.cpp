#include "tests/plugin/plugin_dll.h"

#include <gtest/gtest.h>

#include <bit>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

fs::path ProgramFolder() {
  wchar_t path[MAX_PATH + 1] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path();
}

}  // namespace

std::wstring PluginDllPath() {
  return (ProgramFolder().parent_path() / L"FolivoPlugin.dll").wstring();
}

std::wstring ProgramBeside(const std::wstring& name) { return (ProgramFolder() / name).wstring(); }

CPluginDll::CPluginDll() : m_module(LoadLibraryW(PluginDllPath().c_str())) {
  EXPECT_NE(m_module, nullptr) << "error " << GetLastError();
}

CPluginDll::~CPluginDll() { FreeLibrary(m_module); }

template <typename Function>
Function* CPluginDll::Find(const char* name) const {
  auto* const function = std::bit_cast<Function*>(GetProcAddress(m_module, name));
  EXPECT_NE(function, nullptr) << name;
  return function;
}

HRESULT CPluginDll::CanUnloadNow() const {
  return Find<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")();
}

HRESULT CPluginDll::GetClassObject(REFCLSID clsid, REFIID iid, void** out) const {
  return Find<HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**)>("DllGetClassObject")(clsid, iid,
                                                                                     out);
}

HRESULT CPluginDll::RegisterServer() const {
  return Find<HRESULT STDAPICALLTYPE()>("DllRegisterServer")();
}

HRESULT CPluginDll::UnregisterServer() const {
  return Find<HRESULT STDAPICALLTYPE()>("DllUnregisterServer")();
}

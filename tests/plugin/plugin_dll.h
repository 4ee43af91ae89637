#pragma once

#include <windows.h>

#include <string>

/// Full path of the built DLL: it lies in the folder above the test programs'.
std::wstring PluginDllPath();
/// Full path of a program beside this one.
std::wstring ProgramBeside(const std::wstring& name);

/// The built DLL, loaded for the object's lifetime, and its exports.
class CPluginDll {
 public:
  CPluginDll();
  ~CPluginDll();
  CPluginDll(const CPluginDll&) = delete;
  CPluginDll& operator=(const CPluginDll&) = delete;

  HMODULE Module() const { return m_module; }
  HRESULT CanUnloadNow() const;
  HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) const;
  HRESULT RegisterServer() const;
  HRESULT UnregisterServer() const;

 private:
  template <typename Function>
  Function* Find(const char* name) const;

  HMODULE m_module;
};

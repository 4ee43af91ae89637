#pragma once

#include <atlbase.h>
#include <windows.h>

#include <string>

/// The built DLL, loaded as a browser loads it, until scope end. Tells where it is by the
/// environment variable FOLIVO_PLUGIN_DLL, which the build sets for each test program.
class CPluginLibrary {
 public:
  /// Loads the built DLL, or a copy of it.
  explicit CPluginLibrary(const std::wstring& path = BuiltPath());
  ~CPluginLibrary();
  CPluginLibrary(const CPluginLibrary&) = delete;
  CPluginLibrary& operator=(const CPluginLibrary&) = delete;

  static std::wstring BuiltPath();

  HMODULE Module() const { return m_module; }
  /// The path as the system tells it.
  std::wstring Path() const;
  /// Unloads before scope end.
  void Free();

  // The exported functions.
  HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) const;
  HRESULT RegisterServer() const;
  HRESULT UnregisterServer() const;
  HRESULT CanUnloadNow() const;

  /// The class object of the helper object.
  CComPtr<IClassFactory> HelperFactory() const;

 private:
  template <typename Function>
  Function* Find(const char* name) const;

  HMODULE m_module;
};

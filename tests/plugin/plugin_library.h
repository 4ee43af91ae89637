#pragma once

#include <atlbase.h>
#include <windows.h>

#include <string>

/// The built DLL, loaded as a browser loads it, until scope end. The environment variable
/// FOLIVO_PLUGIN_DLL, which the build sets for each test program, says where it is.
class CPluginLibrary {
 public:
  /// Loads the built DLL, or a copy of it.
  explicit CPluginLibrary(const std::wstring& path = BuiltPath());
  ~CPluginLibrary() { Free(); }
  CPluginLibrary(const CPluginLibrary&) = delete;
  CPluginLibrary& operator=(const CPluginLibrary&) = delete;

  static std::wstring BuiltPath();

  HMODULE Module() const { return m_module; }
  /// The path as the system returns it.
  std::wstring Path() const;
  /// Unloads before scope end.
  void Free();

  // The exported functions.
  HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) const;
  HRESULT RegisterServer() const { return Call("DllRegisterServer"); }
  HRESULT UnregisterServer() const { return Call("DllUnregisterServer"); }
  HRESULT CanUnloadNow() const { return Call("DllCanUnloadNow"); }

  /// The class object of a class, and that of the helper object.
  CComPtr<IClassFactory> Factory(REFCLSID clsid) const;
  CComPtr<IClassFactory> HelperFactory() const;
  /// A new object of a class; null when that fails.
  template <typename Interface>
  CComPtr<Interface> Create(REFCLSID clsid, IUnknown* outer = nullptr) const {
    CComPtr<Interface> object;
    Factory(clsid)->CreateInstance(outer, __uuidof(Interface), reinterpret_cast<void**>(&object));
    return object;
  }

 private:
  HRESULT Call(const char* name) const;

  HMODULE m_module;
};

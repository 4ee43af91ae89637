#pragma once

#include <atlbase.h>
#include <ocidl.h>

#include <string>

#include "base/scoped_handle.h"

/// A library loaded by LoadLibrary.
struct CLibraryTraits {
  using Handle = HMODULE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle library) { FreeLibrary(library); }
};

/// A DLL with the helper object's class, loaded as COM would load it, without the registry.
class CHelperLibrary {
 public:
  /// Throws CMeasurementError when it does not load.
  explicit CHelperLibrary(const std::wstring& path);

  HMODULE Module() const { return m_module.Get(); }

  /// A new helper object. Throws CMeasurementError without one.
  CComPtr<IObjectWithSite> CreateHelper() const;

 private:
  CScopedHandle<CLibraryTraits> m_module;
};

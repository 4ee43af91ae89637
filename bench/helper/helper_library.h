#pragma once

#include <atlbase.h>
#include <ocidl.h>

#include <string>

#include "base/scoped_handle.h"

/// A DLL with the helper object's class, loaded as COM would load it, without the registry.
class CHelperLibrary {
 public:
  /// Throws CMeasurementError when it does not load.
  explicit CHelperLibrary(const std::wstring& path);

  HMODULE Module() const { return m_module.Get(); }

  /// A new helper object. Throws CMeasurementError without one.
  CComPtr<IObjectWithSite> CreateHelper() const;

 private:
  CScopedLibrary m_module;
};

#include "bench/helper/helper_library.h"

#include <bit>

#include "bench/support/program.h"
#include "folivo_plugin_h.h"

CHelperLibrary::CHelperLibrary(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {
  DemandSuccess(static_cast<bool>(m_module), "LoadLibrary");
}

CComPtr<IObjectWithSite> CHelperLibrary::CreateHelper() const {
  const auto getClassObject =
      std::bit_cast<LPFNGETCLASSOBJECT>(GetProcAddress(m_module.Get(), "DllGetClassObject"));
  DemandSuccess(getClassObject != nullptr, "GetProcAddress");
  CComPtr<IClassFactory> factory;
  CComPtr<IObjectWithSite> helper;
  Demand(SUCCEEDED(getClassObject(CLSID_CIEDownload, IID_PPV_ARGS(&factory))) &&
             SUCCEEDED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&helper))),
         "there is no helper object");
  return helper;
}

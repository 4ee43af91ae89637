#pragma once

#include <atlcomcli.h>
#include <objsafe.h>

#include <initializer_list>

#if defined(__MINGW64_VERSION_MAJOR) && __MINGW64_VERSION_MAJOR < 11
// Its header declares the interface without the identifier that __uuidof gives.
__CRT_UUID_DECL(IObjectSafety, 0xCB5BDC81, 0x93C1, 0x11CF, 0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0,
                0x64)
#endif

namespace ATL {

/// Tells a browser for which uses by untrusted pages the object is safe: the INTERFACESAFE_ bits in
/// dwSupportedSafety, the same for each of T's interfaces.
template <class T, DWORD dwSupportedSafety>
class ATL_NO_VTABLE IObjectSafetyImpl : public IObjectSafety {
 public:
  STDMETHOD(GetInterfaceSafetyOptions)
  (REFIID riid, DWORD* pdwSupportedOptions, DWORD* pdwEnabledOptions) override {
    for (DWORD* const pdwOptions : {pdwSupportedOptions, pdwEnabledOptions}) {
      if (pdwOptions != nullptr) {
        *pdwOptions = 0;
      }
    }
    if (pdwSupportedOptions == nullptr || pdwEnabledOptions == nullptr) {
      return E_POINTER;
    }
    if (!HasInterface(riid)) {
      return E_NOINTERFACE;
    }
    *pdwSupportedOptions = dwSupportedSafety;
    *pdwEnabledOptions = m_dwCurrentSafety;
    return S_OK;
  }
  STDMETHOD(SetInterfaceSafetyOptions)
  (REFIID riid, DWORD dwOptionSetMask, DWORD dwEnabledOptions) override {
    if (!HasInterface(riid)) {
      return E_NOINTERFACE;
    }
    if ((dwOptionSetMask & ~dwSupportedSafety) != 0) {
      return E_FAIL;
    }
    m_dwCurrentSafety =
        (m_dwCurrentSafety & ~dwOptionSetMask) | (dwEnabledOptions & dwOptionSetMask);
    return S_OK;
  }

  DWORD m_dwCurrentSafety = 0;

 private:
  /// Only of its own interfaces can the object say how safe they are, not of an outer object's.
  bool HasInterface(REFIID riid) {
    CComPtr<IUnknown> pUnk;
    return SUCCEEDED(
        static_cast<T*>(this)->_InternalQueryInterface(riid, reinterpret_cast<void**>(&pUnk)));
  }
};

}  // namespace ATL

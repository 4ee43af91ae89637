#pragma once

#include <atlcomcli.h>
#include <objsafe.h>

#if defined(__MINGW64_VERSION_MAJOR) && __MINGW64_VERSION_MAJOR < 11
// Its header has no __uuidof for the interface.
__CRT_UUID_DECL(IObjectSafety, 0xCB5BDC81, 0x93C1, 0x11CF, 0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0,
                0x64)
#endif

namespace ATL {

/// Declares that untrusted pages may use the object as the INTERFACESAFE_ bits dwSupportedSafety
/// say, the same for each interface of T.
template <class T, DWORD dwSupportedSafety>
class ATL_NO_VTABLE IObjectSafetyImpl : public IObjectSafety {
 public:
  STDMETHOD(GetInterfaceSafetyOptions)
  (REFIID riid, DWORD* pdwSupportedOptions, DWORD* pdwEnabledOptions) override {
    const HRESULT hrSupported = detail::SetResult(pdwSupportedOptions, 0);
    const HRESULT hrEnabled = detail::SetResult(pdwEnabledOptions, 0);
    if (FAILED(hrSupported) || FAILED(hrEnabled)) {
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
  /// Ignores the interfaces of an outer object.
  bool HasInterface(REFIID riid) {
    CComPtr<IUnknown> pUnk;
    return SUCCEEDED(
        static_cast<T*>(this)->_InternalQueryInterface(riid, reinterpret_cast<void**>(&pUnk)));
  }
};

}  // namespace ATL

#pragma once

// The registrar as a COM component: how the system's own one is reached.

#include <ole2.h>

/// Runs registry scripts. All strings are read only during the call.
MIDL_INTERFACE("44EC053B-400F-11D0-9DCD-00A0C90391D3")
IRegistrar : public IUnknown {
 public:
  virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR Key, LPCOLESTR item) = 0;
  virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceRegisterSz(LPCOLESTR resFileName, LPCOLESTR szID,
                                                       LPCOLESTR szType) = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceUnregisterSz(LPCOLESTR resFileName, LPCOLESTR szID,
                                                         LPCOLESTR szType) = 0;
  virtual HRESULT STDMETHODCALLTYPE FileRegister(LPCOLESTR fileName) = 0;
  virtual HRESULT STDMETHODCALLTYPE FileUnregister(LPCOLESTR fileName) = 0;
  virtual HRESULT STDMETHODCALLTYPE StringRegister(LPCOLESTR data) = 0;
  virtual HRESULT STDMETHODCALLTYPE StringUnregister(LPCOLESTR data) = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceRegister(LPCOLESTR resFileName, UINT nID,
                                                     LPCOLESTR szType) = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceUnregister(LPCOLESTR resFileName, UINT nID,
                                                       LPCOLESTR szType) = 0;
};
__CRT_UUID_DECL(IRegistrar, 0x44EC053B, 0x400F, 0x11D0, 0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91,
                0xD3)

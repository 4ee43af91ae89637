#pragma once

#include <atlcom.h>

#include <string>

#include "test_types_h.h"

/// The class of the tests' type library, which describes it once the library is registered.
class CGreeter
    : public ATL::CComObjectRootEx<ATL::CComSingleThreadModel>,
      public ATL::CComCoClass<CGreeter, &CLSID_Greeter>,
      public ATL::IDispatchImpl<IGreeter, &IID_IGreeter, &LIBID_AtlComTestTypes>,
      public ATL::IProvideClassInfo2Impl<&CLSID_Greeter, nullptr, &LIBID_AtlComTestTypes>,
      public ATL::IObjectWithSiteImpl<CGreeter> {
 public:
  CGreeter() = default;
  CGreeter(const CGreeter&) = delete;
  CGreeter& operator=(const CGreeter&) = delete;
  virtual ~CGreeter() = default;

  BEGIN_COM_MAP(CGreeter)
  COM_INTERFACE_ENTRY(IGreeter)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY(IProvideClassInfo2)
  COM_INTERFACE_ENTRY(IProvideClassInfo)
  COM_INTERFACE_ENTRY(IObjectWithSite)
  END_COM_MAP()

  STDMETHOD(Greet)(BSTR name, LONG times, BSTR* text) override {
    *text = nullptr;
    std::wstring greeting;
    for (LONG i = 0; i < times; ++i) {
      greeting += L"Hello ";
    }
    greeting += name;
    *text = SysAllocString(greeting.c_str());
    return S_OK;
  }
  STDMETHOD(get_Count)(LONG* value) override {
    *value = m_count;
    return S_OK;
  }
  STDMETHOD(put_Count)(LONG value) override {
    m_count = value;
    return S_OK;
  }
  STDMETHOD(Refuse)() override { return E_ACCESSDENIED; }

 private:
  LONG m_count = 0;
};

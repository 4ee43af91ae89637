#pragma once

#include <atlcom.h>

#include <string>

#include "test_types_h.h"

/// The class of the tests' type library. Where the type library is found is up to `major` and
/// `minor`: registered in that version, or, with 0xFFFF twice, in the module's own file.
template <WORD major, WORD minor>
class CGreeterT
    : public ATL::CComObjectRootEx<ATL::CComSingleThreadModel>,
      public ATL::CComCoClass<CGreeterT<major, minor>, &CLSID_Greeter>,
      public ATL::IDispatchImpl<IGreeter, &IID_IGreeter, &LIBID_AtlComTestTypes, major, minor>,
      public ATL::IProvideClassInfo2Impl<&CLSID_Greeter, &DIID__IGreeterEvents,
                                         &LIBID_AtlComTestTypes, major, minor>,
      public ATL::ISupportErrorInfoImpl<&IID_IGreeter>,
      public ATL::IObjectWithSiteImpl<CGreeterT<major, minor>> {
 public:
  CGreeterT() = default;
  CGreeterT(const CGreeterT&) = delete;
  CGreeterT& operator=(const CGreeterT&) = delete;
  virtual ~CGreeterT() = default;

  BEGIN_COM_MAP(CGreeterT)
  COM_INTERFACE_ENTRY(IGreeter)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY(IProvideClassInfo2)
  COM_INTERFACE_ENTRY(IProvideClassInfo)
  COM_INTERFACE_ENTRY(ISupportErrorInfo)
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
  STDMETHOD(Refuse)() override {
    return this->Error(L"I will not.", __uuidof(IGreeter), E_ACCESSDENIED);
  }

 private:
  LONG m_count = 0;
};

/// Described by the type library in its own file.
using CModuleGreeter = CGreeterT<0xFFFF, 0xFFFF>;
/// Described by the registered type library.
using CRegisteredGreeter = CGreeterT<1, 0>;

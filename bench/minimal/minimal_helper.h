#pragma once

#include <ocidl.h>

/// The least that a helper object can be: it keeps its site, and copies the URL out of every event.
class CMinimalHelper final : public IObjectWithSite, public IDispatch {
 public:
  CMinimalHelper() = default;
  CMinimalHelper(const CMinimalHelper&) = delete;
  CMinimalHelper& operator=(const CMinimalHelper&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  HRESULT STDMETHODCALLTYPE SetSite(IUnknown* site) override;
  HRESULT STDMETHODCALLTYPE GetSite(REFIID iid, void** site) override;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception,
                                   UINT* argumentError) override;

 private:
  ~CMinimalHelper();

  LONG m_references = 1;
  IUnknown* m_site = nullptr;
};

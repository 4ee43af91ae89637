#include "bench/minimal/minimal_helper.h"

#include <exdispid.h>
#include <oleauto.h>

namespace {

constexpr UINT kUrlArgument = 5;  // of BeforeNavigate2, counted from the last one

}  // namespace

CMinimalHelper::~CMinimalHelper() {
  if (m_site != nullptr) {
    m_site->Release();
  }
}

HRESULT CMinimalHelper::QueryInterface(REFIID iid, void** object) {
  *object = nullptr;
  if (iid == IID_IUnknown || iid == IID_IObjectWithSite) {
    *object = static_cast<IObjectWithSite*>(this);
  } else if (iid == IID_IDispatch) {
    *object = static_cast<IDispatch*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG CMinimalHelper::AddRef() { return static_cast<ULONG>(++m_references); }

ULONG CMinimalHelper::Release() {
  const auto references = static_cast<ULONG>(--m_references);
  if (references == 0) {
    delete this;
  }
  return references;
}

HRESULT CMinimalHelper::SetSite(IUnknown* site) {
  if (site != nullptr) {
    site->AddRef();
  }
  if (m_site != nullptr) {
    m_site->Release();
  }
  m_site = site;
  return S_OK;
}

HRESULT CMinimalHelper::GetSite(REFIID iid, void** site) {
  *site = nullptr;
  return m_site != nullptr ? m_site->QueryInterface(iid, site) : E_FAIL;
}

HRESULT CMinimalHelper::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}

HRESULT CMinimalHelper::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT CMinimalHelper::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) { return E_NOTIMPL; }

HRESULT CMinimalHelper::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                               EXCEPINFO*, UINT*) {
  if (id != DISPID_BEFORENAVIGATE2 || params == nullptr || params->cArgs <= kUrlArgument) {
    return S_OK;
  }
  VARIANT url;
  VariantInit(&url);
  const HRESULT copied = VariantCopyInd(&url, &params->rgvarg[kUrlArgument]);
  VariantClear(&url);
  return copied;
}

#include "tools/browser_host/event_sink.h"

HRESULT CEventSink::QueryInterface(REFIID iid, void** object) {
  if (!object) {
    return E_POINTER;
  }
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == DIID_DWebBrowserEvents2) {
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  *object = nullptr;
  return E_NOINTERFACE;
}

HRESULT CEventSink::GetTypeInfoCount(UINT* count) {
  if (!count) {
    return E_POINTER;
  }
  *count = 0;
  return S_OK;
}

HRESULT CEventSink::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT CEventSink::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) { return E_NOTIMPL; }

HRESULT CEventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                           UINT*) {
  if (!params) {
    return E_INVALIDARG;
  }
  if (m_listener) {
    if (const auto event = DecodeEvent(id, *params)) {
      m_listener->OnBrowserEvent(*event);
    }
  }
  return S_OK;
}

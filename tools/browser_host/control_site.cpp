#include "tools/browser_host/control_site.h"

HRESULT CControlSite::QueryInterface(REFIID iid, void** object) {
  if (!object) {
    return E_POINTER;
  }
  if (iid == IID_IUnknown || iid == IID_IOleClientSite) {
    *object = static_cast<IOleClientSite*>(this);
  } else if (iid == IID_IOleWindow || iid == IID_IOleInPlaceSite) {
    *object = static_cast<IOleInPlaceSite*>(this);
  } else if (iid == IID_IOleInPlaceUIWindow || iid == IID_IOleInPlaceFrame) {
    *object = static_cast<IOleInPlaceFrame*>(this);
  } else {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

HRESULT CControlSite::GetMoniker(DWORD, DWORD, IMoniker** moniker) {
  if (moniker) {
    *moniker = nullptr;
  }
  return E_NOTIMPL;
}

HRESULT CControlSite::GetContainer(IOleContainer** container) {
  if (container) {
    *container = nullptr;
  }
  return E_NOINTERFACE;
}

HRESULT CControlSite::GetWindow(HWND* window) {
  if (!window) {
    return E_POINTER;
  }
  *window = m_frame ? m_frame->FrameWindow() : nullptr;
  return *window ? S_OK : E_FAIL;
}

HRESULT CControlSite::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                       LPRECT position, LPRECT clip, LPOLEINPLACEFRAMEINFO info) {
  if (!frame || !document || !position || !clip || !info) {
    return E_POINTER;
  }
  *frame = nullptr;
  *document = nullptr;
  if (!m_frame) {
    return E_UNEXPECTED;
  }
  *frame = this;
  AddRef();
  *position = *clip = m_frame->ControlRect();
  info->fMDIApp = FALSE;
  info->hwndFrame = m_frame->FrameWindow();
  info->haccel = nullptr;
  info->cAccelEntries = 0;
  return S_OK;
}

HRESULT CControlSite::RequestBorderSpace(LPCBORDERWIDTHS) { return INPLACE_E_NOTOOLSPACE; }

HRESULT CControlSite::SetActiveObject(IOleInPlaceActiveObject*, LPCOLESTR) { return S_OK; }

HRESULT CControlSite::SetStatusText(LPCOLESTR text) {
  if (m_frame) {
    m_frame->ShowStatus(text ? text : L"");
  }
  return S_OK;
}

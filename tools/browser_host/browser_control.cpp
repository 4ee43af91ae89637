#include "tools/browser_host/browser_control.h"

HRESULT CBrowserControl::Create(IControlFrame* frame) {
  m_frame = frame;
  HRESULT hr = CBrowserObject::Create(frame->FrameWindow(), m_browser);
  CComPtr<IOleObject> object;
  if (SUCCEEDED(hr)) {
    hr = m_browser.QueryInterface(&object);
  }
  if (FAILED(hr)) {
    return hr;
  }
  m_site.Attach(new CControlSite(frame));
  hr = object->SetClientSite(m_site);
  if (SUCCEEDED(hr)) {
    const RECT place = frame->ControlRect();
    hr = object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, m_site, 0, frame->FrameWindow(), &place);
  }
  return hr;
}

HRESULT CBrowserControl::Advise(IDispatch* sink) {
  CComPtr<IConnectionPointContainer> container;
  HRESULT hr = m_browser.QueryInterface(&container);
  CComPtr<IConnectionPoint> point;
  if (SUCCEEDED(hr)) {
    hr = container->FindConnectionPoint(DIID_DWebBrowserEvents2, &point);
  }
  DWORD cookie = 0;
  return SUCCEEDED(hr) ? point->Advise(sink, &cookie) : hr;
}

void CBrowserControl::Close() {
  if (!m_frame) {
    return;
  }
  m_frame = nullptr;
  if (m_browser) {
    CComPtr<IOleObject> object;
    if (SUCCEEDED(m_browser.QueryInterface(&object))) {
      object->Close(OLECLOSE_NOSAVE);
      object->SetClientSite(nullptr);
    }
    m_browser->DetachFrame();
  }
  if (m_site) {
    m_site->DetachFrame();
  }
}

bool CBrowserControl::IsSource(const BrowserEvent& event) const {
  return m_browser.IsEqualObject(event.browser);
}

HRESULT CBrowserControl::Navigate(const std::wstring& url) {
  // The window may be closed during the call, so the object is held for its whole length.
  const CComPtr<IWebBrowser2> browser = Browser();
  CComVariant target(url.c_str());
  return browser->Navigate2(&target, nullptr, nullptr, nullptr, nullptr);
}

HRESULT CBrowserControl::GoBack() {
  const CComPtr<IWebBrowser2> browser = Browser();
  return browser->GoBack();
}

HRESULT CBrowserControl::Stop() {
  const CComPtr<IWebBrowser2> browser = Browser();
  return browser->Stop();
}

bool CBrowserControl::Busy() const {
  VARIANT_BOOL busy = VARIANT_FALSE;
  return m_browser && SUCCEEDED(m_browser->get_Busy(&busy)) && busy != VARIANT_FALSE;
}

void CBrowserControl::Place() {
  if (!m_frame) {
    return;
  }
  CComPtr<IOleInPlaceObject> object;
  if (m_browser && SUCCEEDED(m_browser.QueryInterface(&object))) {
    const RECT place = m_frame->ControlRect();
    object->SetObjectRects(&place, &place);
  }
}

bool CBrowserControl::TranslateAccelerator(MSG& message) {
  if (!m_frame || message.message < WM_KEYFIRST || message.message > WM_KEYLAST) {
    return false;
  }
  CComPtr<IOleInPlaceActiveObject> object;
  HWND window = nullptr;
  if (FAILED(m_browser.QueryInterface(&object)) || FAILED(object->GetWindow(&window)) ||
      (message.hwnd != window && !IsChild(window, message.hwnd))) {
    return false;
  }
  return object->TranslateAccelerator(&message) == S_OK;
}

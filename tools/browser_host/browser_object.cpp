#include "tools/browser_host/browser_object.h"

namespace {

// IWebBrowserApp::HWND's id in the type library; the headers of mingw-w64 lack its name.
constexpr DISPID kFrameWindowProperty = -515;

}  // namespace

HRESULT CBrowserObject::Create(HWND frame, CComPtr<CBrowserObject>& object) {
  object.Attach(new CBrowserObject(frame));
  const HRESULT hr = object->CreateControl();
  if (FAILED(hr)) {
    object.Release();
  }
  return hr;
}

HRESULT CBrowserObject::CreateControl() {
  HRESULT hr = CoCreateInstance(CLSID_WebBrowser, this, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                reinterpret_cast<void**>(&m_inner));
  if (SUCCEEDED(hr)) {
    hr = m_inner->QueryInterface(IID_IWebBrowser2, reinterpret_cast<void**>(&m_control));
  }
  if (SUCCEEDED(hr)) {
    Release();  // the control counts on this object, which would keep itself alive for ever
  }
  return hr;
}

CBrowserObject::~CBrowserObject() {
  if (m_control) {
    AddRef();  // gives back what CreateControl took off
    m_control->Release();
  }
}

HRESULT CBrowserObject::QueryInterface(REFIID iid, void** object) {
  if (!object) {
    return E_POINTER;
  }
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IWebBrowser ||
      iid == IID_IWebBrowserApp || iid == IID_IWebBrowser2) {
    *object = static_cast<IWebBrowser2*>(this);
    AddRef();
    return S_OK;
  }
  *object = nullptr;
  return m_inner ? m_inner->QueryInterface(iid, object) : E_NOINTERFACE;
}

HRESULT CBrowserObject::get_HWND(SHANDLE_PTR* value) {
  if (!value) {
    return E_POINTER;
  }
  *value = reinterpret_cast<SHANDLE_PTR>(m_frame);
  return m_frame ? S_OK : E_FAIL;
}

HRESULT CBrowserObject::Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params,
                               VARIANT* result, EXCEPINFO* exception, UINT* argument) {
  if (id == kFrameWindowProperty && (flags & DISPATCH_PROPERTYGET) && result) {
    SHANDLE_PTR window = 0;
    const HRESULT hr = get_HWND(&window);
    result->vt = VT_I8;
    result->llVal = window;
    return hr;
  }
  return m_control->Invoke(id, iid, lcid, flags, params, result, exception, argument);
}

// The rest is handed on.

HRESULT CBrowserObject::GetTypeInfoCount(UINT* count) { return m_control->GetTypeInfoCount(count); }

HRESULT CBrowserObject::GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) {
  return m_control->GetTypeInfo(index, lcid, info);
}

HRESULT CBrowserObject::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                      DISPID* ids) {
  return m_control->GetIDsOfNames(iid, names, count, lcid, ids);
}

HRESULT CBrowserObject::GoBack() { return m_control->GoBack(); }

HRESULT CBrowserObject::GoForward() { return m_control->GoForward(); }

HRESULT CBrowserObject::GoHome() { return m_control->GoHome(); }

HRESULT CBrowserObject::GoSearch() { return m_control->GoSearch(); }

HRESULT CBrowserObject::Navigate(BSTR url, VARIANT* flags, VARIANT* frame, VARIANT* postData,
                                 VARIANT* headers) {
  return m_control->Navigate(url, flags, frame, postData, headers);
}

HRESULT CBrowserObject::Refresh() { return m_control->Refresh(); }

HRESULT CBrowserObject::Refresh2(VARIANT* level) { return m_control->Refresh2(level); }

HRESULT CBrowserObject::Stop() { return m_control->Stop(); }

HRESULT CBrowserObject::get_Application(IDispatch** value) {
  return m_control->get_Application(value);
}

HRESULT CBrowserObject::get_Parent(IDispatch** value) { return m_control->get_Parent(value); }

HRESULT CBrowserObject::get_Container(IDispatch** value) { return m_control->get_Container(value); }

HRESULT CBrowserObject::get_Document(IDispatch** value) { return m_control->get_Document(value); }

HRESULT CBrowserObject::get_TopLevelContainer(VARIANT_BOOL* value) {
  return m_control->get_TopLevelContainer(value);
}

HRESULT CBrowserObject::get_Type(BSTR* value) { return m_control->get_Type(value); }

HRESULT CBrowserObject::get_Left(LONG* value) { return m_control->get_Left(value); }

HRESULT CBrowserObject::put_Left(LONG value) { return m_control->put_Left(value); }

HRESULT CBrowserObject::get_Top(LONG* value) { return m_control->get_Top(value); }

HRESULT CBrowserObject::put_Top(LONG value) { return m_control->put_Top(value); }

HRESULT CBrowserObject::get_Width(LONG* value) { return m_control->get_Width(value); }

HRESULT CBrowserObject::put_Width(LONG value) { return m_control->put_Width(value); }

HRESULT CBrowserObject::get_Height(LONG* value) { return m_control->get_Height(value); }

HRESULT CBrowserObject::put_Height(LONG value) { return m_control->put_Height(value); }

HRESULT CBrowserObject::get_LocationName(BSTR* value) { return m_control->get_LocationName(value); }

HRESULT CBrowserObject::get_LocationURL(BSTR* value) { return m_control->get_LocationURL(value); }

HRESULT CBrowserObject::get_Busy(VARIANT_BOOL* value) { return m_control->get_Busy(value); }

HRESULT CBrowserObject::Quit() { return m_control->Quit(); }

HRESULT CBrowserObject::ClientToWindow(int* width, int* height) {
  return m_control->ClientToWindow(width, height);
}

HRESULT CBrowserObject::PutProperty(BSTR name, VARIANT value) {
  return m_control->PutProperty(name, value);
}

HRESULT CBrowserObject::GetProperty(BSTR name, VARIANT* value) {
  return m_control->GetProperty(name, value);
}

HRESULT CBrowserObject::get_Name(BSTR* value) { return m_control->get_Name(value); }

HRESULT CBrowserObject::get_FullName(BSTR* value) { return m_control->get_FullName(value); }

HRESULT CBrowserObject::get_Path(BSTR* value) { return m_control->get_Path(value); }

HRESULT CBrowserObject::get_Visible(VARIANT_BOOL* value) { return m_control->get_Visible(value); }

HRESULT CBrowserObject::put_Visible(VARIANT_BOOL value) { return m_control->put_Visible(value); }

HRESULT CBrowserObject::get_StatusBar(VARIANT_BOOL* value) {
  return m_control->get_StatusBar(value);
}

HRESULT CBrowserObject::put_StatusBar(VARIANT_BOOL value) {
  return m_control->put_StatusBar(value);
}

HRESULT CBrowserObject::get_StatusText(BSTR* value) { return m_control->get_StatusText(value); }

HRESULT CBrowserObject::put_StatusText(BSTR value) { return m_control->put_StatusText(value); }

HRESULT CBrowserObject::get_ToolBar(int* value) { return m_control->get_ToolBar(value); }

HRESULT CBrowserObject::put_ToolBar(int value) { return m_control->put_ToolBar(value); }

HRESULT CBrowserObject::get_MenuBar(VARIANT_BOOL* value) { return m_control->get_MenuBar(value); }

HRESULT CBrowserObject::put_MenuBar(VARIANT_BOOL value) { return m_control->put_MenuBar(value); }

HRESULT CBrowserObject::get_FullScreen(VARIANT_BOOL* value) {
  return m_control->get_FullScreen(value);
}

HRESULT CBrowserObject::put_FullScreen(VARIANT_BOOL value) {
  return m_control->put_FullScreen(value);
}

HRESULT CBrowserObject::Navigate2(VARIANT* url, VARIANT* flags, VARIANT* frame, VARIANT* postData,
                                  VARIANT* headers) {
  return m_control->Navigate2(url, flags, frame, postData, headers);
}

HRESULT CBrowserObject::QueryStatusWB(OLECMDID command, OLECMDF* status) {
  return m_control->QueryStatusWB(command, status);
}

HRESULT CBrowserObject::ExecWB(OLECMDID command, OLECMDEXECOPT option, VARIANT* in, VARIANT* out) {
  return m_control->ExecWB(command, option, in, out);
}

HRESULT CBrowserObject::ShowBrowserBar(VARIANT* clsid, VARIANT* show, VARIANT* size) {
  return m_control->ShowBrowserBar(clsid, show, size);
}

HRESULT CBrowserObject::get_ReadyState(READYSTATE* value) {
  return m_control->get_ReadyState(value);
}

HRESULT CBrowserObject::get_Offline(VARIANT_BOOL* value) { return m_control->get_Offline(value); }

HRESULT CBrowserObject::put_Offline(VARIANT_BOOL value) { return m_control->put_Offline(value); }

HRESULT CBrowserObject::get_Silent(VARIANT_BOOL* value) { return m_control->get_Silent(value); }

HRESULT CBrowserObject::put_Silent(VARIANT_BOOL value) { return m_control->put_Silent(value); }

HRESULT CBrowserObject::get_RegisterAsBrowser(VARIANT_BOOL* value) {
  return m_control->get_RegisterAsBrowser(value);
}

HRESULT CBrowserObject::put_RegisterAsBrowser(VARIANT_BOOL value) {
  return m_control->put_RegisterAsBrowser(value);
}

HRESULT CBrowserObject::get_RegisterAsDropTarget(VARIANT_BOOL* value) {
  return m_control->get_RegisterAsDropTarget(value);
}

HRESULT CBrowserObject::put_RegisterAsDropTarget(VARIANT_BOOL value) {
  return m_control->put_RegisterAsDropTarget(value);
}

HRESULT CBrowserObject::get_TheaterMode(VARIANT_BOOL* value) {
  return m_control->get_TheaterMode(value);
}

HRESULT CBrowserObject::put_TheaterMode(VARIANT_BOOL value) {
  return m_control->put_TheaterMode(value);
}

HRESULT CBrowserObject::get_AddressBar(VARIANT_BOOL* value) {
  return m_control->get_AddressBar(value);
}

HRESULT CBrowserObject::put_AddressBar(VARIANT_BOOL value) {
  return m_control->put_AddressBar(value);
}

HRESULT CBrowserObject::get_Resizable(VARIANT_BOOL* value) {
  return m_control->get_Resizable(value);
}

HRESULT CBrowserObject::put_Resizable(VARIANT_BOOL value) {
  return m_control->put_Resizable(value);
}

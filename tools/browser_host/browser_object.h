// The browser as its helper objects see it.
#pragma once

#include <atlbase.h>
#include <exdisp.h>

#include "tools/browser_host/ref_counted.h"

/// Aggregates the system's WebBrowser control and stands in front of it: a control in a foreign
/// window has no frame of its own and answers get_HWND with E_FAIL, whereas helper objects expect
/// the browser's frame window from it. Everything else is the control's business: the methods of
/// IWebBrowser2 are handed on, and any other interface is the control's own. Because of the
/// aggregation all of them have one identity.
class CBrowserObject : public CRefCounted<IWebBrowser2> {
 public:
  /// Makes the control and the object in front of it. `frame` is what get_HWND answers.
  static HRESULT Create(HWND frame, CComPtr<CBrowserObject>& object);

  ~CBrowserObject() override;

  /// The frame has gone: get_HWND fails from now on, as the bare control's does.
  void DetachFrame() { m_frame = nullptr; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception, UINT* argument) override;

  // IWebBrowser
  HRESULT STDMETHODCALLTYPE GoBack() override;
  HRESULT STDMETHODCALLTYPE GoForward() override;
  HRESULT STDMETHODCALLTYPE GoHome() override;
  HRESULT STDMETHODCALLTYPE GoSearch() override;
  HRESULT STDMETHODCALLTYPE Navigate(BSTR url, VARIANT* flags, VARIANT* frame, VARIANT* postData,
                                     VARIANT* headers) override;
  HRESULT STDMETHODCALLTYPE Refresh() override;
  HRESULT STDMETHODCALLTYPE Refresh2(VARIANT* level) override;
  HRESULT STDMETHODCALLTYPE Stop() override;
  HRESULT STDMETHODCALLTYPE get_Application(IDispatch** value) override;
  HRESULT STDMETHODCALLTYPE get_Parent(IDispatch** value) override;
  HRESULT STDMETHODCALLTYPE get_Container(IDispatch** value) override;
  HRESULT STDMETHODCALLTYPE get_Document(IDispatch** value) override;
  HRESULT STDMETHODCALLTYPE get_TopLevelContainer(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE get_Type(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_Left(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_Left(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_Top(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_Top(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_Width(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_Width(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_Height(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_Height(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_LocationName(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_LocationURL(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_Busy(VARIANT_BOOL* value) override;

  // IWebBrowserApp
  HRESULT STDMETHODCALLTYPE Quit() override;
  HRESULT STDMETHODCALLTYPE ClientToWindow(int* width, int* height) override;
  HRESULT STDMETHODCALLTYPE PutProperty(BSTR name, VARIANT value) override;
  HRESULT STDMETHODCALLTYPE GetProperty(BSTR name, VARIANT* value) override;
  HRESULT STDMETHODCALLTYPE get_Name(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_HWND(SHANDLE_PTR* value) override;
  HRESULT STDMETHODCALLTYPE get_FullName(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_Path(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_Visible(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_Visible(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_StatusBar(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_StatusBar(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_StatusText(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_StatusText(BSTR value) override;
  HRESULT STDMETHODCALLTYPE get_ToolBar(int* value) override;
  HRESULT STDMETHODCALLTYPE put_ToolBar(int value) override;
  HRESULT STDMETHODCALLTYPE get_MenuBar(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_MenuBar(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_FullScreen(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_FullScreen(VARIANT_BOOL value) override;

  // IWebBrowser2
  HRESULT STDMETHODCALLTYPE Navigate2(VARIANT* url, VARIANT* flags, VARIANT* frame,
                                      VARIANT* postData, VARIANT* headers) override;
  HRESULT STDMETHODCALLTYPE QueryStatusWB(OLECMDID command, OLECMDF* status) override;
  HRESULT STDMETHODCALLTYPE ExecWB(OLECMDID command, OLECMDEXECOPT option, VARIANT* in,
                                   VARIANT* out) override;
  HRESULT STDMETHODCALLTYPE ShowBrowserBar(VARIANT* clsid, VARIANT* show, VARIANT* size) override;
  HRESULT STDMETHODCALLTYPE get_ReadyState(READYSTATE* value) override;
  HRESULT STDMETHODCALLTYPE get_Offline(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_Offline(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_Silent(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_Silent(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_RegisterAsBrowser(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_RegisterAsBrowser(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_RegisterAsDropTarget(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_RegisterAsDropTarget(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_TheaterMode(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_TheaterMode(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_AddressBar(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_AddressBar(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_Resizable(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_Resizable(VARIANT_BOOL value) override;

 private:
  explicit CBrowserObject(HWND frame) : m_frame(frame) {}
  HRESULT CreateControl();

  HWND m_frame;
  CComPtr<IUnknown> m_inner;          // the control's own, non-delegating IUnknown
  IWebBrowser2* m_control = nullptr;  // counted on this object, so it holds no reference
};

#pragma once

#include <exdisp.h>

/// An IWebBrowser2 of which nothing works; for fakes that override what their test is about.
class CWebBrowserStub : public IWebBrowser2 {
 public:
#define FOLIVO_STUB(method, ...) \
  HRESULT STDMETHODCALLTYPE method(__VA_ARGS__) override { return E_NOTIMPL; }
  // clang-format off
  FOLIVO_STUB(GetTypeInfoCount, UINT*)
  FOLIVO_STUB(GetTypeInfo, UINT, LCID, ITypeInfo**)
  FOLIVO_STUB(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
  FOLIVO_STUB(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
  FOLIVO_STUB(GoBack)
  FOLIVO_STUB(GoForward)
  FOLIVO_STUB(GoHome)
  FOLIVO_STUB(GoSearch)
  FOLIVO_STUB(Navigate, BSTR, VARIANT*, VARIANT*, VARIANT*, VARIANT*)
  FOLIVO_STUB(Refresh)
  FOLIVO_STUB(Refresh2, VARIANT*)
  FOLIVO_STUB(Stop)
  FOLIVO_STUB(get_Application, IDispatch**)
  FOLIVO_STUB(get_Parent, IDispatch**)
  FOLIVO_STUB(get_Container, IDispatch**)
  FOLIVO_STUB(get_Document, IDispatch**)
  FOLIVO_STUB(get_TopLevelContainer, VARIANT_BOOL*)
  FOLIVO_STUB(get_Type, BSTR*)
  FOLIVO_STUB(get_Left, LONG*) FOLIVO_STUB(put_Left, LONG)
  FOLIVO_STUB(get_Top, LONG*) FOLIVO_STUB(put_Top, LONG)
  FOLIVO_STUB(get_Width, LONG*) FOLIVO_STUB(put_Width, LONG)
  FOLIVO_STUB(get_Height, LONG*) FOLIVO_STUB(put_Height, LONG)
  FOLIVO_STUB(get_LocationName, BSTR*)
  FOLIVO_STUB(get_LocationURL, BSTR*)
  FOLIVO_STUB(get_Busy, VARIANT_BOOL*)
  FOLIVO_STUB(Quit)
  FOLIVO_STUB(ClientToWindow, int*, int*)
  FOLIVO_STUB(PutProperty, BSTR, VARIANT)
  FOLIVO_STUB(GetProperty, BSTR, VARIANT*)
  FOLIVO_STUB(get_Name, BSTR*)
  FOLIVO_STUB(get_HWND, SHANDLE_PTR*)
  FOLIVO_STUB(get_FullName, BSTR*)
  FOLIVO_STUB(get_Path, BSTR*)
  FOLIVO_STUB(get_Visible, VARIANT_BOOL*) FOLIVO_STUB(put_Visible, VARIANT_BOOL)
  FOLIVO_STUB(get_StatusBar, VARIANT_BOOL*) FOLIVO_STUB(put_StatusBar, VARIANT_BOOL)
  FOLIVO_STUB(get_StatusText, BSTR*) FOLIVO_STUB(put_StatusText, BSTR)
  FOLIVO_STUB(get_ToolBar, int*) FOLIVO_STUB(put_ToolBar, int)
  FOLIVO_STUB(get_MenuBar, VARIANT_BOOL*) FOLIVO_STUB(put_MenuBar, VARIANT_BOOL)
  FOLIVO_STUB(get_FullScreen, VARIANT_BOOL*) FOLIVO_STUB(put_FullScreen, VARIANT_BOOL)
  FOLIVO_STUB(Navigate2, VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*)
  FOLIVO_STUB(QueryStatusWB, OLECMDID, OLECMDF*)
  FOLIVO_STUB(ExecWB, OLECMDID, OLECMDEXECOPT, VARIANT*, VARIANT*)
  FOLIVO_STUB(ShowBrowserBar, VARIANT*, VARIANT*, VARIANT*)
  FOLIVO_STUB(get_ReadyState, READYSTATE*)
  FOLIVO_STUB(get_Offline, VARIANT_BOOL*) FOLIVO_STUB(put_Offline, VARIANT_BOOL)
  FOLIVO_STUB(get_Silent, VARIANT_BOOL*) FOLIVO_STUB(put_Silent, VARIANT_BOOL)
  FOLIVO_STUB(get_RegisterAsBrowser, VARIANT_BOOL*) FOLIVO_STUB(put_RegisterAsBrowser, VARIANT_BOOL)
  FOLIVO_STUB(get_RegisterAsDropTarget, VARIANT_BOOL*) FOLIVO_STUB(put_RegisterAsDropTarget, VARIANT_BOOL)
  FOLIVO_STUB(get_TheaterMode, VARIANT_BOOL*) FOLIVO_STUB(put_TheaterMode, VARIANT_BOOL)
  FOLIVO_STUB(get_AddressBar, VARIANT_BOOL*) FOLIVO_STUB(put_AddressBar, VARIANT_BOOL)
  FOLIVO_STUB(get_Resizable, VARIANT_BOOL*) FOLIVO_STUB(put_Resizable, VARIANT_BOOL)
  // clang-format on
#undef FOLIVO_STUB

                                                                             protected
     : ~CWebBrowserStub() = default;
};

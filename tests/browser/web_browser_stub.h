#pragma once

#include <exdisp.h>

/// An IWebBrowser2 of which nothing works; for fakes that override what their test is about.
class CWebBrowserStub : public IWebBrowser2 {
 public:
  // IDispatch
  STDMETHOD(GetTypeInfoCount)(UINT*) override { return E_NOTIMPL; }
  STDMETHOD(GetTypeInfo)(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHOD(GetIDsOfNames)(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHOD(Invoke)(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }

  // IWebBrowser
  STDMETHOD(GoBack)() override { return E_NOTIMPL; }
  STDMETHOD(GoForward)() override { return E_NOTIMPL; }
  STDMETHOD(GoHome)() override { return E_NOTIMPL; }
  STDMETHOD(GoSearch)() override { return E_NOTIMPL; }
  STDMETHOD(Navigate)(BSTR, VARIANT*, VARIANT*, VARIANT*, VARIANT*) override { return E_NOTIMPL; }
  STDMETHOD(Refresh)() override { return E_NOTIMPL; }
  STDMETHOD(Refresh2)(VARIANT*) override { return E_NOTIMPL; }
  STDMETHOD(Stop)() override { return E_NOTIMPL; }
  STDMETHOD(get_Application)(IDispatch**) override { return E_NOTIMPL; }
  STDMETHOD(get_Parent)(IDispatch**) override { return E_NOTIMPL; }
  STDMETHOD(get_Container)(IDispatch**) override { return E_NOTIMPL; }
  STDMETHOD(get_Document)(IDispatch**) override { return E_NOTIMPL; }
  STDMETHOD(get_TopLevelContainer)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(get_Type)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_Left)(LONG*) override { return E_NOTIMPL; }
  STDMETHOD(put_Left)(LONG) override { return E_NOTIMPL; }
  STDMETHOD(get_Top)(LONG*) override { return E_NOTIMPL; }
  STDMETHOD(put_Top)(LONG) override { return E_NOTIMPL; }
  STDMETHOD(get_Width)(LONG*) override { return E_NOTIMPL; }
  STDMETHOD(put_Width)(LONG) override { return E_NOTIMPL; }
  STDMETHOD(get_Height)(LONG*) override { return E_NOTIMPL; }
  STDMETHOD(put_Height)(LONG) override { return E_NOTIMPL; }
  STDMETHOD(get_LocationName)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_LocationURL)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_Busy)(VARIANT_BOOL*) override { return E_NOTIMPL; }

  // IWebBrowserApp
  STDMETHOD(Quit)() override { return E_NOTIMPL; }
  STDMETHOD(ClientToWindow)(int*, int*) override { return E_NOTIMPL; }
  STDMETHOD(PutProperty)(BSTR, VARIANT) override { return E_NOTIMPL; }
  STDMETHOD(GetProperty)(BSTR, VARIANT*) override { return E_NOTIMPL; }
  STDMETHOD(get_Name)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_HWND)(SHANDLE_PTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_FullName)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_Path)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(get_Visible)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_Visible)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_StatusBar)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_StatusBar)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_StatusText)(BSTR*) override { return E_NOTIMPL; }
  STDMETHOD(put_StatusText)(BSTR) override { return E_NOTIMPL; }
  STDMETHOD(get_ToolBar)(int*) override { return E_NOTIMPL; }
  STDMETHOD(put_ToolBar)(int) override { return E_NOTIMPL; }
  STDMETHOD(get_MenuBar)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_MenuBar)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_FullScreen)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_FullScreen)(VARIANT_BOOL) override { return E_NOTIMPL; }

  // IWebBrowser2
  STDMETHOD(Navigate2)(VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*) override {
    return E_NOTIMPL;
  }
  STDMETHOD(QueryStatusWB)(OLECMDID, OLECMDF*) override { return E_NOTIMPL; }
  STDMETHOD(ExecWB)(OLECMDID, OLECMDEXECOPT, VARIANT*, VARIANT*) override { return E_NOTIMPL; }
  STDMETHOD(ShowBrowserBar)(VARIANT*, VARIANT*, VARIANT*) override { return E_NOTIMPL; }
  STDMETHOD(get_ReadyState)(READYSTATE*) override { return E_NOTIMPL; }
  STDMETHOD(get_Offline)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_Offline)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_Silent)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_Silent)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_RegisterAsBrowser)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_RegisterAsBrowser)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_RegisterAsDropTarget)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_RegisterAsDropTarget)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_TheaterMode)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_TheaterMode)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_AddressBar)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_AddressBar)(VARIANT_BOOL) override { return E_NOTIMPL; }
  STDMETHOD(get_Resizable)(VARIANT_BOOL*) override { return E_NOTIMPL; }
  STDMETHOD(put_Resizable)(VARIANT_BOOL) override { return E_NOTIMPL; }

 protected:
  ~CWebBrowserStub() = default;
};

#pragma once

#include <exdisp.h>

/// An IWebBrowser2 of which nothing works; for fakes that override what their test is about.
class CWebBrowserStub : public IWebBrowser2 {
 public:
  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }

  // IWebBrowser
  HRESULT STDMETHODCALLTYPE GoBack() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GoForward() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GoHome() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GoSearch() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Navigate(BSTR, VARIANT*, VARIANT*, VARIANT*, VARIANT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Refresh() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Refresh2(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Stop() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Application(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Parent(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Container(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Document(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_TopLevelContainer(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Type(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Left(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Left(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Top(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Top(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Width(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Width(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Height(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Height(LONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_LocationName(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_LocationURL(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Busy(VARIANT_BOOL*) override { return E_NOTIMPL; }

  // IWebBrowserApp
  HRESULT STDMETHODCALLTYPE Quit() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ClientToWindow(int*, int*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE PutProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Name(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_HWND(SHANDLE_PTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_FullName(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Path(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Visible(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Visible(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_StatusBar(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_StatusBar(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_StatusText(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_StatusText(BSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_ToolBar(int*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_ToolBar(int) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MenuBar(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_MenuBar(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_FullScreen(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_FullScreen(VARIANT_BOOL) override { return E_NOTIMPL; }

  // IWebBrowser2
  HRESULT STDMETHODCALLTYPE Navigate2(VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE QueryStatusWB(OLECMDID, OLECMDF*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ExecWB(OLECMDID, OLECMDEXECOPT, VARIANT*, VARIANT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE ShowBrowserBar(VARIANT*, VARIANT*, VARIANT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_ReadyState(READYSTATE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Offline(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Offline(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Silent(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Silent(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_RegisterAsBrowser(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_RegisterAsBrowser(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_RegisterAsDropTarget(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_RegisterAsDropTarget(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_TheaterMode(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_TheaterMode(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_AddressBar(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_AddressBar(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Resizable(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Resizable(VARIANT_BOOL) override { return E_NOTIMPL; }

 protected:
  ~CWebBrowserStub() = default;
};

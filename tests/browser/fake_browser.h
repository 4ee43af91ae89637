#pragma once

#include <exdisp.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <functional>
#include <vector>

/// An object on the stack: its references are only counted, and must be back at 0 in the end.
template <typename Interface, typename Base = Interface>
class CFakeObject : public Base {
 public:
  CFakeObject() = default;
  CFakeObject(const CFakeObject&) = delete;
  CFakeObject& operator=(const CFakeObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    const bool isOwn = iid == IID_IUnknown || iid == __uuidof(Interface);
    *object = isOwn ? static_cast<Interface*>(this) : nullptr;
    references += isOwn ? 1 : 0;
    return isOwn ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
  ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }

  long references = 0;

 protected:
  ~CFakeObject() { EXPECT_EQ(references, 0); }
};

/// The browser's source of DWebBrowserEvents2.
class CFakeConnectionPoint final : public CFakeObject<IConnectionPoint> {
 public:
  HRESULT adviseResult = S_OK;
  HRESULT unadviseResult = S_OK;
  DWORD nextCookie = 7001;       // of the next subscription; goes up by one each time
  std::vector<IUnknown*> sinks;  // one for each Advise, not held
  std::vector<DWORD> unadvised;  // the cookie of each Unadvise

  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override {
    *cookie = 0;
    if (SUCCEEDED(adviseResult)) {
      sinks.push_back(sink);
      *cookie = nextCookie++;
    }
    return adviseResult;
  }
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
    unadvised.push_back(cookie);
    return unadviseResult;
  }
  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }
};

/// The container of that connection point.
class CFakeContainer final : public CFakeObject<IConnectionPointContainer> {
 public:
  HRESULT findResult = S_OK;
  bool hasPoint = true;    // false: success without a connection point
  std::vector<IID> asked;  // by FindConnectionPoint
  CFakeConnectionPoint point;

  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** found) override {
    asked.push_back(iid);
    *found = SUCCEEDED(findResult) && hasPoint ? &point : nullptr;
    point.references += *found != nullptr ? 1 : 0;
    return findResult;
  }
  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) override {
    return E_NOTIMPL;
  }
};

/// An IWebBrowser2 whose methods all return E_NOTIMPL. Fakes override those that their test needs.
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
#undef FOLIVO_STUB

 protected:
  ~CWebBrowserStub() = default;
  // clang-format on
};

/// A browser as a helper object sees it.
class CFakeBrowser final : public CFakeObject<IWebBrowser2, CWebBrowserStub> {
 public:
  int browserQueries = 0;  // how often IWebBrowser2 was asked for
  bool hasContainer = true;
  HRESULT windowResult = S_OK;
  HWND window = nullptr;
  int stops = 0;
  std::function<void()> onStop;
  std::function<void()> onGetWindow;
  CFakeContainer container;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IConnectionPointContainer && hasContainer) {
      return container.QueryInterface(iid, object);
    }
    browserQueries += iid == IID_IWebBrowser2 ? 1 : 0;
    return CFakeObject::QueryInterface(iid == IID_IDispatch ? IID_IUnknown : iid, object);
  }
  HRESULT STDMETHODCALLTYPE get_HWND(SHANDLE_PTR* value) override {
    if (onGetWindow) {
      onGetWindow();
    }
    if (window != nullptr) {  // else the caller's value stays
      *value = reinterpret_cast<SHANDLE_PTR>(window);
    }
    return windowResult;
  }
  HRESULT STDMETHODCALLTYPE Stop() override {
    ++stops;
    if (onStop) {
      onStop();
    }
    return S_OK;
  }
};

/// An object with an identity of its own that leads to a browser, or to none.
class CFakeSite final : public CFakeObject<IUnknown> {
 public:
  explicit CFakeSite(CFakeBrowser* browser) : m_browser(browser) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return iid != IID_IUnknown && m_browser != nullptr ? m_browser->QueryInterface(iid, object)
                                                       : CFakeObject::QueryInterface(iid, object);
  }

 private:
  CFakeBrowser* m_browser;
};

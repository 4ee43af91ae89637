#pragma once

#include <exdisp.h>
#include <ocidl.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/browser/web_browser_stub.h"

/// The browser's source of DWebBrowserEvents2 as a helper object uses it. Its owner holds it: the
/// reference count starts at 0 and is only counted.
class CFakeConnectionPoint final : public IConnectionPoint {
 public:
  long references = 0;
  HRESULT adviseResult = S_OK;
  HRESULT unadviseResult = S_OK;
  DWORD nextCookie = 7001;       // of the next subscription; goes up by one each time
  std::vector<IUnknown*> sinks;  // one for each Advise, not held
  std::vector<DWORD> unadvised;  // the cookie of each Unadvise

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }
};

/// The container of that connection point.
class CFakeContainer final : public IConnectionPointContainer {
 public:
  long references = 0;
  HRESULT findResult = S_OK;
  bool hasPoint = true;    // false: success without a connection point
  std::vector<IID> asked;  // by FindConnectionPoint
  CFakeConnectionPoint point;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** found) override;
};

/// A browser as a helper object sees it. Lives on the test's stack: references are counted, and
/// must be back at 0 in the end.
class CFakeBrowser final : public CWebBrowserStub {
 public:
  CFakeBrowser() = default;
  ~CFakeBrowser();
  CFakeBrowser(const CFakeBrowser&) = delete;
  CFakeBrowser& operator=(const CFakeBrowser&) = delete;

  long references = 0;
  int browserQueries = 0;  // how often IWebBrowser2 was asked for
  bool hasContainer = true;
  HRESULT windowResult = S_OK;
  HWND window = nullptr;
  int stops = 0;
  std::function<void()> onStop;
  std::function<void()> onGetWindow;
  CFakeContainer container;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE get_HWND(SHANDLE_PTR* value) override;
  HRESULT STDMETHODCALLTYPE Stop() override;
};

/// A site with an identity of its own that leads to a browser, or to none.
class CFakeSite final : public IUnknown {
 public:
  explicit CFakeSite(CFakeBrowser* browser) : m_browser(browser) {}
  ~CFakeSite();
  CFakeSite(const CFakeSite&) = delete;
  CFakeSite& operator=(const CFakeSite&) = delete;

  long references = 0;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

 private:
  CFakeBrowser* m_browser;
};

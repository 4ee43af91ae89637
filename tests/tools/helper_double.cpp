// A helper object that behaves like a real one towards the browser and tells on the host's standard
// output what happens to it: it takes the browser from its site, subscribes to its events, holds on
// to the connection point container after the site has been taken away, and may cancel navigations.
#include "tests/tools/helper_double.h"

#include <atlbase.h>
#include <exdisp.h>
#include <exdispid.h>
#include <ocidl.h>

#include <array>
#include <string>

#include "tools/browser_host/ref_counted.h"
#include "tools/support/line_output.h"
#include "tools/support/utf8.h"

namespace {

LONG g_objects = 0;

void Tell(const std::string& line) {
  CLineOutput output;
  output.WriteLine("double " + line);
}

std::string ClassOf(HWND window) {
  std::array<wchar_t, 64> name{};
  GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return ToUtf8(name.data());
}

class CHelperDouble : public CRefCounted<IObjectWithSite, IDispatch> {
 public:
  CHelperDouble() { ++g_objects; }
  ~CHelperDouble() override {
    Tell("destroyed");
    --g_objects;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IUnknown || iid == IID_IObjectWithSite) {
      *object = static_cast<IObjectWithSite*>(this);
    } else if (iid == IID_IDispatch || iid == DIID_DWebBrowserEvents2) {
      *object = static_cast<IDispatch*>(this);
    } else {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetSite(IUnknown* site) override {
    m_browser.Release();
    if (!site) {
      Tell("SetSite null");
      if (m_letGo) {
        m_container.Release();
      }
      return S_OK;
    }
    HRESULT hr = site->QueryInterface(IID_IWebBrowser2, reinterpret_cast<void**>(&m_browser));
    SHANDLE_PTR window = 0;
    if (SUCCEEDED(hr)) {
      hr = m_browser->get_HWND(&window);
    }
    Tell("SetSite window=" + ClassOf(reinterpret_cast<HWND>(window)));
    m_frame = reinterpret_cast<HWND>(window);
    return SUCCEEDED(hr) ? Advise(site) : hr;
  }

  HRESULT STDMETHODCALLTYPE GetSite(REFIID, void** site) override {
    *site = nullptr;
    return E_FAIL;
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                                   EXCEPINFO*, UINT*) override {
    const CComPtr<IDispatch> self(this);  // the host may let go of it in the middle
    if (id == DISPID_BEFORENAVIGATE2) {
      OnBeforeNavigate(*params);
    } else if (id == DISPID_ONQUIT) {
      Tell("OnQuit");
    }
    return S_OK;
  }

 private:
  HRESULT Advise(IUnknown* site) {
    m_container.Release();
    HRESULT hr =
        site->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&m_container));
    CComPtr<IConnectionPoint> point;
    if (SUCCEEDED(hr)) {
      hr = m_container->FindConnectionPoint(DIID_DWebBrowserEvents2, &point);
    }
    DWORD cookie = 0;
    return SUCCEEDED(hr) ? point->Advise(static_cast<IDispatch*>(this), &cookie) : hr;
  }

  void OnBeforeNavigate(const DISPPARAMS& params) {
    const std::wstring url = params.rgvarg[5].pvarVal->bstrVal;
    const bool sameBrowser =
        CComPtr<IDispatch>(params.rgvarg[6].pdispVal).IsEqualObject(m_browser.p);
    Tell("BeforeNavigate2 arguments=" + std::to_string(params.cArgs) +
         " browser=" + (sameBrowser ? "site" : "other"));
    m_letGo = m_letGo || url.find(kLetGoMark) != std::wstring::npos;
    const bool modal = url.find(kModalMark) != std::wstring::npos;
    if (modal) {
      MessageBoxW(m_frame, L"Go on?", kModalTitle, MB_OK);
      Tell(std::string("modal end browser=") + (m_browser ? "held" : "gone"));
    }
    if (modal || url.find(kCancelMark) != std::wstring::npos) {
      *params.rgvarg[0].pboolVal = VARIANT_TRUE;
    }
  }

  CComPtr<IWebBrowser2> m_browser;
  CComPtr<IConnectionPointContainer> m_container;
  HWND m_frame = nullptr;
  bool m_letGo = false;
};

class CHelperDoubleFactory : public CRefCounted<IClassFactory> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (iid != IID_IUnknown && iid != IID_IClassFactory) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = this;
    AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    *object = nullptr;
    if (outer) {
      return CLASS_E_NOAGGREGATION;
    }
    CComPtr<CHelperDouble> created;
    created.Attach(new CHelperDouble);
    return created->QueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    g_objects += lock ? 1 : -1;
    return S_OK;
  }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  *object = nullptr;
  if (clsid != kHelperDoubleClsid) {
    return CLASS_E_CLASSNOTAVAILABLE;
  }
  CComPtr<CHelperDoubleFactory> factory;
  factory.Attach(new CHelperDoubleFactory);
  return factory->QueryInterface(iid, object);
}

STDAPI DllCanUnloadNow() { return g_objects == 0 ? S_OK : S_FALSE; }

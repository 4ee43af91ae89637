#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <exdisp.h>
#include <ocidl.h>

#include "download/file_path.h"
#include "folivo_plugin_h.h"

/// The browser helper object: one per browser window. It watches the window's navigations and takes
/// over those that lead to a lesson or gallery file.
///
/// Everything runs on the browser window's thread. A navigation is handled to its end inside its
/// event; its dialogs pump messages, so that the browser may quit, navigate or let go of the object
/// meanwhile: state of a call stays in the call, and the call holds the object.
class CIEDownload : public IObjectWithSiteImpl<CIEDownload>,
                    public CComObjectRootEx<CComSingleThreadModel>,
                    public CComCoClass<CIEDownload, &CLSID_CIEDownload>,
                    public IDispatchImpl<IIEDownload, &IID_IIEDownload, &LIBID_MERLOFolivoIEPlugin>,
                    public IProvideClassInfoImpl<&CLSID_CIEDownload, &LIBID_MERLOFolivoIEPlugin> {
 public:
  CIEDownload() = default;
  CIEDownload(const CIEDownload&) = delete;
  CIEDownload& operator=(const CIEDownload&) = delete;

  /// Writes or removes this class's registry tree; called by the module.
  static HRESULT WINAPI UpdateRegistry(BOOL registers);

  BEGIN_COM_MAP(CIEDownload)
  COM_INTERFACE_ENTRY(IObjectWithSite)
  COM_INTERFACE_ENTRY(IIEDownload)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY(IProvideClassInfo)
  END_COM_MAP()

  DECLARE_PROTECT_FINAL_CONSTRUCT()

  /// Takes the browser of `site` and subscribes to its events. E_INVALIDARG without a browser, null
  /// included: that lets go of the browser but deliberately keeps the subscription. E_POINTER when
  /// the browser has no events, else the result of subscribing.
  STDMETHOD(SetSite)(IUnknown* site) override;

  virtual ~CIEDownload() = default;

  /// The browser quits: unsubscribes. Always S_OK.
  virtual HRESULT OnQuit();
  /// Subscribes to the browser's events, and keeps the cookie when that succeeds.
  virtual HRESULT Advise();
  /// Ends the last subscription.
  virtual HRESULT Unadvise();
  /// Finds the browser's frame among this thread's windows, for a browser that does not tell its
  /// own. E_POINTER when there is none.
  virtual HRESULT FindBrowserFrameWindow();

  /// The sink of DWebBrowserEvents2. S_OK for every event, E_INVALIDARG without parameters. Throws
  /// CAtlException when the URL's variant cannot be copied.
  // Behind the class's own operations, which have fixed places in the primary table of functions.
  // Not by STDMETHOD: that would promise that nothing is thrown.
  HRESULT STDMETHODCALLTYPE Invoke(DISPID dispid, REFIID riid, LCID lcid, WORD flags,
                                   DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argumentError) override;

 private:
  void OnBeforeNavigate(const DISPPARAMS& params);
  void Navigate(const CStringW& url, const DISPPARAMS& params);
  void OfferFile(const CStringW& url, const CStringW& extension, const DISPPARAMS& params);

  static BOOL CALLBACK StoreIfBrowserFrame(HWND window, LPARAM self);

  CComPtr<IWebBrowser2> m_browser;
  CComPtr<IConnectionPointContainer> m_container;
  DWORD m_adviseCookie = 0;
  HWND m_browserWindow = nullptr;
};

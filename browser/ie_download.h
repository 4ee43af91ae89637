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
/// All members run on the browser window's thread. A navigation is handled completely inside its
/// event. The dialogs shown there pump messages, so the browser may quit, navigate again or release
/// this object meanwhile: each call keeps its state in local variables and holds a reference on the
/// object.
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
  /// included: that releases the browser held before, but not the subscription (Quirk 1). E_POINTER
  /// when the browser has no events, else the result of subscribing.
  STDMETHOD(SetSite)(IUnknown* site) override;

  virtual ~CIEDownload() = default;

  /// Called when the browser quits: ends the subscription. Always returns S_OK.
  virtual HRESULT OnQuit();
  /// Subscribes to the browser's events. Stores the cookie on success (Quirk 2); on failure the
  /// cookie of an earlier subscription stays.
  virtual HRESULT Advise();
  /// Ends the subscription of the stored cookie.
  virtual HRESULT Unadvise();
  /// Finds the browser's frame among this thread's windows, for a browser whose get_HWND returns no
  /// window. E_POINTER when there is none.
  virtual HRESULT FindBrowserFrameWindow();

  /// The sink of DWebBrowserEvents2. S_OK for every event, E_INVALIDARG without parameters. Throws
  /// CAtlException when the URL's variant cannot be copied (Quirk 4).
  // Declared after the virtual functions above, whose places in the primary vtable are fixed.
  // COM_STDMETHOD_CAN_THROW: neither this nor the overridden one is nothrow (Quirk 4).
  HRESULT STDMETHODCALLTYPE Invoke(DISPID dispid, REFIID riid, LCID lcid, WORD flags,
                                   DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argumentError) override;

 private:
  void OnBeforeNavigate(const DISPPARAMS& params);
  void Navigate(LPCWSTR url, const DISPPARAMS& params);
  /// The browser's window, null when that is gone.
  HWND GetDialogOwner() const;
  void OfferFile(const CStringW& url, const CStringW& extension, const DISPPARAMS& params);

  static BOOL CALLBACK StoreIfBrowserFrame(HWND window, LPARAM self);

  CComPtr<IWebBrowser2> m_browser;
  CComPtr<IConnectionPointContainer> m_container;
  DWORD m_adviseCookie = 0;
  HWND m_browserWindow = nullptr;
};

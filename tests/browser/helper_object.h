#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <exdispid.h>

#include <string>

#include "browser/ie_download.h"
#include "tests/browser/navigation_event.h"

/// A helper object with one reference, held here; for tests of what a browser does to it.
class CHelperObject {
 public:
  CHelperObject() {
    CComObject<CIEDownload>* object = nullptr;
    CComObject<CIEDownload>::CreateInstance(&object);
    m_object = object;
  }

  CComObject<CIEDownload>* operator->() const { return m_object; }

  /// Gives up the reference.
  void Release() { m_object.Release(); }

  /// Fires an event with these parameters, as the browser does.
  HRESULT Fire(DISPID id, DISPPARAMS* params) const {
    return static_cast<IIEDownload*>(m_object)->Invoke(
        id, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD, params, nullptr, nullptr, nullptr);
  }
  /// Fires BeforeNavigate2; true when the event comes back cancelled.
  bool Navigate(CNavigationEvent& event) const {
    return Fire(DISPID_BEFORENAVIGATE2, event.Params()) == S_OK && event.Cancelled();
  }
  bool Navigate(const std::wstring& url) const {
    CNavigationEvent event(url);
    return Navigate(event);
  }

 private:
  CComPtr<CComObject<CIEDownload>> m_object;
};

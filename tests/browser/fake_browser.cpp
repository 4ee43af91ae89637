#include "tests/browser/fake_browser.h"

#include <gtest/gtest.h>

namespace {

template <typename Interface>
HRESULT Give(Interface* object, void** out) {
  *out = object;
  object->AddRef();
  return S_OK;
}

HRESULT GiveNothing(void** out) {
  *out = nullptr;
  return E_NOINTERFACE;
}

}  // namespace

HRESULT CFakeConnectionPoint::QueryInterface(REFIID iid, void** object) {
  return iid == IID_IUnknown || iid == IID_IConnectionPoint ? Give(this, object)
                                                            : GiveNothing(object);
}
ULONG CFakeConnectionPoint::AddRef() { return static_cast<ULONG>(++references); }
ULONG CFakeConnectionPoint::Release() { return static_cast<ULONG>(--references); }

HRESULT CFakeConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (FAILED(adviseResult)) {
    *cookie = 0;  // as COM wants it
    return adviseResult;
  }
  sinks.push_back(sink);
  *cookie = nextCookie++;
  return adviseResult;
}

HRESULT CFakeConnectionPoint::Unadvise(DWORD cookie) {
  unadvised.push_back(cookie);
  return unadviseResult;
}

HRESULT CFakeContainer::QueryInterface(REFIID iid, void** object) {
  return iid == IID_IUnknown || iid == IID_IConnectionPointContainer ? Give(this, object)
                                                                     : GiveNothing(object);
}
ULONG CFakeContainer::AddRef() { return static_cast<ULONG>(++references); }
ULONG CFakeContainer::Release() { return static_cast<ULONG>(--references); }

HRESULT CFakeContainer::FindConnectionPoint(REFIID iid, IConnectionPoint** found) {
  asked.push_back(iid);
  if (FAILED(findResult) || !hasPoint) {
    *found = nullptr;
    return findResult;
  }
  point.AddRef();
  *found = &point;
  return S_OK;
}

CFakeBrowser::~CFakeBrowser() {
  EXPECT_EQ(references, 0) << "the browser";
  EXPECT_EQ(container.references, 0) << "its container";
  EXPECT_EQ(container.point.references, 0) << "its connection point";
}

HRESULT CFakeBrowser::QueryInterface(REFIID iid, void** object) {
  if (iid == IID_IConnectionPointContainer && hasContainer) {
    return Give(&container, object);
  }
  if (iid == IID_IWebBrowser2) {
    ++browserQueries;
    return Give(this, object);
  }
  return iid == IID_IUnknown || iid == IID_IDispatch ? Give(this, object) : GiveNothing(object);
}
ULONG CFakeBrowser::AddRef() { return static_cast<ULONG>(++references); }
ULONG CFakeBrowser::Release() { return static_cast<ULONG>(--references); }

HRESULT CFakeBrowser::get_HWND(SHANDLE_PTR* value) {
  if (onGetWindow) {
    onGetWindow();
  }
  *value = reinterpret_cast<SHANDLE_PTR>(window);
  return windowResult;
}

HRESULT CFakeBrowser::Stop() {
  ++stops;
  if (onStop) {
    onStop();
  }
  return S_OK;
}

CFakeSite::~CFakeSite() { EXPECT_EQ(references, 0) << "the site"; }

HRESULT CFakeSite::QueryInterface(REFIID iid, void** object) {
  if (iid == IID_IUnknown) {
    return Give(this, object);
  }
  return m_browser != nullptr ? m_browser->QueryInterface(iid, object) : GiveNothing(object);
}
ULONG CFakeSite::AddRef() { return static_cast<ULONG>(++references); }
ULONG CFakeSite::Release() { return static_cast<ULONG>(--references); }

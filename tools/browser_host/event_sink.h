// Receives the control's events.
#pragma once

#include "tools/browser_host/browser_event.h"
#include "tools/browser_host/ref_counted.h"

/// Who wants to know of events. Called on the thread of the control, inside the event.
class IBrowserEventListener {
 public:
  virtual void OnBrowserEvent(const BrowserEvent& event) = 0;

 protected:
  ~IBrowserEventListener() = default;
};

/// A sink of DWebBrowserEvents2 that changes nothing: it only passes on what it sees. The control
/// may hold it longer than the listener lives, hence Detach.
class CEventSink : public CRefCounted<IDispatch> {
 public:
  /// `listener` is not owned and must live until Detach.
  explicit CEventSink(IBrowserEventListener* listener) : m_listener(listener) {}
  void Detach() { m_listener = nullptr; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception, UINT* argument) override;

 private:
  IBrowserEventListener* m_listener;
};

#pragma once

#include <oaidl.h>
#include <objidl.h>
#include <windows.h>

/// A COM object on the stack that lets a test see its reference count. Its own life is not
/// controlled by it: the count starts at 1 and has to be back at 1 at the end.
class CCountedObject : public ISupportErrorInfo, public IPersist {
 public:
  CCountedObject() = default;
  virtual ~CCountedObject() = default;

  LONG References() const { return m_references; }
  /// The object's identity.
  IUnknown* Unknown() { return static_cast<ISupportErrorInfo*>(this); }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IUnknown || iid == IID_ISupportErrorInfo) {
      *object = static_cast<ISupportErrorInfo*>(this);
    } else if (iid == IID_IPersist) {
      *object = static_cast<IPersist*>(this);
    } else {
      *object = this;  // what a careless object leaves behind: only the result code counts
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
  STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--m_references); }

  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_FALSE; }
  STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }

 private:
  LONG m_references = 1;
};

#pragma once

#include <windows.h>

#include <unknwn.h>

/// An outer object that takes others in: only counts its references. Lives on the stack.
class COuterObject final : public IUnknown {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (iid != IID_IUnknown) {
      return E_NOINTERFACE;
    }
    AddRef();
    *out = this;
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
  ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }

  int references = 1;
};

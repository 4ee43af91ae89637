#pragma once

#include <atlcomcli.h>

namespace ATL {

/// Keeps what T's IPersistStreamInit stores in the stream "Contents" of a storage, which is needed
/// only during the calls.
template <class T>
class ATL_NO_VTABLE IPersistStorageImpl : public IPersistStorage {
 public:
  STDMETHOD(GetClassID)(CLSID* pClassID) override {
    if (pClassID == nullptr) {
      return E_POINTER;
    }
    *pClassID = T::GetObjectCLSID();
    return S_OK;
  }
  STDMETHOD(IsDirty)() override {
    return WithStreamInit([](IPersistStreamInit& object) { return object.IsDirty(); });
  }
  STDMETHOD(InitNew)(IStorage* pStg) override {
    if (pStg == nullptr) {
      return E_POINTER;
    }
    return WithStreamInit([](IPersistStreamInit& object) { return object.InitNew(); });
  }
  STDMETHOD(Load)(IStorage* pStg) override {
    if (pStg == nullptr) {
      return E_POINTER;
    }
    CComPtr<IStream> pStream;
    const HRESULT hr =
        pStg->OpenStream(kContents, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &pStream);
    return FAILED(hr)
               ? hr
               : WithStreamInit([&](IPersistStreamInit& object) { return object.Load(pStream); });
  }
  /// A copy (fSameAsLoad is FALSE) leaves the object as dirty as it was.
  STDMETHOD(Save)(IStorage* pStgSave, BOOL fSameAsLoad) override {
    if (pStgSave == nullptr) {
      return E_POINTER;
    }
    CComPtr<IStream> pStream;
    const HRESULT hr = pStgSave->CreateStream(
        kContents, STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &pStream);
    return FAILED(hr) ? hr : WithStreamInit([&](IPersistStreamInit& object) {
      return object.Save(pStream, fSameAsLoad);
    });
  }
  STDMETHOD(SaveCompleted)(IStorage* /*pStgNew*/) override { return S_OK; }
  STDMETHOD(HandsOffStorage)() override { return S_OK; }

 private:
  static constexpr const OLECHAR* kContents = L"Contents";

  template <class F>
  HRESULT WithStreamInit(F call) {
    CComPtr<IPersistStreamInit> pStreamInit;
    const HRESULT hr = static_cast<T*>(this)->_InternalQueryInterface(
        __uuidof(IPersistStreamInit), reinterpret_cast<void**>(&pStreamInit));
    return FAILED(hr) ? hr : call(*pStreamInit);
  }
};

}  // namespace ATL

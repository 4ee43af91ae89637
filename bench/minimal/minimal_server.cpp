// A COM server of one class in as few lines as there can be: what loading the product's DLL and
// making its object is compared with. It answers to the product's class.

#include <windows.h>

#include <new>

#include "bench/minimal/minimal_helper.h"
#include "folivo_plugin_h.h"

namespace {

/// The class object; one for the DLL's life.
class CMinimalFactory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
    return *object != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    *object = nullptr;
    if (outer != nullptr) {
      return CLASS_E_NOAGGREGATION;
    }
    auto* const helper = new (std::nothrow) CMinimalHelper;
    if (helper == nullptr) {
      return E_OUTOFMEMORY;
    }
    const HRESULT result = helper->QueryInterface(iid, object);
    helper->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

CMinimalFactory g_factory;

}  // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  *object = nullptr;
  return clsid == CLSID_CIEDownload ? g_factory.QueryInterface(iid, object)
                                    : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return S_FALSE; }

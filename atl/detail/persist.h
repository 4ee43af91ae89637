#pragma once

// The persistence interfaces, and property maps: the data members that are saved.

#include <atlcomcli.h>
#include <cguid.h>

#include <cstddef>

namespace ATL {

/// A data member of 32 bits. A table ends with a null szDesc.
struct ATL_PROPMAP_ENTRY {
  LPCOLESTR szDesc;
  DWORD_PTR dwOffsetData;
};

namespace detail {

/// First word of a stream. Later layouts have higher numbers.
constexpr DWORD kPropertyStreamVersion = 1;

template <VARTYPE vt, size_t size>
constexpr DWORD_PTR CheckedOffset(size_t offset) noexcept {
  static_assert(vt == VT_UI4 && size == sizeof(DWORD), "no other types are supported");
  return offset;
}

/// Reads one word. A stream returns S_OK at its end too.
inline HRESULT ReadWord(IStream* pStm, DWORD& dwValue) {
  ULONG cbRead = 0;
  DWORD dwRead = 0;
  const HRESULT hr = pStm->Read(&dwRead, sizeof(dwRead), &cbRead);
  if (FAILED(hr) || cbRead != sizeof(dwRead)) {
    return FAILED(hr) ? hr : E_FAIL;
  }
  dwValue = dwRead;
  return S_OK;
}

inline HRESULT WriteWord(IStream* pStm, const DWORD& dwValue) {
  ULONG cbWritten = 0;
  const HRESULT hr = pStm->Write(&dwValue, sizeof(dwValue), &cbWritten);
  return FAILED(hr) || cbWritten == sizeof(dwValue) ? hr : STG_E_MEDIUMFULL;
}

}  // namespace detail

/// Loads and saves the members in T's property map. T has the flag m_bRequiresSave.
template <class T>
class IPersistStreamInitImpl : public IPersistStreamInit {
 public:
  STDMETHOD(GetClassID)(CLSID* pClassID) override {
    return detail::SetResult(pClassID, T::GetObjectCLSID());
  }
  STDMETHOD(IsDirty)() override { return static_cast<T*>(this)->m_bRequiresSave ? S_OK : S_FALSE; }
  /// When this fails, the members that were not read keep their values.
  STDMETHOD(Load)(LPSTREAM pStm) override {
    if (pStm == nullptr) {
      return E_POINTER;
    }
    DWORD dwVersion = 0;
    HRESULT hr = detail::ReadWord(pStm, dwVersion);
    if (SUCCEEDED(hr) && dwVersion > detail::kPropertyStreamVersion) {
      hr = E_FAIL;
    }
    for (const auto* pEntry = T::GetPropertyMap(); SUCCEEDED(hr) && pEntry->szDesc != nullptr;
         ++pEntry) {
      hr = detail::ReadWord(pStm, Member(*pEntry));
    }
    if (SUCCEEDED(hr)) {
      static_cast<T*>(this)->m_bRequiresSave = FALSE;
    }
    return hr;
  }
  STDMETHOD(Save)(LPSTREAM pStm, BOOL fClearDirty) override {
    if (pStm == nullptr) {
      return E_POINTER;
    }
    HRESULT hr = detail::WriteWord(pStm, detail::kPropertyStreamVersion);
    for (const auto* pEntry = T::GetPropertyMap(); SUCCEEDED(hr) && pEntry->szDesc != nullptr;
         ++pEntry) {
      hr = detail::WriteWord(pStm, Member(*pEntry));
    }
    if (SUCCEEDED(hr) && fClearDirty) {
      static_cast<T*>(this)->m_bRequiresSave = FALSE;
    }
    return hr;
  }
  /// E_NOTIMPL, as documented.
  STDMETHOD(GetSizeMax)(ULARGE_INTEGER* pcbSize) override {
    return detail::SetResult(pcbSize, {}, E_NOTIMPL);
  }
  STDMETHOD(InitNew)() override { return S_OK; }

 private:
  DWORD& Member(const ATL_PROPMAP_ENTRY& entry) noexcept {
    void* const pObject = static_cast<T*>(this);
    return *reinterpret_cast<DWORD*>(static_cast<std::byte*>(pObject) + entry.dwOffsetData);
  }
};

/// Loads and saves T by its IPersistStreamInit, in the stream "Contents" of a storage, which is
/// used only during the calls.
template <class T>
class IPersistStorageImpl : public IPersistStorage {
 public:
  STDMETHOD(GetClassID)(CLSID* pClassID) override {
    return detail::SetResult(pClassID, T::GetObjectCLSID());
  }
  STDMETHOD(IsDirty)() override { return StreamInit().IsDirty(); }
  STDMETHOD(InitNew)(IStorage* pStg) override {
    return pStg == nullptr ? E_POINTER : StreamInit().InitNew();
  }
  STDMETHOD(Load)(IStorage* pStg) override {
    if (pStg == nullptr) {
      return E_POINTER;
    }
    CComPtr<IStream> pStream;
    const HRESULT hr =
        pStg->OpenStream(kContents, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &pStream);
    return FAILED(hr) ? hr : StreamInit().Load(pStream);
  }
  /// A copy (fSameAsLoad is FALSE) does not change whether the object is dirty.
  STDMETHOD(Save)(IStorage* pStgSave, BOOL fSameAsLoad) override {
    if (pStgSave == nullptr) {
      return E_POINTER;
    }
    CComPtr<IStream> pStream;
    const HRESULT hr = pStgSave->CreateStream(
        kContents, STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &pStream);
    return FAILED(hr) ? hr : StreamInit().Save(pStream, fSameAsLoad);
  }
  STDMETHOD(SaveCompleted)(IStorage* /*pStgNew*/) override { return S_OK; }
  STDMETHOD(HandsOffStorage)() override { return S_OK; }

 private:
  static constexpr const OLECHAR* kContents = L"Contents";

  IPersistStreamInit& StreamInit() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL

// offsetof is conditionally supported for classes with virtual functions; GCC and clang support it
// and warn. The table is constant-initialised at every level of optimisation, so that the linker
// keeps one copy.

/// The saved data members of class `theClass`, which has no virtual base classes.
#define BEGIN_PROP_MAP(theClass)                                                            \
 public:                                                                                    \
  typedef theClass _PropMapClass;                                                           \
  _Pragma("GCC diagnostic push") _Pragma(                                                   \
      "GCC diagnostic ignored \"-Winvalid-offsetof\"") static const ATL::ATL_PROPMAP_ENTRY* \
  GetPropertyMap() noexcept {                                                               \
    static constexpr ATL::ATL_PROPMAP_ENTRY _properties[] = {
/// Data member `member`, a value of type `vt`.
#define PROP_DATA_ENTRY(szDesc, member, vt)                                         \
  {OLESTR(szDesc), ATL::detail::CheckedOffset<(vt), sizeof(_PropMapClass::member)>( \
                       offsetof(_PropMapClass, member))},
#define END_PROP_MAP() \
  {                       \
    nullptr, 0            \
  }                       \
  }                    \
  ;                    \
  return _properties;  \
  }                    \
  _Pragma("GCC diagnostic pop")

#pragma once

// Property maps: the data members of a class that make up its persistent state.

#include <atlcomcli.h>
#include <cguid.h>

#include <cstddef>

namespace ATL {

/// A persistent data member. A table ends with a null szDesc.
struct ATL_PROPMAP_ENTRY {
  LPCOLESTR szDesc;
  DWORD_PTR dwOffsetData;
  DWORD dwSizeData;
  VARTYPE vt;
};

namespace detail {

/// First word of a stream that holds a property map; higher ones come from later layouts.
constexpr DWORD kPropertyStreamVersion = 1;

/// Bytes that a value of a type takes, 0 for types whose values are not stored in place.
constexpr DWORD SizeOfVarType(VARTYPE vt) noexcept {
  switch (vt) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
      return 8;
    default:
      return 0;
  }
}

inline void* DataOfProperty(void* pObject, const ATL_PROPMAP_ENTRY& entry) noexcept {
  return static_cast<std::byte*>(pObject) + entry.dwOffsetData;
}

/// Succeeds when all `cb` bytes came: a stream says S_OK at its end, too.
inline HRESULT ReadAll(IStream* pStm, void* pv, ULONG cb) noexcept {
  ULONG cbRead = 0;
  const HRESULT hr = pStm->Read(pv, cb, &cbRead);
  if (FAILED(hr)) {
    return hr;
  }
  return cbRead == cb ? S_OK : E_FAIL;
}

inline HRESULT WriteAll(IStream* pStm, const void* pv, ULONG cb) noexcept {
  ULONG cbWritten = 0;
  const HRESULT hr = pStm->Write(pv, cb, &cbWritten);
  if (FAILED(hr)) {
    return hr;
  }
  return cbWritten == cb ? S_OK : STG_E_MEDIUMFULL;
}

/// Sets the members of the object at `pObject` from a stream. A member gets a complete value or
/// keeps its old one.
inline HRESULT LoadProperties(IStream* pStm, const ATL_PROPMAP_ENTRY* pMap,
                              void* pObject) noexcept {
  DWORD dwVersion = 0;
  HRESULT hr = ReadAll(pStm, &dwVersion, sizeof(dwVersion));
  if (SUCCEEDED(hr) && dwVersion > kPropertyStreamVersion) {
    hr = E_FAIL;
  }
  for (; SUCCEEDED(hr) && pMap->szDesc != nullptr; ++pMap) {
    ULONGLONG value = 0;
    const DWORD size = SizeOfVarType(pMap->vt);
    if (size == 0 || size != pMap->dwSizeData) {
      return E_FAIL;
    }
    hr = ReadAll(pStm, &value, size);
    if (SUCCEEDED(hr)) {
      ::CopyMemory(DataOfProperty(pObject, *pMap), &value, size);
    }
  }
  return hr;
}

inline HRESULT SaveProperties(IStream* pStm, const ATL_PROPMAP_ENTRY* pMap,
                              void* pObject) noexcept {
  HRESULT hr = WriteAll(pStm, &kPropertyStreamVersion, sizeof(kPropertyStreamVersion));
  for (; SUCCEEDED(hr) && pMap->szDesc != nullptr; ++pMap) {
    const DWORD size = SizeOfVarType(pMap->vt);
    if (size == 0 || size != pMap->dwSizeData) {
      return E_FAIL;
    }
    hr = WriteAll(pStm, DataOfProperty(pObject, *pMap), size);
  }
  return hr;
}

}  // namespace detail
}  // namespace ATL

// The table is a constant at every level of optimisation, as the linker keeps one copy of it for
// all objects of a program. offsetof is defined for classes with virtual functions too (by GCC and
// clang, which warn that not every compiler defines it).

#define _ATL_BEGIN_OFFSETS_IN_ANY_CLASS \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"")
#define _ATL_END_OFFSETS_IN_ANY_CLASS _Pragma("GCC diagnostic pop")

/// The persistent data members of class `theClass`, which has no virtual base classes.
#define BEGIN_PROP_MAP(theClass)                                   \
 public:                                                           \
  typedef theClass _PropMapClass;                                  \
  _ATL_BEGIN_OFFSETS_IN_ANY_CLASS                                  \
  static const ATL::ATL_PROPMAP_ENTRY* GetPropertyMap() noexcept { \
    static constexpr ATL::ATL_PROPMAP_ENTRY _properties[] = {
/// Data member `member`, stored as a value of type `vt`.
#define PROP_DATA_ENTRY(szDesc, member, vt) \
  {OLESTR(szDesc), offsetof(_PropMapClass, member), sizeof(_PropMapClass::member), vt},
#define END_PROP_MAP()      \
  {                         \
    nullptr, 0, 0, VT_EMPTY \
  }                         \
  }                         \
  ;                         \
  return _properties;       \
  }                         \
  _ATL_END_OFFSETS_IN_ANY_CLASS

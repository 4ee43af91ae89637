#pragma once

// COM maps: the tables by which classes implement QueryInterface.

#include <atlexcept.h>

namespace ATL {

using _ATL_CREATORARGFUNC = HRESULT WINAPI(void* pv, REFIID riid, LPVOID* ppv, DWORD_PTR dw);

/// An entry for the interface *piid; null means every interface. A table ends with a null pFunc.
struct _ATL_INTMAP_ENTRY {
  const IID* piid;
  DWORD_PTR dw;
  _ATL_CREATORARGFUNC* pFunc;
};

/// Where the COM map of a base class is, and where the base is in its object.
struct _ATL_CHAINDATA {
  DWORD_PTR dwOffset;
  const _ATL_INTMAP_ENTRY*(WINAPI* pFunc)();
};

/// In place of a function: the interface is `dw` bytes into the object.
#define _ATL_SIMPLEMAPENTRY (reinterpret_cast<ATL::_ATL_CREATORARGFUNC*>(1))

// The address of an object that does not exist. Not null, which static_cast would leave unchanged.
#define _ATL_PACKING 0x1000
/// Distance of the base class from the start of an object of the derived class.
#define offsetofclass(base, derived)                                                           \
  (reinterpret_cast<DWORD_PTR>(static_cast<base*>(reinterpret_cast<derived*>(_ATL_PACKING))) - \
   _ATL_PACKING)

/// Implements QueryInterface for the object at `pThis` by its COM map, whose first entry is a
/// simple one: its interface is also the object's IUnknown.
inline HRESULT WINAPI AtlInternalQueryInterface(void* pThis, const _ATL_INTMAP_ENTRY* pEntries,
                                                REFIID iid, void** ppvObject) {
  ATLASSERT(pThis != nullptr);
  ATLASSERT(pEntries->pFunc == _ATL_SIMPLEMAPENTRY);
  if (FAILED(detail::SetResult(ppvObject, nullptr))) {
    return E_POINTER;
  }
  const bool wantsIdentity = iid == IID_IUnknown;
  for (; pEntries->pFunc != nullptr; ++pEntries) {
    const IID* const piid = pEntries->piid;
    if (!wantsIdentity && piid != nullptr && !::IsEqualGUID(*piid, iid)) {
      continue;
    }
    if (pEntries->pFunc == _ATL_SIMPLEMAPENTRY) {
      auto* const pUnk =
          reinterpret_cast<IUnknown*>(reinterpret_cast<DWORD_PTR>(pThis) + pEntries->dw);
      pUnk->AddRef();
      *ppvObject = pUnk;
      return S_OK;
    }
    if (pEntries->pFunc(pThis, iid, ppvObject, pEntries->dw) == S_OK) {
      return S_OK;
    }
  }
  return E_NOINTERFACE;
}

namespace detail {

/// What a COM_INTERFACE_ENTRY_CHAIN points to.
template <class Base, class Derived>
inline const _ATL_CHAINDATA* ChainData() noexcept {
  static const _ATL_CHAINDATA data = {offsetofclass(Base, Derived), &Base::_GetEntries};
  return &data;
}

}  // namespace detail
}  // namespace ATL

// CComObject and the similar classes implement IUnknown's methods, declared here without
// "override".
/// The interfaces of class `x`. The first entry must be a plain COM_INTERFACE_ENTRY.
#define BEGIN_COM_MAP(x)                                                                       \
 public:                                                                                       \
  typedef x _ComMapClass;                                                                      \
  ATL_BEGIN_UNMARKED_OVERRIDES                                                                 \
  STDMETHOD(QueryInterface)(REFIID iid, void** ppvObject) = 0;                                 \
  STDMETHOD_(ULONG, AddRef)() = 0;                                                             \
  STDMETHOD_(ULONG, Release)() = 0;                                                            \
  ATL_END_UNMARKED_OVERRIDES                                                                   \
  IUnknown* GetUnknown() noexcept {                                                            \
    ATLASSERT(_GetEntries()[0].pFunc == _ATL_SIMPLEMAPENTRY);                                  \
    return reinterpret_cast<IUnknown*>(reinterpret_cast<DWORD_PTR>(this) + _GetEntries()->dw); \
  }                                                                                            \
  HRESULT _InternalQueryInterface(REFIID iid, void** ppvObject) {                              \
    return ATL::AtlInternalQueryInterface(this, _GetEntries(), iid, ppvObject);                \
  }                                                                                            \
  static const ATL::_ATL_INTMAP_ENTRY* WINAPI _GetEntries() noexcept {                         \
    static const ATL::_ATL_INTMAP_ENTRY _entries[] = {
#define END_COM_MAP()   \
  {                     \
    nullptr, 0, nullptr \
  }                     \
  }                     \
  ;                     \
  return _entries;      \
  }

/// Interface x, a base class.
#define COM_INTERFACE_ENTRY(x) {&__uuidof(x), offsetofclass(x, _ComMapClass), _ATL_SIMPLEMAPENTRY},
/// Base class x under another identifier.
#define COM_INTERFACE_ENTRY_IID(iid, x) {&iid, offsetofclass(x, _ComMapClass), _ATL_SIMPLEMAPENTRY},
/// Interface x of base class x2, where several base classes have x.
#define COM_INTERFACE_ENTRY2(x, x2)                                                        \
  {&__uuidof(x),                                                                           \
   reinterpret_cast<DWORD_PTR>(                                                            \
       static_cast<x*>(static_cast<x2*>(reinterpret_cast<_ComMapClass*>(_ATL_PACKING)))) - \
       _ATL_PACKING,                                                                       \
   _ATL_SIMPLEMAPENTRY},
/// The COM map of a base class.
#define COM_INTERFACE_ENTRY_CHAIN(classname) \
  {nullptr, reinterpret_cast<DWORD_PTR>(ATL::detail::ChainData<classname, _ComMapClass>()), _Chain},

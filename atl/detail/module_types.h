#pragma once

// The tables through which a class describes itself to the module.

#include <atldef.h>

#include <comcat.h>

namespace ATL {

struct _ATL_CATMAP_ENTRY;

using _ATL_CREATORFUNC = HRESULT WINAPI(void* pv, REFIID riid, LPVOID* ppv);
using _ATL_CREATORARGFUNC = HRESULT WINAPI(void* pv, REFIID riid, LPVOID* ppv, DWORD_PTR dw);
using _ATL_CATMAPFUNC = const _ATL_CATMAP_ENTRY*();
using _ATL_TERMFUNC = void __stdcall(DWORD_PTR dw);

/// One replacement for a registrar script. A table ends with a null key.
struct _ATL_REGMAP_ENTRY {
  LPCOLESTR szKey;
  LPCOLESTR szData;
};

constexpr int _ATL_CATMAP_ENTRY_END = 0;
constexpr int _ATL_CATMAP_ENTRY_IMPLEMENTED = 1;
constexpr int _ATL_CATMAP_ENTRY_REQUIRED = 2;

/// One component category of a class. A table ends with _ATL_CATMAP_ENTRY_END.
struct _ATL_CATMAP_ENTRY {
  int iType;
  const CATID* pcatid;
};

}  // namespace ATL

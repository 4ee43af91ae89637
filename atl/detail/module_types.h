#pragma once

// The tables through which a class describes itself to the module.

#include <atldef.h>

#include <comcat.h>

namespace ATL {

typedef HRESULT(WINAPI _ATL_CREATORFUNC)(void* pv, REFIID riid, LPVOID* ppv);
typedef HRESULT(WINAPI _ATL_CREATORARGFUNC)(void* pv, REFIID riid, LPVOID* ppv, DWORD_PTR dw);
typedef LPCTSTR(WINAPI _ATL_DESCRIPTIONFUNC)();
typedef const struct _ATL_CATMAP_ENTRY*(_ATL_CATMAPFUNC)();
typedef void(WINAPI _ATL_OBJECTMAINFUNC)(bool bStarting);
typedef void(__stdcall _ATL_TERMFUNC)(DWORD_PTR dw);

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

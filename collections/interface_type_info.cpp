#include "collections/interface_type_info.h"

#include <atlbase.h>

HRESULT LoadInterfaceTypeInfo(REFIID iid, ITypeInfo** info) {
  *info = nullptr;
  wchar_t path[MAX_PATH] = {};
  const DWORD length = GetModuleFileNameW(_AtlBaseModule.GetModuleInstance(), path, MAX_PATH);
  if (length == 0 || length == MAX_PATH) {
    return E_FAIL;
  }
  CComPtr<ITypeLib> library;
  const HRESULT loaded = LoadTypeLib(path, &library);
  return FAILED(loaded) ? loaded : library->GetTypeInfoOfGuid(iid, info);
}

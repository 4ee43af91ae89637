#include "com/class_registration.h"

#include <atlbase.h>
#include <atlcom.h>

#include "folivo_plugin_h.h"

HRESULT UpdateClassRegistry(UINT scriptId, LPCWSTR friendlyName, BOOL registers) {
  constexpr int kGuidLength = 39;
  wchar_t libraryId[kGuidLength] = {};
  StringFromGUID2(LIBID_MERLOFolivoIEPlugin, libraryId, kGuidLength);
  // The module adds %MODULE%, its path.
  _ATL_REGMAP_ENTRY replacements[] = {{L"APPID", L"" FOLIVO_APPLICATION_ID},
                                      {L"FriendlyName", friendlyName},
                                      {L"MODULETYPE", L"InprocServer32"},
                                      {L"MODULEGUID", libraryId},
                                      {nullptr, nullptr}};
  return _pAtlModule->UpdateRegistryFromResource(scriptId, registers, replacements);
}

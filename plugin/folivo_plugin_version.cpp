#include "plugin/folivo_plugin_version.h"

#include <atlstr.h>

#include "base/exception_boundary.h"
#include "com/class_registration.h"
#include "folivo_plugin_h.h"
#include "plugin/file_version.h"
#include "resources/resource.h"

namespace {

constexpr wchar_t kFriendlyName[] = L"CFolivoPluginVersion Object";
constexpr wchar_t kModuleName[] = L"FolivoPlugin.dll";
constexpr DWORD kPathLength = 259;

/// The path of the module of that fixed name. Quirk 90: not of this module's own handle. When no
/// module of that name is loaded, the null handle stands for the host program.
CStringW FindModulePath() {
  wchar_t path[kPathLength + 1] = {};
  GetModuleFileNameW(GetModuleHandleW(kModuleName), path, ARRAYSIZE(path) - 1);
  return path;
}

}  // namespace

HRESULT WINAPI CFolivoPluginVersion::UpdateRegistry(BOOL registers) {
  return UpdateClassRegistry(IDR_FOLIVOPLUGINVERSION, kFriendlyName, registers);
}

STDMETHODIMP CFolivoPluginVersion::get_Version(BSTR* pVal) {
  if (pVal == nullptr) {
    return E_POINTER;
  }
  *pVal = nullptr;
  CallGuarded([pVal] {
    if (const auto version = ReadFileVersion(FindModulePath())) {
      *pVal = SysAllocString(FormatFileVersion(*version));
    }
  });
  // E_FAIL for every failure, out of memory included: callers test for nothing else.
  return *pVal != nullptr ? S_OK : E_FAIL;
}

#pragma once

#include <atlbase.h>
#include <atlcom.h>

#include "com/class_registration.h"
#include "folivo_plugin_h.h"
#include "resources/resource.h"

/// The module: lock count, object map, class factories, registration.
class CFolivoPluginClass : public CAtlDllModuleT<CFolivoPluginClass> {
 public:
  DECLARE_LIBID(LIBID_MERLOFolivoIEPlugin)
  DECLARE_REGISTRY_APPID_RESOURCEID(IDR_FOLIVOPLUGIN, FOLIVO_APPLICATION_ID)

  /// Adds no replacement. The base class would add APPID to every script's; here a script has it
  /// only when its caller passes it, as UpdateClassRegistry does. Quirk 88: the second run of the
  /// module's own script has none.
  HRESULT AddCommonRGSReplacements(IRegistrarBase*) noexcept override { return S_OK; }
};

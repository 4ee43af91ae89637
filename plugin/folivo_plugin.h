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

  /// Nothing is common to all scripts: the module's own runs twice, the second time deliberately
  /// without the application identifier.
  HRESULT AddCommonRGSReplacements(IRegistrarBase*) noexcept override { return S_OK; }
};

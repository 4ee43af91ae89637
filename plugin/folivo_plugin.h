#pragma once

#include <atlbase.h>
#include <atlcom.h>

#include "folivo_plugin_h.h"
#include "resources/resource.h"

/// The module: lock count, object map, class factories, registration.
class CFolivoPluginClass : public CAtlDllModuleT<CFolivoPluginClass> {
 public:
  DECLARE_LIBID(LIBID_MERLOFolivoIEPlugin)
  DECLARE_REGISTRY_APPID_RESOURCEID(IDR_FOLIVOPLUGIN, "{D1728953-607F-4348-A009-03FDA01E39C2}")
};

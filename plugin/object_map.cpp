// The COM classes of this server.

#include <atlbase.h>
#include <atlcom.h>

#include "browser/ie_download.h"
#include "collections/qdc_download.h"      // IWYU pragma: keep (folivo_plugin_h.h names the class)
#include "plugin/folivo_plugin_version.h"  // IWYU pragma: keep

OBJECT_ENTRY_AUTO(CLSID_CIEDownload, CIEDownload)
OBJECT_ENTRY_AUTO(CLSID_CFolivoPluginVersion, CFolivoPluginVersion)
OBJECT_ENTRY_AUTO(CLSID_CQDCDownload, CQDCDownload)

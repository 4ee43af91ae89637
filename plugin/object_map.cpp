// The COM classes of this server.

#include <atlbase.h>
#include <atlcom.h>

#include "browser/ie_download.h"
#include "collections/qdc_download.h"
#include "plugin/folivo_plugin_version.h"

OBJECT_ENTRY_AUTO(CLSID_CIEDownload, CIEDownload)
OBJECT_ENTRY_AUTO(CLSID_CFolivoPluginVersion, CFolivoPluginVersion)
OBJECT_ENTRY_AUTO(CLSID_CQDCDownload, CQDCDownload)

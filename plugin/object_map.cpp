// The classes that this server creates.

#include <atlbase.h>
#include <atlcom.h>

#include "browser/ie_download.h"

OBJECT_ENTRY_AUTO(CLSID_CIEDownload, CIEDownload)

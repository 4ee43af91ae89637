#pragma once

#include "unzip/unzip_interface.h"

/// What the double's functions call. Null: they do nothing, and succeed.
struct CUnzipScript {
  WizSingleEntryUnzipFn list;
  WizUnzipToMemoryFn unzip;
  UzpFreeMemBufferFn free;
};

/// Exported by the double "scripted" as "GetUnzipScript".
using GetUnzipScriptFn = CUnzipScript* (*)();

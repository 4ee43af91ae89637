#pragma once

#include <functional>

#include "unzip/unzip_interface.h"

/// What the double's functions call. Empty: they do nothing, and succeed. A listing of less than
/// the whole archive fails.
struct CUnzipScript {
  std::function<int(DCL& options, USERFUNCTIONS& functions)> list;
  std::function<int(LPCSTR archive, LPCSTR entry, USERFUNCTIONS& functions, UzpBuffer& buffer)>
      unzip;
  std::function<void(UzpBuffer& buffer)> free;
};

/// Exported by the double "scripted" as "GetUnzipScript".
using GetUnzipScriptFn = CUnzipScript* (*)();

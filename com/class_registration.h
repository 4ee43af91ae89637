#pragma once

#include <windows.h>

/// The module's application identifier. A macro, because DECLARE_REGISTRY_APPID_RESOURCEID takes a
/// string literal.
#define FOLIVO_APPLICATION_ID "{D1728953-607F-4348-A009-03FDA01E39C2}"

/// Writes or removes the registry keys of one class: runs its registration script, resource
/// `scriptId` of type REGISTRY in this module, with all replacements that class scripts use.
/// Returns the registrar's result.
HRESULT UpdateClassRegistry(UINT scriptId, LPCWSTR friendlyName, BOOL registers);

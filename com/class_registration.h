#pragma once

#include <windows.h>

/// The module's application identifier. A macro, as ATL's macro for modules takes a literal.
#define FOLIVO_APPLICATION_ID "{D1728953-607F-4348-A009-03FDA01E39C2}"

/// Writes (or removes) the registry tree of one class by its registration script, resource REGISTRY
/// `scriptId` of this module, with every token that class scripts use. Returns the registrar's
/// code.
HRESULT UpdateClassRegistry(UINT scriptId, LPCWSTR friendlyName, BOOL registers);

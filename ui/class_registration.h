#pragma once

#include <windows.h>

/// Writes (or removes) the registry tree of one class by its registration script, resource REGISTRY
/// `scriptId` of this module, with every token that class scripts use. Returns the registrar's
/// code.
HRESULT UpdateClassRegistry(UINT scriptId, LPCWSTR friendlyName, BOOL registers);
